/** Finds VSANs, elements, ports and platforms in the whole fabric. */
import { attachedTo, placesOfDevices, vsanOf, vsans } from "./fabric.js";
import { bdi, deviceName, make, nameOf, wwnText } from "./text.js";

const SHOWN = 100;
const SLICE = 30; // Milliseconds of work before the page has its turn.
const RANKS = ["VSAN", "element", "platform", "port"];

const query = document.getElementById("query");
const results = document.getElementById("results");
const hits = document.getElementById("hits");
const found = document.getElementById("found");

/** What a text may mean: part of a name, the digits of a world-wide name, the number of a domain or a VSAN. */
function meaningsOf(text) {
  const words = text.trim().toLowerCase();
  const isWwn = /^[0-9a-f]{2}[0-9a-f:]*$/.test(words) && words.replaceAll(":", "").length > 2;
  const [, kind, number] = words.match(/^(vsan|domain)?\s*(\d{1,4})$/) ?? [];
  return {
    name: words,
    digits: isWwn ? words.replaceAll(":", "") : null,
    domain: number && kind !== "vsan" ? Number(number) : null,
    vsan: number && kind !== "domain" ? Number(number) : null,
  };
}

function* findInVsan(id, { name, digits, domain, vsan: wanted }) {
  const vsan = vsanOf(id);
  const has = (wwn) => digits !== null && wwn.includes(digits);
  const named = (text) => text.toLowerCase().includes(name);
  if (id === wanted) {
    yield { kind: "VSAN", vsan: id, element: null, port: null, name: `VSAN ${id}`, note: "" };
  }
  for (const { place, ...element } of vsan.elements) {
    const hit = { vsan: id, element: place, port: null };
    if (element.domain === domain || named(element.name) || has(element.wwn)) {
      yield {
        ...hit,
        kind: "element",
        name: nameOf(element),
        note: `${element.type}, domain ${element.domain || "none"}, ${wwnText(element.wwn)}`,
      };
    }
    for (let port = 0; digits !== null && port < element.ports.length; ++port) {
      const [wwn, number] = element.ports[port];
      const wwns = [wwn, ...attachedTo(element.ports[port]).map((attached) => attached.wwn)];
      for (const match of wwns.filter(has)) {
        const what = match === wwn ? "port" : "attached to port";
        yield { ...hit, kind: "port", port, name: wwnText(match), note: `${what} ${number} of ${nameOf(element)}` };
      }
    }
  }
  let places = null;
  for (const [i, device] of vsan.devices.slice(0, vsan.platforms.length).entries()) {
    if (named(device.name) || device.nodes.some(has)) {
      places ??= placesOfDevices(vsan);
      const place = places[i][0] ?? { element: null, port: null };
      yield {
        vsan: id,
        ...place,
        kind: "platform",
        name: deviceName(device),
        note: `${device.type}${places[i].length ? "" : ", not attached"}`,
      };
    }
  }
}

/** Finds all that a text may mean; nothing when another text is searched for meanwhile. */
async function find(text) {
  const meanings = meaningsOf(text);
  const all = [];
  let began = performance.now();
  for (const { id } of meanings.name ? vsans : []) {
    for (const hit of findInVsan(id, meanings)) {
      all.push(hit);
    }
    if (performance.now() - began > SLICE) {
      await new Promise((resume) => setTimeout(resume));
      began = performance.now();
    }
    if (query.value !== text) {
      return null;
    }
  }
  return d3.sort(all, ({ kind }) => RANKS.indexOf(kind));
}

function show(all, choose) {
  const text = query.value.trim();
  hits.replaceChildren(
    ...all
      .slice(0, SHOWN)
      .map((hit, i) =>
        make(
          "li",
          { role: "option", id: `hit-${i}`, "aria-selected": i === 0, onclick: () => take(hit, choose) },
          make("span", { class: "kind" }, hit.kind),
          bdi(hit.name),
          make("small", {}, bdi(`${hit.note}${hit.note ? ", " : ""}VSAN ${hit.vsan}`)),
        ),
      ),
  );
  const number = all.length.toLocaleString("en");
  found.textContent = all.length > SHOWN ? `${number} found, the first ${SHOWN} are shown` : `${number} found`;
  results.hidden = text === "";
  query.setAttribute("aria-expanded", !results.hidden);
  activate(hits.firstChild);
}

function take(hit, choose) {
  close();
  choose(hit);
}

function close() {
  results.hidden = true;
  query.setAttribute("aria-expanded", false);
}

function activate(option) {
  hits.querySelector("[aria-selected=true]")?.setAttribute("aria-selected", false);
  option?.setAttribute("aria-selected", true);
  option?.scrollIntoView({ block: "nearest" });
  query.setAttribute("aria-activedescendant", option?.id ?? "");
}

const BY_KEY = {
  ArrowDown: (active) => activate(active.nextSibling ?? active),
  ArrowUp: (active) => activate(active.previousSibling ?? active),
  Enter: (active) => active.click(),
  Escape: close,
};

/** Lets the user search; what is taken, a place in the fabric, is handed to `choose`. */
export function enableSearch(choose) {
  query.addEventListener("input", async () => {
    const all = await find(query.value);
    if (all) {
      show(all, choose);
    }
  });
  query.addEventListener("keydown", (event) => {
    const active = hits.querySelector("[aria-selected=true]");
    if (BY_KEY[event.key] && active && !results.hidden) {
      BY_KEY[event.key](active);
      event.preventDefault();
    }
  });
  document.addEventListener("click", ({ target }) => target.closest("#search") ?? close());
}
