// What a campaign is made of, for the form. Whether one is good is the library's to say.
import type { JSONObject, JSONValue } from "./api.ts";
import { minute } from "./times.ts";

export interface FieldOf {
  key: string;
  label: string;
  kind: "text" | "long" | "colour" | "number" | "flag" | "choice" | "picture" | "action";
  options?: [string, string][];
  /** Left out of the campaign when it is empty. */
  isOptional?: boolean;
}

const named = (...names: string[]): [string, string][] => names.map((name) => [name, name]);
const ALIGNMENTS: [string, string][] = [["start", "at the start"], ["center", "in the middle"], ["end", "at the end"]];

const FONT: FieldOf[] = [
  { key: "bold", label: "Bold", kind: "flag" },
  { key: "italic", label: "Italic", kind: "flag" },
  { key: "underline", label: "Underlined", kind: "flag" },
];
const BORDER: FieldOf[] = [
  { key: "radius", label: "Corner radius", kind: "number" },
  { key: "border_width", label: "Border width", kind: "number" },
  { key: "border_color", label: "Border colour", kind: "colour" },
];
const ACTION: FieldOf = { key: "action", label: "A tap opens", kind: "action", isOptional: true };
const PICTURE: FieldOf = { key: "uri", label: "Picture", kind: "picture", isOptional: true };

const TEXT: FieldOf[] = [
  { key: "text", label: "Text", kind: "long" },
  { key: "color", label: "Colour", kind: "colour" },
  { key: "size", label: "Size", kind: "number" },
  { key: "alignment", label: "Alignment", kind: "choice", options: ALIGNMENTS },
  ...FONT,
];
const BUTTON: FieldOf[] = [
  { key: "text", label: "Text", kind: "text" },
  { key: "text_color", label: "Text colour", kind: "colour" },
  { key: "text_size", label: "Text size", kind: "number" },
  { key: "color", label: "Colour", kind: "colour", isOptional: true },
  PICTURE,
  { key: "style", label: "Shape", kind: "choice", options: [["style1", "round corners"], ["style2", "pill"], ["style3", "square"]] },
  { key: "gradient", label: "Gradient", kind: "flag" },
  { key: "border", label: "Border", kind: "flag" },
  ...FONT,
  ACTION,
];

export const PARTS: Record<string, { label: string; fields: FieldOf[] }> = {
  background: { label: "Background", fields: [{ key: "color", label: "Colour", kind: "colour", isOptional: true }, PICTURE, ...BORDER, ACTION] },
  image: {
    label: "Picture",
    fields: [{ ...PICTURE, isOptional: false }, { key: "scale_type", label: "Scaled to", kind: "choice", options: named("width", "height", "both"), isOptional: true }, { key: "margin", label: "Margin", kind: "number" }, ...BORDER, ACTION],
  },
  primary_text: { label: "First text", fields: TEXT },
  secondary_text: { label: "Second text", fields: TEXT },
  primary_button: { label: "First button", fields: BUTTON },
  secondary_button: { label: "Second button", fields: BUTTON },
  close_button: {
    label: "Close button",
    fields: [
      { key: "style", label: "Style", kind: "choice", options: [["style1", "cross"], ["style2", "disc"], ["style3", "ring"], ["style4", "square"], ["style5", "on the corner"]] },
      { key: "color", label: "Colour", kind: "colour" },
      { key: "layout_alignment", label: "Place", kind: "choice", options: ALIGNMENTS },
      ACTION,
    ],
  },
};

export const LAYOUTS: Record<string, { label: string; parts: string[] }> = {
  layout1: { label: "Card: picture, texts, button", parts: ["background", "image", "primary_text", "secondary_text", "primary_button"] },
  layout2: { label: "Card: picture, button", parts: ["background", "image", "primary_button"] },
  layout3: { label: "Card: texts, two buttons", parts: ["background", "primary_text", "secondary_text", "primary_button", "secondary_button"] },
  layout4: { label: "Full screen: picture", parts: ["image"] },
  layout5: { label: "Full screen: picture, texts, button", parts: ["image", "primary_text", "secondary_text", "primary_button"] },
  layout6: { label: "Full screen: picture, texts, two buttons", parts: ["image", "primary_text", "secondary_text", "primary_button", "secondary_button"] },
};

/** In a word or two, and in full. */
export const FREQUENCIES: Record<string, { label: string; meaning: string }> = {
  everytime: { label: "every time", meaning: "every time" },
  once_per_session: { label: "once a session", meaning: "once in each session, until it was tapped" },
  everytime_until_cta: { label: "until tapped", meaning: "every time, until something other than the close button was tapped" },
  once_per_session_until_cta: { label: "once a session, until tapped", meaning: "once in each session, until something other than the close button was tapped" },
  once: { label: "once", meaning: "once, until it was tapped; then it is deleted" },
};

const STATES: Record<string, string> = { pause: "It is paused.", stop: "It is stopped: phones delete it." };

const text = (value: string, size: number, color: string, bold: boolean): JSONObject => ({ text: value, color, size, alignment: "center", bold, italic: false, underline: false });
const button = (value: string, color: string, text_color: string, action: string): JSONObject => ({ color, style: "style2", gradient: false, border: false, text: value, text_size: 17, text_color, bold: true, italic: false, underline: false, action: { ios: action } });
const border: JSONObject = { radius: 0, border_color: "#ffffff", border_width: 0 };

/** The parts as they begin. */
function newPart(name: string, picture: string): JSONObject {
  const parts: Record<string, JSONObject> = {
    background: { color: "#ffffff", ...border, radius: 24 },
    image: { uri: picture, margin: 0, ...border, scale_type: "width" },
    primary_text: text("A new message", 26, "#1c2b3a", true),
    secondary_text: text("Say what it is about, in a sentence or two.", 16, "#4a5866", false),
    primary_button: button("Show me", "#1d5c4f", "#ffffff", "https://acme.example/"),
    secondary_button: button("Not now", "#e7ecea", "#1d5c4f", "close"),
    close_button: { style: "style2", color: "#5b6b66", layout_alignment: "end", action: { ios: "close" } },
  };
  return own(parts, name) ?? {};
}

/** An entry of that name, which may come from anywhere: what every object has is none. */
export const own = <Value>(entries: { [name: string]: Value }, name: string): Value | undefined => (Object.hasOwn(entries, name) ? entries[name] : undefined);
export const objectOf = (value: JSONValue | undefined): JSONObject => (typeof value === "object" && value !== null && !Array.isArray(value) ? value : {});
export const wordOf = (value: JSONValue | undefined): string => (typeof value === "string" || typeof value === "number" ? String(value) : "");

/** With every part of that layout, as it is, as it was before, or new, and with no other: the library reads those too. */
export function withLayout(campaign: JSONObject, type: string, picture: string, before: JSONObject = {}): JSONObject {
  const layout = objectOf(campaign.layout);
  const wanted = [...(own(LAYOUTS, type)?.parts ?? []), "close_button"];
  const unknown = Object.entries(layout).filter(([name]) => !Object.hasOwn(PARTS, name));
  const parts = wanted.map((name) => [name, own(layout, name) ?? own(before, name) ?? newPart(name, picture)]);
  return { ...campaign, layout: { ...Object.fromEntries([...unknown, ...parts]), type } };
}

export function newCampaign(id: string, picture: string): JSONObject {
  const start = new Date().toISOString().slice(0, 19) + "+0000";
  return withLayout({ cid: id, status: "active", version: 1, display_trigger: "shop_opened", display_frequency: "everytime", start_time: start, end_time: "2099-12-31T23:59:59+0000" }, "layout1", picture);
}

/** Times of campaigns have their zone without a colon, which browsers read with one. */
export const dateOf = (value: JSONValue | undefined): Date | null => {
  const date = new Date(wordOf(value).replace(/([+-]\d\d)(\d\d)$/, "$1:$2").replace("GMT", ""));
  return wordOf(value) && !Number.isNaN(date.getTime()) ? date : null;
};

/** When, how often and on what event it is shown. */
export function scheduleOf(campaign: JSONObject): string {
  const [start, end] = [dateOf(campaign.start_time), dateOf(campaign.end_time)];
  const frequency = own(FREQUENCIES, wordOf(campaign.display_frequency))?.meaning ?? "with no limit";
  const isWaiting = start && start.getTime() > Date.now();
  const now = own(STATES, wordOf(campaign.status)) ?? (end && end.getTime() < Date.now() ? "Its time is over." : isWaiting ? "Its time has not come." : "Its time is now.");
  return `Shown when “${wordOf(campaign.display_trigger) || "…"}” is recorded, ${frequency}${start ? `, from ${minute(start)}` : ""}${end ? ` until ${minute(end)}` : ""}. ${now}`;
}
