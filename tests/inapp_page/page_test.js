"use strict";
// Loads the message page in a frame, hands it descriptions, and looks at what it makes of them. The report is
// one line per failure, and a last line that begins with "finished".

const PARTS = ["background", "close_button", "image", "primary_button", "primary_text", "secondary_button", "secondary_text"];
const partsWithout = (...names) => PARTS.filter((name) => !names.includes(name));
const LAYOUT_PARTS = {
  101: partsWithout("secondary_button"), 102: ["background", "close_button", "image", "primary_button"], 103: partsWithout("image"),
  104: ["close_button", "image"], 105: partsWithout("background", "secondary_button"), 106: partsWithout("background"),
};
const LAYOUTS = Object.keys(LAYOUT_PARTS).map(Number);
const TYPES = { close_button: 101, primary_button: 102, secondary_button: 103, image: 104, background: 105 };
const PIXEL = "data:image/gif;base64,R0lGODlhAQABAAAAACH5BAEKAAEALAAAAAABAAEAAAICTAEAOw==";

const HOSTILE_TEXTS = [
  "<script>parent.attacks.push('script')</" + "script>", "<img src=x onerror=\"parent.attacks.push('onerror')\">", "__proto__", "#fff}*{display:none}",
  "\"><svg onload=parent.attacks.push('svg')>", "'-parent.attacks.push('quote')-'", "javascript:parent.attacks.push('url')", "&lt;b&gt;\u202e\u0000",
  "</style><style>*{display:none}</style>", "red;background:url(https://attacker.example/)", "${parent.attacks.push(1)} {{1}}",
];

// A property of the window, so that what runs in the frame reaches it.
window.attacks = [];
const failures = [];
let checks = 0, page;

function check(actual, expected, what) {
  const [found, wanted] = [actual, expected].map((value) => String(JSON.stringify(value)));
  checks += 1;
  if (found !== wanted) failures.push(`${what}: ${found}, not ${wanted}`);
}

const find = (name) => page.document.querySelector(`[data-element="${name}"]`);
const drawnParts = () => [...page.document.querySelectorAll("[data-element]")].map((element) => element.dataset.element).sort();

/* A message whose parts have every field that any part may have. */
function describe(layout, changes = {}) {
  const fields = {
    text: "Text", color: "#123456", size: 20, alignment: 104, bold: true, italic: true, underline: true, style: 1, gradient: true,
    border: true, textSize: 16, textColor: "#fff", layoutAlignment: 101, scale_type: 102, uri: "https://attacker.example/x.png",
    file: PIXEL, margin: 4, radius: 8, borderColor: "#000", borderWidth: 1,
  };
  const actionOf = (name) => (name === "image" ? null : `https://acme.example/${name}`);
  const elements = Object.fromEntries(PARTS.map((name) => [name, { ...fields, type: TYPES[name], action: actionOf(name), ...changes }]));
  return { campaign: "spring", container: "LMRInAppViewControllerPop", layout, frequency: 4, elements };
}

/* Whether the screen holds nothing but what the page itself draws. */
function checkHarmless(what) {
  const allowed = /^(style=(--[a-z-]+: (#[0-9a-f]{3,8}|[a-z]+|[0-9.]+px);\s*)+|src=(file:\/\/\/|data:image\/).*|(class|id|type|role|dir|alt|tabindex|aria-[a-z]+|data-[a-z-]+)=.*)$/is;
  for (const element of page.document.querySelectorAll(".screen, .screen *")) {
    check(["DIV", "BUTTON", "IMG", "H1", "P", "SPAN"].includes(element.tagName), true, `${what}: made a ${element.tagName}`);
    for (const { name, value } of element.attributes) check(allowed.test(`${name}=${value}`), true, `${what}: made ${name}=${value}`);
  }
  check([window.attacks, Object.keys(page.Object.prototype)], [[], []], what);
}

/* What a finger reaches at a place of the page. */
const partAt = (x, y) => page.document.elementFromPoint(x, y)?.closest("[data-element]")?.dataset.element;

function testLayouts() {
  let tapped;
  page.lumoraTap = (...values) => { tapped = values; };
  for (const layout of LAYOUTS) {
    for (const name of LAYOUT_PARTS[layout]) {
      const what = `${name} of layout ${layout}`;
      const description = describe(layout);
      check([page.showMessage(description), drawnParts()], [true, LAYOUT_PARTS[layout]], what);
      const dialog = page.document.querySelector(`.screen.${layout < 104 ? "pop" : "full"} [role=dialog][aria-modal=true]`);
      check(dialog === page.document.activeElement, true, `focus with ${what}`);
      const element = find(name);
      const { left, top, width, height } = element.getBoundingClientRect();
      const isReachable = name.endsWith("button") ? partAt(left + width / 2, top + height / 2) === name : width > 0 && height > 0;
      check(isReachable, true, `${what} is shown and catches taps`);
      if (!(name in TYPES)) continue;
      const values = { lmrCampaignId: "spring", lmrFrequency: 4, lmrButtonType: TYPES[name], lmrMessage: description.container, lmrAction: description.elements[name].action };
      for (const [key, value] of Object.entries(values)) check(element.dataset[key], value === null ? undefined : String(value), `${key} on ${what}`);
      element.click();
      check([tapped, drawnParts()], [[name, values], []], `tap on ${what}`);
    }
  }
  page.showMessage(describe(106));
  check(partAt(195, 200), "image", "the picture of a full screen catches taps");
  page.showMessage(describe(103));
  const { left, bottom } = find("background").getBoundingClientRect();
  check(partAt(left + 6, bottom - 10), "background", "the free part of the card catches taps");
  page.document.dispatchEvent(new page.KeyboardEvent("keydown", { key: "Escape" }));
  check(tapped[0], "close_button", "Escape");
}

function testHostileTexts() {
  for (const text of HOSTILE_TEXTS) {
    for (const layout of LAYOUTS) {
      const what = `layout ${layout} with ${text}`;
      const everywhere = Object.fromEntries(Object.keys(describe(layout).elements.image).map((field) => [field, text]));
      check(page.showMessage({ ...describe(layout, everywhere), campaign: text, container: text, frequency: text }), true, what);
      checkHarmless(what);
      for (const name of ["primary_text", "primary_button"]) check(find(name)?.textContent ?? text, text, `${name} of ${what}`);
    }
  }
  // The policy holds back even what would have become markup.
  for (const [tag, content] of [["script", "parent.attacks.push('inline script')"], ["style", "body { --attack: 1 }"]]) {
    page.document.body.append(Object.assign(page.document.createElement(tag), { textContent: content }));
  }
  const attack = page.getComputedStyle(page.document.body).getPropertyValue("--attack");
  check([window.attacks, attack], [[], ""], "an inline script and an inline style sheet");
}

/* Every field that is checked: what it becomes where it shows, and the values that count as not given. */
function testFields() {
  const style = (property) => (element) => element.style.getPropertyValue(`--${property}`);
  const picture = (element) => element.querySelector("img")?.getAttribute("src") ?? "";
  const file = (value) => (value === PIXEL ? PIXEL : "file:///a%20b/%22%3F%23%3C.png");
  const pixels = (value) => `${value}px`;
  const aligned = (otherwise) => (code) => ({ 100: "start", 101: "end", 104: "center" })[code] ?? otherwise;
  const isAtRight = (element) => element.getBoundingClientRect().left > find("background").getBoundingClientRect().left + 100;
  const badColors = ["", "#ab", "#abcd", "#ggg", "inherit", "var(--x)", "url(file:///etc/passwd)", "rgb(1,2,3)", "red;", "red !important", " red", "#fff\n", "nocolour", 7, null, true, ["red"]];
  const badFiles = ["https://attacker.example/x.png", "relative.png", "javascript:1", "data:text/html;base64,AAAA", "data:image/svg+xml;base64,AAAA", "data:image/png;base64,AA\" onerror=1", "", 5, null];
  const cases = [
    ["primary_text", "color", style("color"), String, ["#abc", "#A1B2C3", "#a1b2c3d4", "RebeccaPurple", "transparent"], badColors],
    ["primary_text", "size", style("size"), pixels, [8, 20, 64], [7, -1, 65, 1e300, NaN, Infinity, "20px", null, true, [20]]],
    ["image", "margin", style("margin"), pixels, [0, 2.5, 96], [-1, 97, "1px;color:red"]],
    ["background", "borderWidth", style("border-width"), pixels, [0, 24], [25, {}]],
    ...["background", "image", "primary_button"].map((name) => [name, "file", picture, file, ["/a b/\"?#<.png", PIXEL], badFiles]),
    ["primary_text", "alignment", (element) => element.dataset.align, aligned("start"), [100, 101, 104, 102], []],
    ["close_button", "layoutAlignment", (element) => element.dataset.align, aligned("end"), [100, 101, 104, 7], []],
    ["close_button", "text", isAtRight, (text) => text === "Hello", ["Hello", "مرحبا"], []],  // The texts tell the direction.
  ];
  for (const [name, field, read, change, accepted, refused] of cases) {
    for (const [value, result] of [...accepted.map((value) => [value, change(value)]), ...refused.map((value) => [value, ""])]) {
      page.showMessage(describe(101, { [field]: value }));
      check(read(find(name)), result, `${name} with ${field} ${JSON.stringify(value)}`);
      checkHarmless(`${name} with ${field} ${JSON.stringify(value)}`);
    }
  }
}

function testBrokenDescriptions() {
  for (const description of [undefined, null, 5, "x", [], {}, { layout: 107 }, { layout: "toString" }, { layout: "__proto__" }, { layout: { toString: null } }]) {
    page.showMessage(describe(101));
    check([page.showMessage(description), drawnParts()], [false, []], `description ${JSON.stringify(description)}`);
  }
  for (const layout of LAYOUTS) {
    for (const elements of [undefined, null, [], "x", { image: null, primary_text: 5, close_button: [] }])
      check([page.showMessage({ layout, elements }), drawnParts()], [true, []], `elements ${JSON.stringify(elements)}`);
    page.showMessage({ layout, elements: Object.fromEntries(LAYOUT_PARTS[layout].map((name) => [name, {}])) });
    check(drawnParts(), LAYOUT_PARTS[layout], `parts without fields of layout ${layout}`);
    checkHarmless(`parts without fields of layout ${layout}`);
  }
}

async function testFragments() {
  check(drawnParts(), ["image"], "the fragment at the start");
  const hostile = encodeURIComponent(JSON.stringify(describe(103, { text: HOSTILE_TEXTS[0] })));
  for (const fragment of ["%E0%A4", hostile, "<img src=x onerror=parent.attacks.push('fragment')>", "[1"]) {
    page.location.hash = fragment;
    await new Promise((resolve) => page.addEventListener("hashchange", resolve, { once: true }));
    check(drawnParts(), fragment === hostile ? LAYOUT_PARTS[103] : [], `fragment ${fragment.slice(0, 40)}`);
    checkHarmless(`fragment ${fragment.slice(0, 40)}`);
  }
}

window.addEventListener("unhandledrejection", ({ reason }) => { document.getElementById("report").textContent = reason.stack; });
window.addEventListener("load", async () => {
  page = document.getElementById("page").contentWindow;
  for (const test of [testFragments, testLayouts, testHostileTexts, testFields, testBrokenDescriptions]) await test();
  document.getElementById("report").textContent = `${failures.join("\n")}\nfinished ${checks} checks, ${failures.length} failed`;
});
