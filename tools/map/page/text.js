/** Words of the page, and elements that hold them. */

/** A world-wide name as people write it. */
export const wwnText = (digits) => digits.match(/../g).join(":");

export const counted = (number, one) => `${number.toLocaleString("en")} ${one}${number === 1 ? "" : "s"}`;

export const nameOf = (element) => element.name || "(no name)";

export const deviceName = (device) => device.name || (device.wwn ? wwnText(device.wwn) : "(no name)");

export const countsText = (counts) => counts.map(({ state, count }) => `${count} ${state}`).join(", ");

/** An HTML element with attributes, listeners (onclick and the like) and children, which are text or elements. */
export function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) {
      element.addEventListener(name.slice(2), value);
    } else {
      element.setAttribute(name, value);
    }
  }
  element.append(...children);
  return element;
}

/** A name from the fabric, which cannot disturb the text around it. */
export const bdi = (name) => make("bdi", {}, name);

/** A button that reads like a link. */
export const link = (text, onclick) => make("button", { type: "button", class: "link", onclick }, bdi(text));

/** A list of terms, each with what it is. */
export function facts(rows) {
  return make("dl", {}, ...rows.flatMap(([term, ...what]) => [make("dt", {}, term), make("dd", {}, ...what)]));
}
