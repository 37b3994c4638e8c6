/** What happens when something is chosen. */
import { draw, focusOn, highlight } from "./drawing.js";
import { vsanOf, vsans } from "./fabric.js";
import { onEscape, showElement, showVsan } from "./panel.js";
import { enableSearch } from "./search.js";
import { counted } from "./text.js";
import { listVsans, markVsan } from "./vsan_list.js";

const status = document.getElementById("status");
const chosen = { vsan: null, element: null };

/** Shows an element of the chosen VSAN with its ports; null for the VSAN itself. */
function chooseElement(element, port = null) {
  const vsan = vsanOf(chosen.vsan);
  const goTo = (place) => chooseElement(place.element, place.port);
  chosen.element = element;
  highlight(element);
  if (element === null) {
    showVsan(vsan, goTo);
  } else {
    showElement(vsan, vsan.elements[element], port, goTo, leaveElement);
  }
}

/** Goes back to the VSAN, with the keyboard's focus on the element that was shown. */
function leaveElement() {
  const left = chosen.element;
  chooseElement(null);
  focusOn(left);
}

async function drawVsan(vsan) {
  status.textContent = `Laying out ${counted(vsan.elements.length, "element")}…`;
  try {
    await draw(vsan, chooseElement);
    status.textContent = vsan.elements.length ? "" : "This VSAN has no elements.";
    highlight(chosen.element);
  } catch (fault) {
    status.textContent = `The drawing failed: ${fault.message}`;
  }
}

/** Shows a place of the fabric: a VSAN, one of its elements, a port of that. */
function choose({ vsan, element = null, port = null }) {
  if (vsan !== chosen.vsan) {
    chosen.vsan = vsan;
    markVsan(vsan);
    drawVsan(vsanOf(vsan));
  }
  chooseElement(element, port);
}

document.getElementById("total").textContent = counted(vsans.length, "VSAN");
listVsans((vsan) => choose({ vsan }));
enableSearch(choose);
onEscape(leaveElement);
if (vsans.length) {
  choose({ vsan: vsans[0].id });
}
