/** What the marks and colours mean. */
import { looks } from "./fabric.js";
import { lineOf, markOf } from "./states.js";
import { make } from "./text.js";

function stateItem({ word }) {
  const { colour, dashes } = lineOf(word);
  const svg = d3.create("svg").attr("class", "sample").attr("viewBox", "0 0 44 10").attr("aria-hidden", true);
  svg
    .append("line")
    .attr("x2", 44)
    .attr("y1", 5)
    .attr("y2", 5)
    .attr("stroke", colour)
    .attr("stroke-width", 3)
    .attr("stroke-dasharray", dashes);
  return make("li", {}, markOf(word), svg.node(), word);
}

const colourItem = ({ word, fill }) =>
  make("li", {}, make("span", { class: "swatch", style: `background:${fill}` }), word);

const group = (title, items) => make("section", {}, make("h3", {}, title), make("ul", {}, ...items));

document
  .getElementById("legend")
  .append(
    make(
      "div",
      {},
      group("Ports and links", looks.states.map(stateItem)),
      group("Elements", looks.elements.map(colourItem)),
      group("Devices", looks.devices.map(colourItem)),
    ),
  );
