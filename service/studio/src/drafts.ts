// What a person has begun to write or chosen to see, kept while other views are shown and over a reload of the page.
import { useState } from "preact/hooks";

const KEPT = "drafts";

function kept(): [string, unknown][] {
  try {
    return JSON.parse(sessionStorage.getItem(KEPT) ?? "[]");
  } catch {
    return [];
  }
}

const drafts = new Map<string, unknown>(kept());

addEventListener("pagehide", () => {
  try {
    sessionStorage.setItem(KEPT, JSON.stringify([...drafts]));
  } catch {
    // They are too large for the browser, which keeps those of before.
  }
});

export const forget = (key: string): void => void drafts.delete(key);

/** As useState, for what is to outlive its view. A draft that is undefined is none. */
export function useDraft<Value>(key: string, first: Value): [Value, (value: Value) => void] {
  const [, redraw] = useState(0);
  const write = (value: Value) => {
    if (value === undefined) drafts.delete(key);
    else drafts.set(key, value);
    redraw((n) => n + 1);
  };
  return [drafts.has(key) ? (drafts.get(key) as Value) : first, write];
}
