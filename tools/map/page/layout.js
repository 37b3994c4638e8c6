/** Where the elements of a VSAN and the lines between them go: ELK finds that out, in a worker. */

export const CARD = { width: 200, height: 92 };
const LABEL = { height: 18, octet: 6.1, mark: 20 };

const OPTIONS = {
  "elk.algorithm": "layered",
  "elk.direction": "DOWN",
  "elk.edgeRouting": "SPLINES",
  "elk.partitioning.activate": "true",
  "elk.layered.thoroughness": "1", // One try: more of them take longer than they are worth.
  "elk.spacing.nodeNode": "24",
  "elk.spacing.edgeNode": "8",
  "elk.spacing.edgeEdge": "8",
  "elk.layered.spacing.edgeNodeBetweenLayers": "10",
  "elk.layered.spacing.edgeEdgeBetweenLayers": "8",
};

/** Takes the least room, but more time than there is for many elements. */
const NARROW = { "elk.layered.nodePlacement.strategy": "LINEAR_SEGMENTS" };
const MANY = 60;

const startElk = (worker) => new ELK({ workerFactory: () => worker, algorithms: ["layered"] });

let elk = startElk(firstElkWorker);
let busy = false;

/** Elements stay in the rows that they came in. */
const cardOf = ({ place, row }) => ({
  id: `e${place}`,
  ...CARD,
  layoutOptions: { "elk.partitioning.partition": String(row) },
});

/** Leads downwards, so that a row stands below another. */
function lineOf({ from, to, text }, i, elements) {
  const ends = d3.sort([from, to], (place) => elements[place].row);
  const label = { text, width: text.length * LABEL.octet + LABEL.mark, height: LABEL.height };
  return {
    id: `b${i}`,
    sources: [`e${ends[0]}`],
    targets: [`e${ends[1]}`],
    labels: [{ ...label, layoutOptions: { "elk.edgeLabels.inline": "true" } }],
  };
}

const graphOf = ({ elements, bundles }) => ({
  id: "vsan",
  layoutOptions: { ...OPTIONS, ...(elements.length < MANY && NARROW) },
  children: elements.map(cardOf),
  edges: bundles.map((bundle, i) => lineOf(bundle, i, elements)),
});

/** Lays a VSAN out, as ELK describes it. A layout that is still under way is given up. */
export async function layOut(vsan) {
  if (busy) {
    elk.terminateWorker();
    elk = startElk(startElkWorker());
  }
  busy = true;
  const graph = await elk.layout(graphOf(vsan));
  busy = false;
  return graph;
}
