/** The page of a map, as a person with a pointer or a keyboard has it in a browser. */
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, afterEach, before, test } from "node:test";
import { fileURLToPath } from "node:url";

const ROOT = fileURLToPath(new URL("../..", import.meta.url));
const { chromium } = createRequire(import.meta.url)(join(ROOT, "build/npm/playwright-core"));
const EMULATOR = process.env.FCS_EMULATOR?.split(" ").filter(Boolean) ?? []; // Runs programs of another machine.
const FCSCTL = join(process.env.FCS_BUILD, "tools/fcsctl");
const SAMPLE = readFileSync(join(ROOT, "lab/sample-fabric.json"), "utf8");
const directory = mkdtempSync(join(tmpdir(), "map-page-"));
let browser, page, complaints;

before(async () => {
  const args = process.getuid() === 0 ? ["--no-sandbox"] : []; // Root has no use of it.
  browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args });
});

afterEach(() => assert.deepEqual(complaints, []));

after(async () => {
  await browser?.close();
  rmSync(directory, { recursive: true });
});

/** Opens the page of a fabric's description, and waits for the first VSAN. */
async function open(fabric) {
  const file = join(directory, "map.html");
  const [program, ...words] = [...EMULATOR, FCSCTL, "map", "-", "--format", "html", "--output", file];
  execFileSync(program, words, { input: fabric });
  page = await browser.newPage();
  page.setDefaultTimeout(20000);
  complaints = [];
  page.on("console", (message) => complaints.push(message.text()));
  page.on("pageerror", (fault) => complaints.push(fault.message));
  page.on("request", (request) => /^(file|blob|data):/.test(request.url()) || complaints.push(request.url()));
  await page.goto(`file://${file}`);
  await drawn(JSON.parse(fabric).vsans[0].id);
}

const drawn = (vsan) => page.locator(`#drawing[data-vsan="${vsan}"]`).waitFor();
const card = (name) => page.getByRole("button", { name });
const query = () => page.getByRole("combobox", { name: "Search" });
const details = () => page.getByRole("complementary", { name: "Details" });
const portRow = (number) => details().getByRole("row", { name: new RegExp(`^${number} `) });
const focused = () => page.evaluate(() => document.activeElement.ariaLabel ?? document.activeElement.textContent);

async function press(...keys) {
  for (const key of keys) {
    await page.keyboard.press(key);
  }
}

test("a pointer chooses VSANs, elements and what their ports lead to", async () => {
  await open(SAMPLE);
  await page.getByRole("radio", { name: /VSAN 1 completed 6 elements · 31 ports · 7 platforms.*3 fault/ }).waitFor();
  assert.equal(await page.getByRole("img", { name: /^Links between / }).count(), 5, "of two elements each");
  await page.getByRole("img", { name: "Links between edge-b.example.net and (no name): 1 fault" }).waitFor();
  await card("core-a.example.net, local switch, domain 1, 12 ports, 9 online").click();
  assert.match(await portRow("3").innerText(), /online\s+F_Port[^]*db-1\.example\.net host/);
  await portRow("1").getByRole("button", { name: "edge-b.example.net" }).click();
  await details().getByRole("heading", { name: "edge-b.example.net" }).waitFor();
  assert.match(await details().locator("[aria-current]").innerText(), /linked to core-a\.example\.net port 1$/);
  await details().getByLabel("Ports to show").selectOption("fault");
  assert.equal(await details().getByRole("rowheader").count(), 2);
  await page.getByText("VSAN 100", { exact: true }).click();
  await drawn(100);
  assert.equal(await card(/ports, /).count(), 2);
  const [width] = await card(/ports, /).evaluateAll((cards) => cards.map((one) => one.getBoundingClientRect().width));
  await page.mouse.move(600, 500);
  await page.mouse.wheel(0, -200);
  await page.waitForFunction((was) => document.querySelector(".card").getBoundingClientRect().width > was, width);
  const signs = await page.locator("#legend li:has(.sample)").evaluateAll((items) => {
    const shape = (item) => item.querySelector(".mark").getAttribute("d");
    return items.map((item) => shape(item) + item.querySelector("line").getAttribute("stroke-dasharray"));
  });
  assert.equal(new Set(signs).size, 6, "states differ where colours are not seen");
});

test("a search finds whatever has a name or a number", async () => {
  await open(SAMPLE);
  for (const [text, kind, heading] of [
    ["EDGE-B", "element", "edge-b.example.net"],
    ["domain 2", "element", "edge-b.example.net"],
    ["20:01:00:00:5e:00:53:20", "element", "tape-bridge-1"],
    ["220000005e0053c2", "port", "loop-hub-1"],
    ["web-1", "platform", "edge-b.example.net"],
    ["vsan 2100", "VSAN", "VSAN 2100"],
  ]) {
    await query().fill(text);
    await page.getByRole("option", { name: kind }).first().click();
    await details().getByRole("heading", { name: heading, exact: true }).waitFor();
    assert.equal(await details().locator("[aria-current]").count(), ["port", "platform"].includes(kind) ? 1 : 0, text);
  }
  await drawn(2100);
  await query().fill("no such name");
  await page.getByText("0 found").waitFor();
});

test("the keyboard alone reaches everything", async () => {
  await open(SAMPLE);
  await press("Tab");
  await page.keyboard.type("core-a");
  await page.getByText("3 found").waitFor();
  await press("ArrowDown", "Enter");
  await drawn(100);
  assert.equal(await focused(), "core-a.example.net");
  await press("Escape");
  assert.match(await focused(), /^core-a\.example\.net, local switch/, "back on the card");
  await press("ArrowDown", "Enter");
  await page.getByRole("heading", { name: /^fabric-/ }).waitFor();
  await press("Escape", "Shift+Tab", "ArrowUp");
  await drawn(1);
  await details().getByRole("heading", { name: "VSAN 1" }).waitFor();
});

test("names do no harm, whatever their octets are", async () => {
  const names = [
    ["</script><script>complain()</script>"],
    ["<!--<script>"],
    ['"><img src=x onerror=complain()>&lt;'],
    ["\u2028`${complain()}`\u202e"],
    [{ hex: "42fc726f00e2809285" }, "B[fc]ro[00]‒[85]"],
  ];
  const fabric = JSON.parse(SAMPLE);
  const { elements, platforms } = fabric.vsans[0];
  names.forEach(([name], i) => (elements[i].logicalName = platforms[i].name = name));
  await open(JSON.stringify(fabric));
  for (const [i, [name, shown = name]] of names.entries()) {
    const title = await page.locator(".card title").nth(i).textContent();
    assert.equal(title.slice(0, title.lastIndexOf("\n")), shown);
    await query().fill(shown);
    assert.equal(await page.getByRole("option", { name: "platform" }).locator("bdi").first().textContent(), shown);
    await page.getByRole("option", { name: "element" }).click();
    assert.equal(await details().locator("h2").textContent(), shown);
  }
  assert.equal(await page.locator("img").count(), 0);
});
