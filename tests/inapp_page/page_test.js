"use strict";
// Loads the message page in a frame, hands it descriptions, and looks at what it makes of them. The report is
// one line per failure, and a last line that begins with "finished".

const PARTS = ["background", "close_button", "image", "primary_button", "primary_text", "secondary_button", "secondary_text"];
const without = (...names) => PARTS.filter((name) => !names.includes(name));
const LAYOUT_PARTS = { 101: without("secondary_button"), 102: ["background", "close_button", "image", "primary_button"], 103: without("image"),
  104: ["close_button", "image"], 105: without("background", "secondary_button"), 106: without("background") };
const LAYOUTS = Object.keys(LAYOUT_PARTS).map(Number);
const TYPES = { close_button: 101, primary_button: 102, secondary_button: 103, image: 104, background: 105 };
const PIXEL = "data:image/gif;base64,R0lGODlhAQABAAAAACH5BAEKAAEALAAAAAABAAEAAAICTAEAOw==";

const HOSTILE_TEXTS = ["<script>parent.attacks.push('script')</" + "script>", "<img src=x onerror=\"parent.attacks.push('onerror')\">", "__proto__", "#fff}*{display:none}",
  "\"><svg onload=parent.attacks.push('svg')>", "'-parent.attacks.push('quote')-'", "javascript:parent.attacks.push('url')", "&lt;b&gt;\u202e\u0000",
  "</style><style>*{display:none}</style>", "red;background:url(https://attacker.example/)", "${parent.attacks.push(1)} {{1}}"];

// A property of the window, so that what runs in the frame reaches it.
window.attacks = [];
let failures = [], checks = 0, page, tapped;

function check(actual, expected, what) {
  const [found, wanted] = [actual, expected].map((value) => String(JSON.stringify(value)));
  checks += 1;
  if (found !== wanted) failures.push(`${what}: ${found}, not ${wanted}`);
}

const first = (selector) => page.document.querySelector(selector);
const find = (name) => first(`[data-element="${name}"]`);
const drawnParts = () => [...page.document.querySelectorAll("[data-element]")].map((element) => element.dataset.element).sort();

/* A message whose parts have every field that any part may have. */
function describe(layout, changes = {}) {
  const fields = {
    text: "Text", color: "#123456", size: 20, alignment: 104, bold: true, italic: true, underline: true, style: 1, gradient: true, border: true, textSize: 16, textColor: "#fff",
    layoutAlignment: 101, scale_type: 102, uri: "https://attacker.example/x.png", file: PIXEL, margin: 4, radius: 8, borderColor: "#000", borderWidth: 1,
  };
  const elements = Object.fromEntries(PARTS.map((name) => [name, { ...fields, type: TYPES[name], action: name === "image" ? null : `https://acme.example/${name}`, ...changes }]));
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

/* What a finger reaches in the middle of an element. */
const boxOf = (element) => element.getBoundingClientRect();
const touched = (element) => (({ x, y, width, height }) => page.document.elementFromPoint(x + width / 2, y + height / 2))(boxOf(element));
const isTapped = (element) => touched(element)?.closest("[data-element]") === element;

function testLayouts() {
  page.lumoraTap = (...values) => { tapped = values; };
  for (const layout of LAYOUTS) for (const name of LAYOUT_PARTS[layout]) {
    const what = `${name} of layout ${layout}`, description = describe(layout);
    check([page.showMessage(description), drawnParts()], [true, LAYOUT_PARTS[layout]], what);
    check(first(`.screen.${layout < 104 ? "pop" : "full"} [role=dialog][aria-modal=true]`) === page.document.activeElement, true, `focus with ${what}`);
    const element = find(name);
    check(name.endsWith("button") ? isTapped(element) : boxOf(element).height > 0, true, `${what} is shown and catches taps`);
    if (!(name in TYPES)) continue;
    const values = { lmrCampaignId: "spring", lmrFrequency: 4, lmrButtonType: TYPES[name], lmrMessage: description.container, lmrAction: description.elements[name].action };
    for (const [key, value] of Object.entries(values)) check(element.dataset[key], value === null ? undefined : String(value), `${key} on ${what}`);
    element.click();
    check([tapped, drawnParts()], [[name, values], []], `tap on ${what}`);
  }
  for (const [layout, name, place] of [[106, "image", "image"], [106, "image", "primary_text"], [103, "background", "secondary_text"], [103, "close_button", "Escape"]]) {
    page.showMessage(describe(layout));
    if (find(place)) touched(find(place)).click(); else first("body").dispatchEvent(new page.KeyboardEvent("keydown", { key: place, bubbles: true }));
    check(tapped[0], name, `${place} on layout ${layout}`);
  }
}

function testHostileTexts() {
  for (const text of HOSTILE_TEXTS) for (const layout of LAYOUTS) {
    const what = `layout ${layout} with ${text}`;
    const everywhere = Object.fromEntries(Object.keys(describe(layout).elements.image).map((field) => [field, text]));
    check(page.showMessage({ ...describe(layout, everywhere), campaign: text, container: text, frequency: text }), true, what);
    checkHarmless(what);
    for (const name of ["primary_text", "primary_button"]) check(find(name)?.textContent ?? text, text, `${name} of ${what}`);
  }
  // The policy holds back even what would have become markup.
  for (const [tag, textContent] of [["script", "parent.attacks.push('inline script')"], ["style", "body { --attack: 1 }"]]) page.document.body.append(Object.assign(page.document.createElement(tag), { textContent }));
  check([window.attacks, page.getComputedStyle(page.document.body).getPropertyValue("--attack")], [[], ""], "an inline script and an inline style sheet");
}

/* Every field that is checked: what it becomes where it shows, and the values that count as not given. */
function testFields() {
  const style = (property) => (element) => page.getComputedStyle(element).getPropertyValue(`--${property}`);
  const picture = (element) => element.querySelector("img")?.getAttribute("src") ?? "";
  const pixels = (value) => `${value}px`;
  const aligned = (otherwise) => (code) => ({ 100: "start", 101: "end", 104: "center" })[code] ?? otherwise;
  const badColors = ["", "#ab", "#abcd", "#ggg", "inherit", "var(--x)", "url(file:///etc/passwd)", "rgb(1,2,3)", "red;", "red !important", " red", "#fff\n", "nocolour", 7, null, true, ["red"]];
  const badFiles = ["https://attacker.example/x.png", "relative.png", "javascript:1", "data:text/html;base64,AAAA", "data:image/svg+xml;base64,AAAA", "data:image/png;base64,AA\" onerror=1", "", 5, null];
  const cases = [
    ["primary_text", "color", style("color"), String, ["#abc", "#A1B2C3", "#a1b2c3d4", "RebeccaPurple", "transparent"], badColors],
    ["primary_text", "size", style("size"), pixels, [8, 20, 64], [7, -1, 65, 1e300, NaN, Infinity, "20px", null, true, [20]]],
    ["image", "margin", style("image-margin"), pixels, [0, 2.5, 96], [-1, 97, "1px;color:red"]],
    ["background", "borderWidth", style("card-border"), pixels, [0, 24], [25, {}]],
    ...["background", "image", "primary_button"].map((name) => [name, "file", picture, (value) => (value === PIXEL ? PIXEL : "file:///a%20b/%22%3F%23%3C.png"), ["/a b/\"?#<.png", PIXEL], badFiles]),
    ["primary_text", "alignment", (element) => element.dataset.align, aligned("start"), [100, 101, 104, 102], []],
    ["close_button", "layoutAlignment", (element) => element.dataset.align, aligned("end"), [100, 101, 104, 7], []],
    ["close_button", "text", (element) => boxOf(element).left > boxOf(find("background")).left + 100, (text) => text === "Hello", ["Hello", "مرحبا"], []],  // The texts tell the direction.
  ];
  for (const [name, field, read, change, accepted, refused] of cases) for (const value of [...accepted, ...refused]) {
    page.showMessage(describe(101, { [field]: value }));
    check(read(find(name)), accepted.includes(value) ? change(value) : "", `${name} with ${field} ${JSON.stringify(value)}`);
    checkHarmless(`${name} with ${field} ${JSON.stringify(value)}`);
  }
}

function testBrokenDescriptions() {
  for (const description of [undefined, null, 5, "x", [], {}, { layout: 107 }, { layout: "toString" }, { layout: "__proto__" }, { layout: { toString: null } }]) {
    page.showMessage(describe(101));
    check([page.showMessage(description), drawnParts()], [false, []], `description ${JSON.stringify(description)}`);
  }
  for (const layout of LAYOUTS) {
    const empty = Object.fromEntries(LAYOUT_PARTS[layout].map((name) => [name, {}]));
    for (const elements of [undefined, null, [], "x", { image: null, primary_text: 5, close_button: [] }, empty])
      check([page.showMessage({ layout, elements }), drawnParts()], [true, elements === empty ? LAYOUT_PARTS[layout] : []], `elements ${JSON.stringify(elements)}`);
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

/* Measures: every screen and layout, with hostile texts and pictures. */

const SIZES = [[320, 480], [320, 568], [568, 320], [667, 375], [844, 390], [390, 844], [768, 1024], [1024, 768], [1280, 800]];
const TEXTS = { short: "Hi", long: "Collect summits with us. ".repeat(60), word: "W".repeat(200), none: "", turned: "مرحبا بك ".repeat(9), emoji: "🏕️🎉 ".repeat(30) };
// The wide one and the tall one are squares of black and white, the worst for letters on them.
const PICTURES = { single: PIXEL, wide: "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAACgAAAAEAQAAAADU60CNAAAAEklEQVR42mMIBQGGVSDAgMQGAG2qCfd0EwVkAAAAAElFTkSuQmCC",
  absent: "/nowhere.png", tall: "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAQAAAAoAQAAAADx5GaeAAAAD0lEQVR42mMIYFjAQEUMAOguEsGLcpZFAAAAAElFTkSuQmCC" };
const COLORS = [["#fff", "#c7d6ea"], ["#1f3b2f", "#4c6157"], ["#777", "#e22"], ["#fff", "#000"]];

/* The part of a box that is inside another; null when they do not meet. */
function common(one, other) {
  const [left, top, right, bottom] = [...["left", "top"].map((side) => Math.max(one[side], other[side])), ...["right", "bottom"].map((side) => Math.min(one[side], other[side]))];
  return right - left > 0.6 && bottom - top > 0.6 ? { left, top, right, bottom } : null;
}

const isInside = (box, outer) => ["left", "top", "right", "bottom"].every((side) => Math.abs(common(box, outer)?.[side] - box[side]) < 1);

/* What is wrong with the places of the parts, wherever the content is scrolled to. */
function faultsOf(content) {
  const close = find("close_button"), image = find("image"), picture = image?.querySelector("img"), frame = image && boxOf(image);
  const border = image && parseFloat(page.getComputedStyle(image).borderTopWidth), closeBox = boxOf(close);
  const isOnBorder = (box) => picture && common(box, frame) && !isInside(box, boxOf(picture));
  const parts = [...content.querySelectorAll("[data-element]")].filter((part) => boxOf(part).height > 0);
  const faults = {
    "the close button is hidden, or on the border": !isInside(closeBox, new DOMRect(0, 0, page.innerWidth, page.innerHeight)) || !isTapped(close) || isOnBorder(boxOf(first(".mark"))),
    "the content is too wide": content.scrollWidth > content.clientWidth + 1,
    "the border is not around the picture": picture && !["width", "height"].every((side) => Math.abs(frame[side] - boxOf(picture)[side] - 2 * border) < 1),
    "the picture leaves the message": picture && !isInside(frame, boxOf(first(".message"))),
    "a box without a picture": image && !picture && frame.width > 0 && (border > 0 || frame.width < page.innerWidth),
  };
  for (const part of parts) for (const block of ["end", "start"]) {
    part.scrollIntoView({ block });
    const seen = parts.map((other) => common(boxOf(other), boxOf(content))).filter(Boolean);
    faults["a part lies under the close button, or on the border"] ||= seen.some((box) => common(box, closeBox) || isOnBorder(box));
    faults["two parts overlap"] ||= parts.some((other) => other !== part && common(boxOf(part), boxOf(other)));
    faults["a button is out of reach"] ||= part.tagName === "BUTTON" && boxOf(part).height < content.clientHeight && !(isInside(boxOf(part), boxOf(content)) && isTapped(part));
  }
  return Object.keys(faults).filter((fault) => faults[fault]);
}

/* Wheel and finger scroll what they are over: the content, under a text; elsewhere the page hands them on. */
function checkScrolling(content, what) {
  const send = (type, fields) => find("close_button").dispatchEvent(Object.assign(new page.Event(type, { bubbles: true }), fields));
  check(content.contains(touched(content)), true, `what is under a text: ${what}`);
  for (const [type, fields] of [["wheel", { deltaY: 50 }], ["touchmove", { touches: [{ clientY: 40 }] }], ...["ArrowDown", "PageDown", " ", "End"].map((key) => ["keydown", { key }])]) {
    send("touchstart", { touches: [{ clientY: 90 }] });
    content.scrollTop = 0;
    send(type, fields);
    check(content.scrollTop > 0, true, `${type} ${fields.key}: ${what}`);
  }
}

/* What lies behind the texts, in pixels: the screen drawn once more, as a picture of its own. */
async function pixelsBehindTexts() {
  const { innerWidth: width, innerHeight: height } = page, picture = new Image(width, height);
  const style = `<style><![CDATA[${first("style").textContent} .text { color: transparent !important } .content { scrollbar-width: none !important }]]></style>`;
  const content = `<body xmlns="http://www.w3.org/1999/xhtml">${style}${new XMLSerializer().serializeToString(first(".screen"))}</body>`;
  picture.src = `data:image/svg+xml,${encodeURIComponent(`<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}"><foreignObject width="100%" height="100%">${content}</foreignObject></svg>`)}`;
  await picture.decode();
  const context = Object.assign(document.createElement("canvas"), { width, height }).getContext("2d");
  return context.drawImage(picture, 0, 0) ?? context;
}

const LINEAR = Float64Array.from({ length: 256 }, (_, value) => (value <= 10 ? value / 255 / 12.92 : ((value / 255 + 0.055) / 1.055) ** 2.4));
const luminance = (data, at = 0) => 0.2126 * LINEAR[data[at]] + 0.7152 * LINEAR[data[at + 1]] + 0.0722 * LINEAR[data[at + 2]] + 0.05;

function lightsIn({ left, top, right, bottom }, context) {
  const { data } = context.getImageData(Math.ceil(left), Math.ceil(top), Math.floor(right - left) || 1, Math.floor(bottom - top) || 1);
  return Array.from({ length: data.length / 4 }, (_, pixel) => luminance(data, pixel * 4));
}

/* The worst contrast of a text with what lies behind its lines, as far as they are seen. */
function contrastOf(text, content, pixels) {
  const letters = luminance(page.getComputedStyle(text).color.match(/\d+/g)), lines = page.document.createRange();
  lines.selectNodeContents(text);
  const seen = [...lines.getClientRects()].map((line) => common(line, boxOf(content))).filter(Boolean).map((box) => lightsIn(box, pixels));
  return Math.min(...seen.map((lights) => Math.max(letters / Math.max(...lights), Math.min(...lights) / letters)));
}

async function testMeasures() {
  let turn = 0;
  for (const [width, height] of SIZES) for (const layout of LAYOUTS) for (const text of Object.keys(TEXTS)) for (const picture of Object.keys(PICTURES)) {
    // Two messages of five, with the fields below in turn, are every pair of values often enough.
    if ((turn += 1) % 5 > 1) continue;
    const [color, second] = COLORS[turn % 4], fields = { color, scale_type: 102 - (turn % 3), borderWidth: (turn % 2) * 6, layoutAlignment: [101, 100, 104][turn % 7] ?? 101 };
    const what = `layout ${layout} at ${width}x${height}, ${text} text, ${picture} picture, ${JSON.stringify(fields)}`;
    const description = describe(layout, { text: TEXTS[text], file: PICTURES[picture], ...fields });
    description.elements.secondary_text.color = second;
    Object.assign(document.getElementById("page"), { width, height });
    page.showMessage(description);
    await Promise.all([...page.document.images].map((image) => new Promise((resolve) => { image.onload = image.onerror = resolve; })));
    const content = first(".content");
    check(faultsOf(content), [], what);
    if (text === "long" && find("primary_text")) checkScrolling(content, what);
    content.scrollTop = 0;
    if (layout < 104 || !["short", "long"].includes(text)) continue;
    const pixels = await pixelsBehindTexts(), lights = lightsIn(boxOf(first(".mark")), pixels);
    check(Math.max(...lights) / Math.min(...lights) > 3, true, `the close button shows: ${what}`);
    for (const element of page.document.querySelectorAll(".text")) check(contrastOf(element, content, pixels) >= 4.5, true, `contrast of ${element.id}: ${what}`);
  }
}

window.addEventListener("unhandledrejection", ({ reason }) => { document.getElementById("report").textContent = reason.stack; });
window.addEventListener("load", async () => {
  page = document.getElementById("page").contentWindow;
  for (const test of [testFragments, testLayouts, testHostileTexts, testFields, testBrokenDescriptions, testMeasures]) await test();
  document.getElementById("report").textContent = `${failures.join("\n")}\nfinished ${checks} checks, ${failures.length} failed`;
});
