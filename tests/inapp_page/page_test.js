"use strict";
// Loads the message page in a frame, hands it descriptions, and looks at what it makes of them. The report is
// one line per failure, and a last line that begins with "finished".

const LAYOUT_PARTS = {
  101: ["background", "image", "primary_text", "secondary_text", "primary_button", "close_button"],
  102: ["background", "image", "primary_button", "close_button"],
  103: ["background", "primary_text", "secondary_text", "primary_button", "secondary_button", "close_button"],
  104: ["image", "close_button"],
  105: ["image", "primary_text", "secondary_text", "primary_button", "close_button"],
  106: ["image", "primary_text", "secondary_text", "primary_button", "secondary_button", "close_button"],
};
const TYPES = { close_button: 101, primary_button: 102, secondary_button: 103, image: 104, background: 105 };
const PIXEL = "data:image/gif;base64,R0lGODlhAQABAAAAACH5BAEKAAEALAAAAAABAAEAAAICTAEAOw==";

const HOSTILE_TEXTS = [
  "<script>parent.attacks.push('script')</" + "script>",
  "<img src=x onerror=\"parent.attacks.push('onerror')\">",
  "\"><svg onload=parent.attacks.push('svg')>",
  "'-parent.attacks.push('quote')-'",
  "javascript:parent.attacks.push('url')",
  "</style><style>*{display:none}</style>",
  "red;background:url(https://attacker.example/)",
  "#fff}*{display:none}",
  "&lt;b&gt;\u202e\u0000 ${parent.attacks.push(1)} {{1}}",
  "__proto__",
];

// A property of the window, so that what runs in the frame reaches it.
window.attacks = [];
const attacks = window.attacks;
const failures = [];
let checks = 0;
let page;

function check(holds, what) {
  checks += 1;
  if (!holds) failures.push(what);
}

function checkEqual(actual, expected, what) {
  check(JSON.stringify(actual) === JSON.stringify(expected), `${what}: ${JSON.stringify(actual)}, not ${JSON.stringify(expected)}`);
}

const find = (name) => page.document.querySelector(`[data-element="${name}"]`);
const drawnParts = () => [...page.document.querySelectorAll("[data-element]")].map((element) => element.dataset.element).sort();

function describe(layout, changes = {}) {
  const text = { text: "Text", color: "#123456", size: 20, alignment: 104, bold: true, italic: false, underline: false };
  const button = { text: "Go", color: "#123456", style: 1, gradient: true, border: true, textSize: 16, textColor: "#fff", bold: true, italic: true, underline: true };
  const elements = {
    background: { color: "#ffffff", file: PIXEL, radius: 8, borderColor: "#000", borderWidth: 1 },
    image: { uri: "https://attacker.example/x.png", file: PIXEL, margin: 4, radius: 8, borderColor: "#000", borderWidth: 1, scale_type: 102 },
    primary_text: { ...text },
    secondary_text: { ...text },
    primary_button: { ...button },
    secondary_button: { ...button, file: PIXEL },
    close_button: { style: 1, color: "#000", layoutAlignment: 101, frequency: 4 },
  };
  for (const name of Object.keys(TYPES)) Object.assign(elements[name], { type: TYPES[name], action: `https://acme.example/${name}` });
  elements.image.action = null;
  for (const name of Object.keys(elements)) Object.assign(elements[name], changes);
  return { campaign: "spring", container: "LMRInAppViewControllerPop", layout: Number(layout), frequency: 4, elements };
}

/* Whether the screen holds nothing but what the page itself draws. */
function checkHarmless(what) {
  for (const element of page.document.querySelectorAll(".screen, .screen *")) {
    check(["DIV", "BUTTON", "IMG", "H1", "P", "SPAN"].includes(element.tagName), `${what}: made a ${element.tagName}`);
    for (const { name, value } of element.attributes) {
      check(/^(class|style|id|type|role|dir|alt|src|tabindex|aria-[a-z]+|data-[a-z-]+)$/.test(name), `${what}: made the attribute ${name}`);
      if (name === "style") check(/^(--[a-z-]+: (#[0-9a-f]{3,8}|[a-z]+|[0-9.]+px);\s*)+$/i.test(value), `${what}: made the style ${value}`);
      if (name === "src") check(/^(file:\/\/\/|data:image\/)/.test(value), `${what}: loads ${value}`);
    }
  }
  checkEqual(attacks, [], what);
}

function testLayouts() {
  for (const [layout, parts] of Object.entries(LAYOUT_PARTS)) {
    checkEqual(page.showMessage(describe(layout)), true, `layout ${layout}`);
    checkEqual(drawnParts(), [...parts].sort(), `parts of layout ${layout}`);
    for (const part of parts) {
      const { width, height } = find(part).getBoundingClientRect();
      check(width > 0 && height > 0, `layout ${layout} does not show ${part}`);
    }
    const container = page.document.querySelector(".screen").classList;
    check(container.contains(layout < 104 ? "pop" : "full"), `container of layout ${layout}`);
    check(page.document.querySelector("[role=dialog][aria-modal=true]") === page.document.activeElement, `focus of layout ${layout}`);
  }
}

function testTaps() {
  for (const [layout, parts] of Object.entries(LAYOUT_PARTS)) {
    for (const name of parts.filter((part) => part in TYPES)) {
      const taps = [];
      const description = describe(layout);
      const expected = { lmrCampaignId: "spring", lmrFrequency: 4, lmrButtonType: TYPES[name], lmrMessage: description.container, lmrAction: description.elements[name].action };
      page.lumoraTap = (element, values) => taps.push([element, values]);
      page.showMessage(description);
      const element = find(name);
      const carried = Object.fromEntries(Object.keys(expected).map((key) => [key, element.dataset[key] ?? null]));
      checkEqual(carried, { ...expected, lmrFrequency: "4", lmrButtonType: String(TYPES[name]) }, `values on ${name} of ${layout}`);
      element.click();
      element.click();
      checkEqual(taps[0], [name, expected], `tap on ${name} of ${layout}`);
      checkEqual(drawnParts(), [], `screen after a tap on ${name} of ${layout}`);
    }
  }
  delete page.lumoraTap;
}

/* What a finger reaches: the image and the background lie below other parts. */
function testReachability() {
  const at = (x, y) => page.document.elementFromPoint(x, y)?.closest("[data-element]")?.dataset.element;
  page.showMessage(describe(106));
  checkEqual(at(195, 200), "image", "the picture of a full screen catches taps");
  for (const layout of [101, 103]) {
    page.showMessage(describe(layout));
    const card = find("background").getBoundingClientRect();
    checkEqual(at(card.left + 6, card.bottom - 10), "background", `the free part of the card of ${layout} catches taps`);
    for (const name of ["primary_button", "close_button"]) {
      const { left, top, width, height } = find(name).getBoundingClientRect();
      checkEqual(at(left + width / 2, top + height / 2), name, `${name} of ${layout} catches taps`);
    }
  }
}

function testKeyboard() {
  const taps = [];
  page.lumoraTap = (element) => taps.push(element);
  page.showMessage(describe(103));
  page.document.dispatchEvent(new page.KeyboardEvent("keydown", { key: "Escape" }));
  checkEqual(taps, ["close_button"], "Escape");
  delete page.lumoraTap;
}

function testHostileTexts() {
  for (const text of HOSTILE_TEXTS) {
    for (const layout of Object.keys(LAYOUT_PARTS)) {
      const everywhere = Object.fromEntries(["text", "action", "type", "color", "textColor", "borderColor", "file", "uri", "size", "textSize", "radius", "margin", "borderWidth", "style", "alignment", "layoutAlignment", "scale_type", "bold", "gradient"].map((key) => [key, text]));
      const description = { ...describe(layout, everywhere), campaign: text, container: text, frequency: text };
      const what = `layout ${layout} with ${text}`;
      check(page.showMessage(description) === true, what);
      checkHarmless(what);
      for (const name of ["primary_text", "primary_button"]) {
        if (find(name)) checkEqual(find(name).textContent, text, `${name} of ${what}`);
      }
      find("close_button").click();
    }
  }
  checkEqual(Object.keys(page.Object.prototype), [], "the prototype of all objects");
}

function testColors() {
  const accepted = ["#abc", "#A1B2C3", "#a1b2c3d4", "red", "RebeccaPurple", "transparent"];
  const refused = ["", "#ab", "#abcd", "#12345", "#ggg", "inherit", "revert", "var(--x)", "url(file:///etc/passwd)", "rgb(1,2,3)", "red;", "red !important", "red\"", " red", "#fff\n", "expression(1)", "nocolour", 7, null, true, ["red"], { toString: () => "red" }];
  for (const [colors, isAccepted] of [[accepted, true], [refused, false]]) {
    for (const color of colors) {
      page.showMessage(describe(101, { color }));
      checkEqual(find("primary_text").style.getPropertyValue("--color") !== "", isAccepted, `colour ${JSON.stringify(color)}`);
      checkHarmless(`colour ${JSON.stringify(color)}`);
    }
  }
}

function testNumbers() {
  const cases = [
    ["primary_text", "size", "size", [8, 20, 64], [7, 0, -1, 65, 1e300, NaN, Infinity, "20", "20px", null, true, [20]]],
    ["primary_button", "textSize", "size", [8, 64], [7.9, 64.1, "16"]],
    ["image", "margin", "margin", [0, 2.5, 96], [-1, 97, "1px;color:red"]],
    ["image", "radius", "radius", [0, 200], [-0.1, 1e9]],
    ["background", "borderWidth", "border-width", [0, 24], [25, {}]],
  ];
  for (const [name, field, property, accepted, refused] of cases) {
    for (const value of [...accepted, ...refused]) {
      page.showMessage(describe(101, { [field]: value }));
      const expected = accepted.includes(value) ? `${value}px` : "";
      checkEqual(find(name).style.getPropertyValue(`--${property}`), expected, `${name} with ${field} ${value}`);
    }
  }
}

function testPictures() {
  const cases = [
    ["/cache/spring_a.png", "file:///cache/spring_a.png"],
    ["/a b/\"?#<.png", "file:///a%20b/%22%3F%23%3C.png"],
    [PIXEL, PIXEL],
    ...["https://attacker.example/x.png", "relative.png", "javascript:1", "data:text/html;base64,AAAA", "data:image/svg+xml;base64,AAAA", "data:image/png;base64,AA\" onerror=1", "", 5, null].map((file) => [file, undefined]),
  ];
  for (const [file, source] of cases) {
    page.showMessage(describe(101, { file }));
    for (const name of ["background", "image", "primary_button"]) {
      checkEqual(find(name).querySelector("img")?.getAttribute("src"), source, `${name} with file ${file}`);
    }
  }
}

function testCodes() {
  const cases = [
    ["primary_text", "alignment", "align", { 100: "start", 101: "end", 104: "center", 102: "start", 0: "start" }],
    ["close_button", "layoutAlignment", "align", { 100: "start", 101: "end", 104: "center", 7: "end" }],
    ["image", "scale_type", "scale", { 100: "width", 101: "height", 102: "both", 0: "width" }],
    ["close_button", "style", "style", { 1: "1", 5: "5" }],
    ["primary_button", "style", "style", { 0: "0", 3: "3" }],
  ];
  for (const [name, field, attribute, results] of cases) {
    for (const [code, result] of Object.entries(results)) {
      page.showMessage(describe(101, { [field]: Number(code) }));
      checkEqual(find(name).dataset[attribute], result, `${name} with ${field} ${code}`);
    }
  }
}

function testReadingDirection() {
  for (const [text, direction] of [["مرحبا", "rtl"], ["Hello", "ltr"]]) {
    page.showMessage(describe(101, { text, alignment: 100, layoutAlignment: 101 }));
    const close = find("close_button").getBoundingClientRect();
    const card = find("background").getBoundingClientRect();
    const isRight = close.left + close.width / 2 > card.left + card.width / 2;
    checkEqual(isRight, direction === "ltr", `the close button at the end of ${direction} texts is at the right`);
  }
}

function testBrokenDescriptions() {
  for (const description of [undefined, null, 5, "x", [], {}, { layout: 107 }, { layout: "toString" }, { layout: "__proto__" }, { layout: { toString: null } }]) {
    page.showMessage(describe(101));
    let result;
    try {
      result = page.showMessage(description);
    } catch (error) {
      result = error.message;
    }
    checkEqual([result, drawnParts()], [false, []], `description ${JSON.stringify(description)}`);
  }
  for (const elements of [undefined, null, [], "x", { image: null, primary_text: 5, close_button: [] }]) {
    for (const layout of Object.keys(LAYOUT_PARTS)) {
      checkEqual([page.showMessage({ layout: Number(layout), elements }), drawnParts()], [true, []], `elements ${JSON.stringify(elements)}`);
    }
  }
  for (const layout of Object.keys(LAYOUT_PARTS)) {
    const description = describe(layout);
    for (const name of Object.keys(description.elements)) description.elements[name] = {};
    page.showMessage(description);
    checkEqual(drawnParts(), [...LAYOUT_PARTS[layout]].sort(), `parts without fields of layout ${layout}`);
    checkHarmless(`parts without fields of layout ${layout}`);
  }
}

/* The policy holds back even what would have become markup. */
function testPolicy() {
  const script = page.document.createElement("script");
  script.textContent = "parent.attacks.push('inline script')";
  page.document.body.append(script);
  const style = page.document.createElement("style");
  style.textContent = "body { --attack: 1 }";
  page.document.body.append(style);
  checkEqual(attacks, [], "an inline script");
  checkEqual(page.getComputedStyle(page.document.body).getPropertyValue("--attack"), "", "an inline style sheet");
  script.remove();
  style.remove();
}

function loaded(frame) {
  return new Promise((resolve) => frame.addEventListener("load", resolve, { once: true }));
}

async function testFragments() {
  const frame = document.getElementById("fragment");
  const address = document.getElementById("page").src;
  const hostile = describe(103, { text: HOSTILE_TEXTS[0] });
  const cases = [
    [encodeURIComponent(JSON.stringify(hostile)), [...LAYOUT_PARTS[103]].sort()],
    ["%E0%A4", []],
    ["<img src=x onerror=parent.attacks.push('fragment')>", []],
    ["[1", []],
  ];
  for (const [fragment, parts] of cases) {
    const load = loaded(frame);
    frame.src = "about:blank";
    await load;
    const next = loaded(frame);
    frame.src = `${address}#${fragment}`;
    await next;
    page = frame.contentWindow;
    checkEqual(drawnParts(), parts, `fragment ${fragment.slice(0, 40)}`);
    checkHarmless(`fragment ${fragment.slice(0, 40)}`);
  }
}

async function run() {
  page = document.getElementById("page").contentWindow;
  const tests = [testLayouts, testTaps, testReachability, testKeyboard, testHostileTexts, testColors, testNumbers, testPictures, testCodes, testReadingDirection, testBrokenDescriptions, testPolicy, testFragments];
  for (const test of tests) {
    try {
      await test();
    } catch (error) {
      failures.push(`${test.name} stopped: ${error.message}`);
    }
  }
  check(attacks.length === 0, `attacks ran: ${attacks}`);
  document.getElementById("report").textContent = `${failures.join("\n")}\nfinished ${checks} checks, ${failures.length} failed`;
}

window.addEventListener("load", run);
