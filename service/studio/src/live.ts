// The page's side of the stream that it shares with the browser's other pages.
import type { PageMessage, StreamMessage } from "./stream.ts";

export interface Listener {
  message: (type: string, data: string) => void;
  state: (state: "open" | "lost" | "refused") => void;
  /** Something was missed. */
  behind: () => void;
}

let port: MessagePort | null = null;
/** What comes until it is known where the page stands. */
let early: StreamMessage[] | null = [];
let last = 0;

const tell = (message: PageMessage): void => port?.postMessage(message);

function take(message: StreamMessage, listener: Listener): void {
  if (message.is === "behind") return listener.behind();
  if (message.is !== "message") return listener.state(message.is);
  if (early) return void early.push(message);
  // Numbers may begin anew with the service.
  if (message.type === "reset") return listener.behind();
  if (message.id <= last) return;
  last = message.id;
  listener.message(message.type, message.data);
}

/** Gathers messages from now on. */
export function gather(listener: Listener): void {
  if (!port) {
    port = new SharedWorker("stream.js").port;
    port.onmessage = ({ data }: MessageEvent<StreamMessage>) => take(data, listener);
  }
  early = [];
  tell({ is: "seen" });
}

/** Takes those that were gathered and all others, from after the one of that number. */
export function follow(feed: number, listener: Listener): void {
  const gathered = early ?? [];
  early = null;
  last = feed;
  tell({ is: "following", feed });
  for (const message of gathered) take(message, listener);
}

export function rest(): void {
  early = [];
  tell({ is: "hidden" });
}
