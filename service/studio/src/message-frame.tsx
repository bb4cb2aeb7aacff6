// The page of the message screens, in a frame that may run its script and nothing else.
import { useEffect, useRef, useState } from "preact/hooks";
import type { JSONObject } from "./api.ts";
import { usePage } from "./store.ts";

/** Screens' widths and heights, in points. */
export const SCREENS = { phone: [390, 844], tablet: [820, 1180] } as const;

interface MessageFrameProps {
  description: JSONObject | null;
  /** The name of the part that was tapped; without it the frame only shows. */
  onTap?: (element: string) => void;
  title: string;
}

export function MessageFrame({ description, onTap, title }: MessageFrameProps) {
  const address = usePage((page) => page.messagePage);
  const frame = useRef<HTMLIFrameElement>(null);
  const [isLoaded, setLoaded] = useState(false);
  useEffect(() => {
    if (!isLoaded) return;
    // Whoever writes in a form elsewhere goes on writing there.
    const takesFocus = Boolean(onTap && document.activeElement?.closest(".phones"));
    // The frame has an origin of its own, which has no name.
    frame.current?.contentWindow?.postMessage(description ? { showMessage: description, takesFocus } : { dismissMessage: true }, "*");
  }, [description, isLoaded]);
  useEffect(() => {
    const take = ({ source, data }: MessageEvent) => {
      if (source !== frame.current?.contentWindow || typeof data?.lumoraTap !== "string") return;
      onTap?.(data.lumoraTap);
    };
    addEventListener("message", take);
    return () => removeEventListener("message", take);
  }, [onTap]);
  return <iframe class="message-frame" ref={frame} title={title} src={address} sandbox="allow-scripts" inert={!onTap} onLoad={() => setLoaded(true)} />;
}
