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
  const allowed = /^(style=(--[a-z-]+: (#[0-9a-f]{3,8}|[a-z]+|[0-9.]+(px)?);\s*)*|src=(file:\/\/\/|data:image\/).*|(class|id|type|role|dir|alt|tabindex|aria-[a-z]+|data-[a-z-]+)=.*)$/is;
  for (const element of page.document.querySelectorAll(".screen, .screen *")) {
    check(["DIV", "BUTTON", "IMG", "H1", "P", "SPAN"].includes(element.tagName), true, `${what}: made a ${element.tagName}`);
    for (const { name, value } of element.attributes) check(allowed.test(`${name}=${value}`), true, `${what}: made ${name}=${value}`);
  }
  check([window.attacks, Object.keys(page.Object.prototype)], [[], []], what);
}

/* What a finger reaches at a place of the page. */
const partAt = (x, y) => page.document.elementFromPoint(x, y)?.closest("[data-element]")?.dataset.element;
const boxOf = (element) => element.getBoundingClientRect();
const middleOf = (name) => (({ left, top, width, height }) => [left + width / 2, top + height / 2])(boxOf(find(name)));

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
      const isReachable = name.endsWith("button") ? partAt(...middleOf(name)) === name : boxOf(element).width > 0;
      check(isReachable, true, `${what} is shown and catches taps`);
      if (!(name in TYPES)) continue;
      const values = { lmrCampaignId: "spring", lmrFrequency: 4, lmrButtonType: TYPES[name], lmrMessage: description.container, lmrAction: description.elements[name].action };
      for (const [key, value] of Object.entries(values)) check(element.dataset[key], value === null ? undefined : String(value), `${key} on ${what}`);
      element.click();
      check([tapped, drawnParts()], [[name, values], []], `tap on ${what}`);
    }
  }
  for (const [layout, name, place] of [[106, "image", () => [195, 200]], [106, "image", () => middleOf("primary_text")], [103, "background", () => middleOf("secondary_text")]]) {
    page.showMessage(describe(layout));
    page.document.elementFromPoint(...place()).click();
    check(tapped[0], name, `a tap on a free spot or a text of layout ${layout}`);
  }
  page.showMessage(describe(103));
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
  const style = (property) => (element) => page.getComputedStyle(element).getPropertyValue(`--${property}`);
  const picture = (element) => element.querySelector("img")?.getAttribute("src") ?? "";
  const file = (value) => (value === PIXEL ? PIXEL : "file:///a%20b/%22%3F%23%3C.png");
  const pixels = (value) => `${value}px`;
  const aligned = (otherwise) => (code) => ({ 100: "start", 101: "end", 104: "center" })[code] ?? otherwise;
  const isAtRight = (element) => boxOf(element).left > boxOf(find("background")).left + 100;
  const badColors = ["", "#ab", "#abcd", "#ggg", "inherit", "var(--x)", "url(file:///etc/passwd)", "rgb(1,2,3)", "red;", "red !important", " red", "#fff\n", "nocolour", 7, null, true, ["red"]];
  const badFiles = ["https://attacker.example/x.png", "relative.png", "javascript:1", "data:text/html;base64,AAAA", "data:image/svg+xml;base64,AAAA", "data:image/png;base64,AA\" onerror=1", "", 5, null];
  const cases = [
    ["primary_text", "color", style("color"), String, ["#abc", "#A1B2C3", "#a1b2c3d4", "RebeccaPurple", "transparent"], badColors],
    ["primary_text", "size", style("size"), pixels, [8, 20, 64], [7, -1, 65, 1e300, NaN, Infinity, "20px", null, true, [20]]],
    ["image", "margin", style("image-margin"), pixels, [0, 2.5, 96], [-1, 97, "1px;color:red"]],
    ["background", "borderWidth", style("card-border"), pixels, [0, 24], [25, {}]],
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

/* Measures: every screen, every layout, hostile texts and pictures. */

const SIZES = [[320, 480], [320, 568], [568, 320], [667, 375], [844, 390], [390, 844], [768, 1024], [1024, 768], [1280, 800]];
const TEXTS = { short: "Hi", long: "Collect summits with us. ".repeat(60), word: "W".repeat(200), none: "", turned: "مرحبا بك ".repeat(9), emoji: "🏕️🎉 ".repeat(30) };
const PICTURES = { usual: paint(8, 10), wide: paint(80, 8), tall: paint(8, 80), absent: "/nowhere.png" };

/* A picture in squares of the two colours that are the worst for letters on it. */
function paint(width, height) {
  const canvas = Object.assign(document.createElement("canvas"), { width, height });
  for (let spot = 0; spot < width * height; spot += 2) canvas.getContext("2d").fillRect((spot + Math.floor(spot / width)) % width, Math.floor(spot / width), 1, 1);
  const white = canvas.getContext("2d");
  white.globalCompositeOperation = "destination-over";
  white.fillStyle = "#fff";
  white.fillRect(0, 0, width, height);
  return canvas.toDataURL();
}

async function show(description, [width, height]) {
  Object.assign(document.getElementById("page"), { width, height });
  page.showMessage(description);
  await Promise.all([...page.document.images].map((picture) => new Promise((resolve) => { picture.onload = picture.onerror = resolve; })));
  return page.document.querySelector(".content");
}

/* The part of a box that is inside another; null when they do not meet. */
function common(one, other) {
  const [left, top] = [Math.max(one.left, other.left), Math.max(one.top, other.top)];
  const [right, bottom] = [Math.min(one.right, other.right), Math.min(one.bottom, other.bottom)];
  return right - left > 0.6 && bottom - top > 0.6 ? { left, top, right, bottom } : null;
}

const isInside = (inner, outer) => common(inner, outer) !== null && ["left", "top", "right", "bottom"].every((side) => Math.abs(common(inner, outer)[side] - inner[side]) < 1);

/* What is wrong with the places of the parts, wherever the content is scrolled to. */
function faultsOf(content) {
  const faults = new Set(), screen = new DOMRect(0, 0, page.innerWidth, page.innerHeight);
  const expect = (holds, fault) => holds || faults.add(fault);
  const close = find("close_button"), image = find("image"), picture = image?.querySelector("img");
  const parts = [...content.querySelectorAll("[data-element]")].filter((part) => boxOf(part).height > 0);
  expect(isInside(boxOf(close), screen) && partAt(...middleOf("close_button")) === "close_button", "the close button is hidden");
  expect(content.scrollWidth <= content.clientWidth + 1, "the content is too wide");
  if (picture) {
    const width = parseFloat(page.getComputedStyle(image).borderTopWidth), outer = boxOf(image), inner = boxOf(picture);
    expect(Math.abs(outer.width - inner.width - 2 * width) + Math.abs(outer.height - inner.height - 2 * width) < 1, "the border is not around the picture");
    expect(isInside(outer, boxOf(page.document.querySelector(".message"))), "the picture leaves the message");
  } else if (image) {
    const { width, height } = boxOf(image);
    expect(width * height === 0 || page.getComputedStyle(image).borderTopWidth === "0px" && width === page.innerWidth, "a box without a picture");
  }
  for (const part of parts) {
    expect(!parts.some((other) => other !== part && common(boxOf(part), boxOf(other))), "two parts overlap");
    for (const block of ["start", "end"]) {
      part.scrollIntoView({ block });
      const seen = parts.map((other) => [other, common(boxOf(other), boxOf(content))]).filter(([, box]) => box);
      expect(!seen.some(([, box]) => common(box, boxOf(close))), "a part lies under the close button");
      expect(!picture || !seen.some(([, box]) => common(box, boxOf(image)) && !isInside(box, boxOf(picture))), "a part lies on the border");
    }
    if (part instanceof page.HTMLButtonElement && boxOf(part).height < content.clientHeight) expect(isInside(boxOf(part), boxOf(content)) && partAt(...middleOf(part.dataset.element)) === part.dataset.element, "a button is out of reach");
  }
  return [...faults];
}

/* Wheel and finger scroll what they are over, which is the content over a text, and what the page hands on elsewhere. */
function checkScrolling(content, what) {
  const moves = (act) => { content.scrollTop = 0; act(); return content.scrollTop > 0; };
  const over = page.document.elementFromPoint(...middleOf("close_button"));
  const touch = (type, clientY) => over.dispatchEvent(Object.assign(new page.Event(type, { bubbles: true }), { touches: [{ clientY }] }));
  const { left, top } = boxOf(content);
  check(content.contains(page.document.elementFromPoint(left + content.clientWidth / 2, top + content.clientHeight / 2)), true, `the text is what is touched: ${what}`);
  check(moves(() => over.dispatchEvent(new page.WheelEvent("wheel", { deltaY: 50, bubbles: true }))), true, `wheel: ${what}`);
  check(moves(() => { touch("touchstart", 90); touch("touchmove", 40); }), true, `finger: ${what}`);
  for (const key of ["ArrowDown", "PageDown", " ", "End"]) check(moves(() => page.document.dispatchEvent(new page.KeyboardEvent("keydown", { key }))), true, `key ${key}: ${what}`);
}

async function testPlaces() {
  let turn = 0;
  for (const size of SIZES) for (const layout of LAYOUTS) for (const [textName, text] of Object.entries(TEXTS)) for (const [pictureName, file] of Object.entries(PICTURES)) {
    turn += 1;
    const frame = { scale_type: 100 + (turn % 3), borderWidth: turn % 2 * 6, layoutAlignment: [101, 100, 104][turn % 5] ?? 101 };
    const what = `layout ${layout} at ${size}, ${textName} text, ${pictureName} picture, ${JSON.stringify(frame)}`;
    const content = await show(describe(layout, { text, file, ...frame }), size);
    check(faultsOf(content), [], what);
    if (textName === "long" && LAYOUT_PARTS[layout].includes("primary_text")) checkScrolling(content, what);
  }
}

/* What lies behind the letters, in pixels: the screen drawn once more, as a picture of its own. */
async function pixelsBehindTexts() {
  const { innerWidth: width, innerHeight: height } = page;
  const screen = page.document.querySelector(".screen").cloneNode(true), picture = new Image(width, height);
  for (const text of screen.querySelectorAll(".text")) text.style.color = "transparent";
  const style = `<style xmlns="http://www.w3.org/1999/xhtml"><![CDATA[${page.document.querySelector("style").textContent}]]></style>`;
  const body = `<body xmlns="http://www.w3.org/1999/xhtml">${new XMLSerializer().serializeToString(screen)}</body>`;
  picture.src = `data:image/svg+xml,${encodeURIComponent(`<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}"><foreignObject width="100%" height="100%">${style}${body}</foreignObject></svg>`)}`;
  await picture.decode();
  const context = Object.assign(document.createElement("canvas"), { width, height }).getContext("2d");
  context.drawImage(picture, 0, 0);
  return context.getImageData(0, 0, width, height);
}

function luminance(channels) {
  const [red, green, blue] = channels.map((value) => (value / 255 <= 0.04045 ? value / 255 / 12.92 : ((value / 255 + 0.055) / 1.055) ** 2.4));
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue + 0.05;
}

/* The worst contrast of a text with the pixels in the boxes of its lines, as far as they are seen. */
function contrastOf(text, content, { data, width }) {
  const lines = page.document.createRange();
  lines.selectNodeContents(text);
  const letters = luminance(page.getComputedStyle(text).color.match(/\d+/g).slice(0, 3).map(Number));
  let worst = 21;
  for (const box of [...lines.getClientRects()].map((line) => common(line, boxOf(content))).filter(Boolean)) {
    for (let y = Math.ceil(box.top); y < Math.floor(box.bottom); y += 2) for (let x = Math.ceil(box.left); x < Math.floor(box.right); x += 2) {
      const ground = luminance([...data.subarray((y * width + x) * 4, (y * width + x) * 4 + 3)]);
      worst = Math.min(worst, Math.max(letters, ground) / Math.min(letters, ground));
    }
  }
  return worst;
}

async function testContrast() {
  let turn = 0;
  for (const size of SIZES) for (const layout of [105, 106]) for (const [first, second] of [["#fff", "#c7d6ea"], ["#1f3b2f", "#4c6157"], ["#777", "#e22"], ["#fff", "#000"]]) for (const text of ["Hello there", TEXTS.long]) {
    turn += 1;
    const description = describe(layout, { text, file: PICTURES.usual, scale_type: [102, 100, 102, 101, 102][turn % 5], borderWidth: turn % 2 * 6 });
    Object.assign(description.elements.primary_text, { color: first });
    Object.assign(description.elements.secondary_text, { color: second });
    const content = await show(description, size), pixels = await pixelsBehindTexts();
    for (const name of ["primary_text", "secondary_text"]) check(contrastOf(find(name), content, pixels) >= 4.5, true, `contrast of ${name}, ${first} and ${second}, layout ${layout} at ${size}, turn ${turn}`);
  }
}

window.addEventListener("unhandledrejection", ({ reason }) => { document.getElementById("report").textContent = reason.stack; });
window.addEventListener("load", async () => {
  page = document.getElementById("page").contentWindow;
  for (const test of [testFragments, testLayouts, testHostileTexts, testFields, testBrokenDescriptions, testPlaces, testContrast]) await test();
  document.getElementById("report").textContent = `${failures.join("\n")}\nfinished ${checks} checks, ${failures.length} failed`;
});
