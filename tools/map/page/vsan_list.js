/** The VSANs with their figures, as radio buttons: the arrow keys go from one to the next. */
import { vsans } from "./fabric.js";
import { markOf, namedCounts } from "./states.js";
import { counted, countsText, make } from "./text.js";

const list = document.getElementById("vsans");

function entryOf({ id, discovery, elements, ports, platforms }, choose) {
  const counts = namedCounts(ports);
  const amiss = counts.filter(({ state }) => state !== "online");
  return make(
    "label",
    { title: countsText(counts) },
    make("input", { type: "radio", name: "vsan", value: id, onchange: () => choose(id) }),
    make("span", { class: "id" }, `VSAN ${id}`),
    make("span", { class: "discovery" }, discovery),
    make(
      "span",
      { class: "figures" },
      `${counted(elements, "element")} · ${counted(d3.sum(ports), "port")} · ${counted(platforms, "platform")}`,
    ),
    make(
      "span",
      { class: "amiss" },
      ...amiss.map(({ state, count }) => make("span", {}, markOf(state), `${count.toLocaleString("en")} ${state}`)),
    ),
  );
}

/** Fills the list; a VSAN that the user takes is handed to `choose`. */
export function listVsans(choose) {
  list.append(...vsans.map((vsan) => entryOf(vsan, choose)));
}

/** Shows which VSAN is chosen. */
export function markVsan(id) {
  const input = list.querySelector(`input[value="${id}"]`);
  input.checked = true;
  input.parentElement.scrollIntoView({ block: "nearest" });
}
