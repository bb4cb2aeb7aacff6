// The studio's stream, one for all pages of a browser, which has few connections to one server: a shared worker. It is
// closed while nobody sees any of them.

/** What a page tells the worker: that it is looked at, the number from which on it wants messages, that it is not. */
export type PageMessage = { is: "seen" } | { is: "following"; feed: number } | { is: "hidden" };

/** What pages are told: a message of the stream, how the stream is, or that they are to ask for everything again. */
export type StreamMessage =
  | { is: "message"; type: string; id: number; data: string }
  | { is: "open" | "lost" | "refused" }
  | { is: "behind" };

const TYPES = ["phone", "phone-gone", "request", "events", "log", "accounts", "devices", "reset"];

const pages = new Set<MessagePort>();
let stream: EventSource | null = null;
/** The last message before those that the stream has brought. */
let start = 0;

const tell = (message: StreamMessage): void => pages.forEach((page) => page.postMessage(message));

function follow(feed: number): void {
  const followed = new EventSource(`live?after=${feed}`);
  stream = followed;
  start = feed;
  for (const type of TYPES) {
    followed.addEventListener(type, ({ data, lastEventId }) => {
      if (stream === followed) tell({ is: "message", type, id: Number(lastEventId), data });
    });
  }
  followed.onopen = () => stream === followed && tell({ is: "open" });
  followed.onerror = () => {
    if (stream !== followed) return;
    // The browser tries again by itself, unless it was refused: the studio feeds so many browsers and no more.
    const isRefused = followed.readyState === EventSource.CLOSED;
    if (isRefused) stream = null;
    tell({ is: isRefused ? "refused" : "lost" });
  };
}

function leave(page: MessagePort): void {
  pages.delete(page);
  if (pages.size > 0) return;
  stream?.close();
  stream = null;
}

addEventListener("connect", (event) => {
  const page = (event as MessageEvent).ports[0]!;
  page.onmessage = ({ data }: MessageEvent<PageMessage>) => {
    if (data.is === "seen") pages.add(page);
    if (data.is === "hidden") leave(page);
    if (data.is !== "following" || !pages.has(page)) return;
    if (!stream) return follow(data.feed);
    // Another page asked later than this one, and what lies between has come to nobody.
    if (data.feed < start) page.postMessage({ is: "behind" } satisfies StreamMessage);
    else if (stream.readyState === EventSource.OPEN) page.postMessage({ is: "open" } satisfies StreamMessage);
  };
});
