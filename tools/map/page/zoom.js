/** Moving the drawing: d3-zoom does it for pointers, wheels and fingers; this adds the rest. */
const MARGIN = 24;
const LARGEST_FIT = 1.25;
const READABLE = 0.3;

const svg = d3.select("#drawing");
const calm = matchMedia("(prefers-reduced-motion: reduce)");
const zoom = d3.zoom().scaleExtent([0.03, 4]).clickDistance(4);
let size = { width: 1, height: 1 };

/** What is moved; everything is drawn into it. */
export const layer = svg.append("g");

zoom.on("zoom", ({ transform }) => layer.attr("transform", transform));
svg.call(zoom).on("dblclick.zoom", null);

const target = (moves) => (moves && !calm.matches ? svg.transition().duration(200) : svg);

/** The room for the drawing. */
const room = () => svg.node().getBoundingClientRect();

/** Shows all of a drawing of this size, or its upper part where all of it could not be read. */
export function fit(drawn = size, moves = false) {
  size = drawn;
  const { width, height } = room();
  const [wide, high] = [(width - 2 * MARGIN) / size.width, (height - 2 * MARGIN) / size.height];
  const scale = Math.min(Math.max(Math.min(wide, high), Math.min(wide, READABLE)), LARGEST_FIT);
  const [left, top] = [(width - size.width * scale) / 2, Math.max((height - size.height * scale) / 2, MARGIN)];
  target(moves).call(zoom.transform, d3.zoomIdentity.translate(left, top).scale(scale));
}

/** Moves a card into view where it is not, and closer where it cannot be read. */
export function bringIntoView({ x, y, width, height }) {
  const view = room();
  const { k } = d3.zoomTransform(svg.node());
  const [left, top] = d3.zoomTransform(svg.node()).apply([x, y]);
  const isSeen = left >= 0 && top >= 0 && left + width * k <= view.width && top + height * k <= view.height;
  if (!isSeen || k < READABLE) {
    const scale = Math.max(k, 0.8);
    const [middle, centre] = [view.width / 2 - (x + width / 2) * scale, view.height / 2 - (y + height / 2) * scale];
    target(true).call(zoom.transform, d3.zoomIdentity.translate(middle, centre).scale(scale));
  }
}

const BY_KEY = {
  "+": () => target(true).call(zoom.scaleBy, 1.4),
  "-": () => target(true).call(zoom.scaleBy, 1 / 1.4),
  0: () => fit(size, true),
};
for (const [button, key] of [
  ["zoom-in", "+"],
  ["zoom-out", "-"],
  ["zoom-fit", "0"],
]) {
  document.getElementById(button).addEventListener("click", BY_KEY[key]);
}
svg.on("keydown.zoom", ({ key }) => BY_KEY[key]?.());
