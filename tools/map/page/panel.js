/** What is known of the chosen VSAN or element. */
import { placesOfDevices, portOf, vsans } from "./fabric.js";
import { portTable } from "./port_table.js";
import { markOf, namedCounts } from "./states.js";
import { bdi, counted, deviceName, facts, link, make, nameOf, wwnText } from "./text.js";

const FEW_PLACES = 3;

const panel = document.getElementById("panel");

function show(title, ...content) {
  const heading = make("h2", { tabindex: "-1" }, title);
  panel.replaceChildren(heading, ...content);
  panel.scrollTop = 0;
  return heading;
}

const stateList = (counts) =>
  make(
    "ul",
    { class: "states" },
    ...counts.map(({ state, count }) => make("li", {}, markOf(state), `${count.toLocaleString("en")} ${state}`)),
  );

/** Where a device is attached; many places are listed when they are asked for. */
function describePlaces(vsan, places, goTo) {
  const lines = () =>
    places.map((place) => {
      const element = vsan.elements[place.element];
      const { number } = portOf(vsan, element.ports[place.port]);
      return make(
        "div",
        {},
        link(nameOf(element), () => goTo(place)),
        ` port ${number}`,
      );
    });
  if (places.length <= FEW_PLACES) {
    return places.length ? lines() : ["not attached"];
  }
  const list = make("details", {}, make("summary", {}, counted(places.length, "port")));
  list.addEventListener("toggle", () => list.append(...lines()), { once: true });
  return [list];
}

function describePlatform(vsan, device, places, goTo) {
  return make(
    "tr",
    {},
    make(
      "th",
      { scope: "row" },
      make("span", { class: "swatch", style: `background:${device.look.fill}` }),
      bdi(deviceName(device)),
    ),
    make("td", {}, device.type),
    make("td", {}, ...describePlaces(vsan, places, goTo)),
  );
}

/** Shows a VSAN as a whole, with its platforms. */
export function showVsan(vsan, goTo) {
  const figures = vsans.find(({ id }) => id === vsan.id);
  const places = placesOfDevices(vsan);
  const platforms = vsan.devices.slice(0, vsan.platforms.length);
  const head = make("tr", {}, ...["Platform", "Type", "Attached to"].map((text) => make("th", { scope: "col" }, text)));
  show(
    `VSAN ${vsan.id}`,
    facts([
      ["Discovery", figures.discovery],
      ["Elements", String(figures.elements)],
      ["Links", figures.links.toLocaleString("en")],
      ["Ports", stateList(namedCounts(figures.ports))],
      [
        "Devices",
        `${counted(figures.platforms, "platform")}, ${counted(vsan.strangers.length, "port")} of no platform`,
      ],
    ]),
    make(
      "p",
      { class: "hint" },
      "Choose an element, with the pointer or with Tab, arrow keys and Enter, to see its ports.",
    ),
    ...(platforms.length
      ? [
          make(
            "table",
            {},
            make("thead", {}, head),
            make("tbody", {}, ...platforms.map((device, i) => describePlatform(vsan, device, places[i], goTo))),
          ),
        ]
      : []),
  );
}

function linkList(vsan, element, goTo) {
  const bundles = vsan.bundles.filter(({ from, to }) => from === element.place || to === element.place);
  return make(
    "ul",
    { class: "links" },
    ...bundles.map(({ from, to, state, text }) => {
      const other = from === element.place ? to : from;
      return make(
        "li",
        {},
        markOf(state),
        link(nameOf(vsan.elements[other]), () => goTo({ element: other, port: null })),
        ` ${text}`,
      );
    }),
  );
}

/**
 * Shows an element with its ports, and moves the keyboard's focus there.
 * @param port the place of a port to be pointed at; null for none.
 * @param close is called when the user leaves the element.
 */
export function showElement(vsan, element, port, goTo, close) {
  const back = make(
    "button",
    {
      type: "button",
      class: "close",
      "aria-label": "Back to the VSAN",
      title: "Back to the VSAN (Esc)",
      onclick: close,
    },
    "×",
  );
  const heading = show(
    bdi(nameOf(element)),
    back,
    facts([
      ["World-wide name", make("span", { class: "wwn" }, wwnText(element.wwn))],
      ["Type", element.isLocal ? `${element.type}, the local one` : element.type],
      ["Domain", element.domain ? String(element.domain) : "none"],
      ["Links", linkList(vsan, element, goTo)],
    ]),
    portTable(vsan, element, port, goTo),
  );
  const target = panel.querySelector("[aria-current]") ?? heading;
  target.focus();
  target.scrollIntoView({ block: target === heading ? "nearest" : "center" });
}

/** Has a function called when the user leaves the panel by the Escape key. */
export function onEscape(leave) {
  panel.addEventListener("keydown", ({ key }) => key === "Escape" && leave());
}
