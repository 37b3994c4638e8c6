/** The ports of an element, with what they are linked to and what is attached to them. */
import { linksOf, portOf } from "./fabric.js";
import { markOf, rankOf } from "./states.js";
import { bdi, counted, link, make, nameOf, wwnText } from "./text.js";

const AT_ONCE = 250;

function describeDevice(vsan, { wwn, device }) {
  const { look, type, name } = vsan.devices[device];
  const swatch = make("span", { class: "swatch", style: `background:${look.fill}` });
  return make("div", {}, swatch, bdi(name), ` ${type}`, make("div", { class: "wwn" }, wwnText(wwn)));
}

function describeLink(vsan, end, goTo) {
  const element = vsan.elements[end.element];
  const { number } = portOf(vsan, element.ports[end.port]);
  return make(
    "div",
    {},
    "linked to ",
    link(nameOf(element), () => goTo(end)),
    ` port ${number}`,
  );
}

function rowOf(vsan, port, ends, goTo) {
  return make(
    "tr",
    {},
    make("th", { scope: "row" }, String(port.number)),
    make("td", { class: "state" }, markOf(port.state), port.state),
    make("td", {}, port.type, make("div", { class: "wwn" }, wwnText(port.wwn))),
    make(
      "td",
      {},
      ...ends.map((end) => describeLink(vsan, end, goTo)),
      ...port.attached.map((attached) => describeDevice(vsan, attached)),
    ),
  );
}

/**
 * The table, a part of it at a time.
 * @param chosen the place of a port to be marked; null for none.
 * @param goTo is handed the element and the port that the user follows a link to.
 */
export function portTable(vsan, element, chosen, goTo) {
  const ends = linksOf(vsan, element.place);
  const body = make("tbody");
  const more = make("button", { type: "button", onclick: () => show(AT_ONCE) });
  const filter = make("select", { "aria-label": "Ports to show", onchange: () => start() });
  const states = [...new Set(element.ports.map((port) => vsan.words[port[3]]))];
  filter.append(
    make("option", { value: "" }, `all ${element.ports.length}`),
    ...states.sort((a, b) => rankOf(a) - rankOf(b)).map((state) => make("option", {}, state)),
  );
  let waiting = [];

  function show(count) {
    for (const place of waiting.splice(0, count)) {
      const row = rowOf(vsan, portOf(vsan, element.ports[place]), ends.get(place) ?? [], goTo);
      if (place === chosen) {
        row.setAttribute("aria-current", "true");
        row.tabIndex = -1;
      }
      body.append(row);
    }
    more.hidden = waiting.length === 0;
    more.textContent = `Show more (${counted(waiting.length, "port")} left)`;
  }

  function start() {
    body.replaceChildren();
    waiting = [...element.ports.keys()].filter(
      (i) => !filter.value || vsan.words[element.ports[i][3]] === filter.value,
    );
    show(Math.max(AT_ONCE, (chosen ?? 0) + 1));
  }

  start();
  const head = make(
    "tr",
    {},
    ...["Port", "State", "Type, name", "At the other end"].map((text) => make("th", { scope: "col" }, text)),
  );
  return make(
    "section",
    { "aria-label": "Ports" },
    make("div", { class: "bar" }, make("h3", {}, "Ports"), filter),
    make("table", {}, make("thead", {}, head), body),
    more,
  );
}
