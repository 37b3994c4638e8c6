/** The chosen VSAN: a card for each element, a line for all links between two of them. */
import { CARD, layOut } from "./layout.js";
import { addMark, countStates, lineOf } from "./states.js";
import { counted, nameOf, wwnText } from "./text.js";
import { bringIntoView, fit, layer } from "./zoom.js";

const KEYS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

const svg = d3.select("#drawing");
let cards = null;
let bundles = null;

function pathOf({ startPoint, bendPoints = [], endPoint }) {
  const points = [startPoint, ...bendPoints, endPoint].map(({ x, y }) => [x, y]);
  const path = d3.path();
  path.moveTo(...points[0]);
  for (let i = 1; i < points.length; i += 3) {
    // The controls of cubic curves, of which the last may lack some.
    const [a, b, c] = [points[i], points[i + 1] ?? points.at(-1), points[i + 2] ?? points.at(-1)];
    path.bezierCurveTo(...a, ...b, ...c);
  }
  return path.toString();
}

function drawBundles(vsan, edges) {
  bundles = layer
    .selectAll(".bundle")
    .data(edges.map((edge, i) => ({ ...vsan.bundles[i], ...edge })))
    .join("g")
    .attr("class", "bundle")
    .attr("role", "img")
    .attr(
      "aria-label",
      ({ from, to, text }) => `Links between ${nameOf(vsan.elements[from])} and ${nameOf(vsan.elements[to])}: ${text}`,
    )
    .attr("color", ({ state }) => lineOf(state).colour);
  bundles
    .append("path")
    .attr("class", "line")
    .attr("d", ({ sections }) => sections.map(pathOf).join(""))
    .attr("stroke-dasharray", ({ state }) => lineOf(state).dashes);
  const labels = bundles
    .append("g")
    .attr("class", "label")
    .attr("transform", ({ labels: [{ x, y }] }) => `translate(${x},${y})`);
  labels
    .append("rect")
    .attr("width", ({ labels: [{ width }] }) => width)
    .attr("height", ({ labels: [{ height }] }) => height)
    .attr("rx", 9);
  labels.each(function ({ state }) {
    addMark(d3.select(this), state, 8).attr("transform", "translate(10,9)");
  });
  labels
    .append("text")
    .attr("x", 18)
    .attr("y", 13)
    .text(({ text }) => text);
}

/** A card says of an element what can be said without its ports. */
function fillCard(card, element, counts) {
  card.append("title").text(`${nameOf(element)}\n${wwnText(element.wwn)}`);
  card.append("rect").attr("class", "body").attr("width", CARD.width).attr("height", CARD.height).attr("rx", 8);
  const band = card.append("g").attr("class", "band").attr("color", element.look.text);
  band
    .append("path")
    .attr("d", `M0,28V8a8,8 0 0 1 8,-8H${CARD.width - 8}a8,8 0 0 1 8,8V28z`)
    .attr("fill", element.look.fill);
  band
    .append("svg") // Which cuts a long name off.
    .attr("width", CARD.width - 8)
    .attr("height", 28)
    .append("text")
    .attr("x", 10)
    .attr("y", 19)
    .attr("class", element.name ? "name" : "name none")
    .text(nameOf(element));
  card.append("text").attr("class", "wwn").attr("x", 10).attr("y", 45).text(wwnText(element.wwn));
  card.append("text").attr("x", 10).attr("y", 61).text(descriptionOf(element).join(" · "));
  const states = card.append("g").attr("class", "states").attr("transform", "translate(15,77)");
  let x = 0;
  for (const { state, count } of counts) {
    addMark(states, state).attr("transform", `translate(${x},0)`);
    states
      .append("text")
      .attr("x", x + 8)
      .attr("y", 4)
      .text(count);
    x += 20 + 7 * String(count).length;
  }
}

function descriptionOf({ type, domain, isLocal }) {
  return [isLocal ? `local ${type}` : type, ...(domain ? [`domain ${domain}`] : [])];
}

/** All that a card shows, for who does not see it. */
function cardText(element, counts) {
  const ports = counted(element.ports.length, "port");
  return [
    nameOf(element),
    ...descriptionOf(element),
    ports,
    ...counts.map(({ state, count }) => `${count} ${state}`),
  ].join(", ");
}

function drawCards(vsan, nodes, choose) {
  cards = layer
    .selectAll(".card")
    .data(nodes.map((node, i) => ({ ...node, element: vsan.elements[i] })))
    .join("g")
    .attr("class", "card")
    .attr("role", "button")
    .attr("tabindex", (_, i) => (i === 0 ? 0 : -1))
    .attr("transform", ({ x, y }) => `translate(${x},${y})`)
    .on("click", (_, { element }) => choose(element.place))
    .on("focus", (_, card) => focused(card))
    .on("keydown", (event, card) => onKey(event, card, choose));
  cards.each(function ({ element }) {
    const counts = countStates(vsan, element.ports);
    const card = d3.select(this);
    fillCard(card, element, counts);
    card.attr("aria-label", cardText(element, counts));
  });
}

/** The card that was focused last is the one that the Tab key comes to. */
function focused(card) {
  cards.attr("tabindex", (other) => (other.element === card.element ? 0 : -1));
  bringIntoView(card);
}

function onKey(event, card, choose) {
  if (event.key === "Enter" || event.key === " ") {
    choose(card.element.place);
  } else if (KEYS[event.key]) {
    focusOn(nearest(card, KEYS[event.key]));
  } else {
    return;
  }
  event.preventDefault();
}

/** The card that is closest in a direction; this one when there is none. */
function nearest(card, [right, down]) {
  const distance = (other) => {
    const [x, y] = [other.x - card.x, other.y - card.y];
    const [ahead, aside] = right ? [x * right, y] : [y * down, x];
    return ahead > 0 ? ahead + 2 * Math.abs(aside) : Infinity;
  };
  const best = d3.least(cards.data(), distance);
  return (distance(best) < Infinity ? best : card).element.place;
}

/** Gives an element's card the keyboard's focus. */
export function focusOn(place) {
  cards
    ?.filter(({ element }) => element.place === place)
    .node()
    ?.focus();
}

/** Shows which element is chosen, and its lines; null for none. */
export function highlight(place) {
  cards?.attr("aria-pressed", ({ element }) => element.place === place);
  bundles?.classed("chosen", ({ from, to }) => from === place || to === place);
  cards?.filter(({ element }) => element.place === place).each(bringIntoView);
}

/** Draws a VSAN; its elements are handed to `choose` when they are asked for. */
export async function draw(vsan, choose) {
  svg.attr("aria-busy", true).attr("aria-label", `VSAN ${vsan.id}`).attr("data-vsan", null);
  layer.selectAll("*").remove();
  cards = bundles = null;
  const { children, edges, width, height } = await layOut(vsan);
  drawBundles(vsan, edges);
  drawCards(vsan, children, choose);
  fit({ width, height });
  svg.attr("aria-busy", false).attr("data-vsan", vsan.id);
}
