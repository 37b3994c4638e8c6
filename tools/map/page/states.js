/** How the states of ports and links are told apart: by a mark and a pattern, and then by colour. */
import { looks } from "./fabric.js";

const { symbolCircle, symbolDiamond, symbolSquare, symbolTimes, symbolTriangle } = d3;
const SIGNS = {
  online: { symbol: symbolCircle, filled: true, dashes: null },
  unknown: { symbol: symbolSquare, filled: true, outlined: true, dashes: "1 5" },
  other: { symbol: symbolDiamond, filled: true, dashes: "14 4 2 4" },
  offline: { symbol: symbolCircle, filled: false, dashes: "2 4" },
  testing: { symbol: symbolTriangle, filled: true, dashes: "8 4" },
  fault: { symbol: symbolTimes, filled: false, dashes: "5 3" },
};

/** The place of a state among the looks; states without a look of their own share one. */
export function rankOf(state) {
  const rank = looks.states.findIndex(({ word }) => word === state);
  return rank < 0 ? looks.states.findIndex(({ word }) => word === "other") : rank;
}

const lookOf = (state) => looks.states[rankOf(state)];

/** Draws a state's mark into a selection, about `size` wide. */
export function addMark(selection, state, size = 9) {
  const { word, fill, text } = lookOf(state);
  const { symbol, filled, outlined } = SIGNS[word];
  return selection
    .append("path")
    .attr("class", "mark")
    .attr("d", d3.symbol(symbol, size * size * 0.62))
    .attr("fill", filled ? fill : "none")
    .attr("stroke", outlined ? text : fill)
    .attr("stroke-width", outlined ? 1 : filled ? 0 : 2);
}

/** A mark for text to stand beside. */
export function markOf(state) {
  const svg = d3.create("svg").attr("class", "inline-mark").attr("viewBox", "-7 -7 14 14").attr("aria-hidden", true);
  addMark(svg, state);
  return svg.node();
}

/** The colour and the pattern of a line in this state. */
export function lineOf(state) {
  const { word, fill, text } = lookOf(state);
  const { outlined, dashes } = SIGNS[word];
  return { colour: outlined ? text : fill, dashes };
}

/** How many of a VSAN's ports are in each state, the most usual state first; without those of none. */
export function countStates(vsan, ports) {
  const counts = looks.states.map(() => 0);
  const ranks = vsan.words.map(rankOf);
  for (const port of ports) {
    counts[ranks[port[3]]] += 1;
  }
  return namedCounts(counts);
}

export function namedCounts(counts) {
  return looks.states.map(({ word }, i) => ({ state: word, count: counts[i] })).filter(({ count }) => count > 0);
}
