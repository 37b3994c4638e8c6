/**
 * The fabric, from the data that tools/map/page_data.cpp wrote into the page. A VSAN is parsed when
 * it is first asked for.
 */
const { vsans: figures, states, elements, devices } = read("fabric");
const parsed = new Map();

/** The figures of all VSANs. */
export const vsans = figures;

/** How states, elements and devices look; of the states, later ones are worse. */
export const looks = { states, elements, devices };

function read(id) {
  return JSON.parse(document.getElementById(id).textContent);
}

/** A VSAN with its elements; their ports are as they were written, to be read with portOf. */
export function vsanOf(id) {
  if (!parsed.has(id)) {
    const vsan = read(`vsan-${id}`);
    vsan.id = id;
    vsan.elements = vsan.elements.map(([wwn, name, type, look, domain, isLocal, row, ports], place) => ({
      place,
      wwn,
      name,
      type,
      look: looks.elements[look],
      domain,
      isLocal,
      row,
      ports,
    }));
    vsan.devices = [
      ...vsan.platforms.map(([name, type, look, nodes]) => ({ name, type, nodes, look: looks.devices[look] })),
      ...vsan.strangers.map((wwn) => ({ name: "", type: "no platform", nodes: [], look: looks.devices.at(-1), wwn })),
    ];
    vsan.bundles = vsan.bundles.map(([from, to, state, text]) => ({ from, to, state: looks.states[state].word, text }));
    parsed.set(id, vsan);
  }
  return parsed.get(id);
}

/** Tells of an element's port what devices are attached to it, by the names of their ports. */
export function attachedTo(port) {
  const attached = [];
  for (let i = 4; i < port.length; i += 2) {
    attached.push({ wwn: port[i], device: port[i + 1] });
  }
  return attached;
}

export function portOf(vsan, port) {
  const [wwn, number, type, state] = port;
  return { wwn, number, type: vsan.words[type], state: vsan.words[state], attached: attachedTo(port) };
}

/** The ports that an element's ports are linked to, by the place of the latter. */
export function linksOf(vsan, place) {
  const ends = new Map();
  const add = (port, element, farPort) => ends.set(port, [...(ends.get(port) ?? []), { element, port: farPort }]);
  for (const [a, aPort, b, bPort] of vsan.links) {
    if (a === place) add(aPort, b, bPort);
    if (b === place) add(bPort, a, aPort);
  }
  return ends;
}

/** The ports that each device is attached to, by its place. */
export function placesOfDevices(vsan) {
  const places = vsan.devices.map(() => []);
  for (const { place, ports } of vsan.elements) {
    ports.forEach((port, i) =>
      attachedTo(port).forEach(({ device }) => places[device].push({ element: place, port: i })),
    );
  }
  return places;
}
