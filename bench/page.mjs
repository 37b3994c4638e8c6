#!/usr/bin/env node
/**
 * Measures the page of a map in a browser, with Debian's chromium and what scripts/npm_packages
 * unpacks: from the start of loading to where the list of VSANs can be used and to where the first
 * VSAN is drawn; from the choice of another VSAN, and of a first search, to where they show.
 *
 * usage: bench/page.mjs PAGE [ROUNDS]
 */
import { statSync } from "node:fs";
import { createRequire } from "node:module";
import { resolve } from "node:path";

const { chromium } = createRequire(import.meta.url)("../build/npm/playwright-core");
const [path, rounds = "5"] = process.argv.slice(2);
if (!path) {
  console.error("usage: bench/page.mjs PAGE [ROUNDS]");
  process.exit(2);
}

/** Milliseconds until what `act` does in the page has changed what is within `selector`, and is seen. */
const timed = (page, act, selector) =>
  page.evaluate(
    ([source, watched]) =>
      new Promise((done) => {
        const began = performance.now();
        const seen = () => requestAnimationFrame(() => setTimeout(() => done(performance.now() - began)));
        const observer = new MutationObserver(() => document.querySelector(watched) && (observer.disconnect(), seen()));
        observer.observe(document.body, { subtree: true, childList: true, attributes: true });
        new Function(source)();
      }),
    [act, selector],
  );

async function measure() {
  const browser = await chromium.launch({
    executablePath: "/usr/bin/chromium",
    args: process.getuid() === 0 ? ["--no-sandbox"] : [],
  });
  const page = await browser.newPage({ viewport: { width: 1600, height: 950 } });
  const began = performance.now();
  await page.goto(`file://${resolve(path)}`);
  const opened = performance.now() - began;
  await page.locator("#drawing[data-vsan]").waitFor({ timeout: 120000 });
  const drawn = performance.now() - began;
  const last = await page.locator("#vsans input").last().getAttribute("value");
  const chosen = await timed(
    page,
    `document.querySelector('#vsans input[value="${last}"]').click()`,
    `#drawing[data-vsan="${last}"]`,
  );
  const search = `const query = document.getElementById("query"); query.value = "53:01"; query.dispatchEvent(new Event("input"));`;
  const found = await timed(page, search, "#hits li");
  await browser.close();
  return { opened: opened, "first VSAN drawn": drawn, "another VSAN drawn": chosen, "first search": found };
}

const samples = [];
for (let round = 0; round < Number(rounds); ++round) {
  samples.push(await measure());
}
console.log(`${path}: ${(statSync(path).size / 1e6).toFixed(1)} MB, milliseconds of ${rounds} rounds`);
for (const what of Object.keys(samples[0])) {
  const times = samples.map((sample) => Math.round(sample[what])).sort((a, b) => a - b);
  console.log(`  ${what.padEnd(20)} median ${times[times.length >> 1]}, worst ${times.at(-1)}`);
}
