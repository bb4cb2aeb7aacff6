// How a campaign looks: the library reads it, and the page of the message screens draws what the library made of it.
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";
import { send } from "./api.ts";
import type { JSONObject, Verdict } from "./api.ts";
import { LAYOUTS, withLayout } from "./campaign.ts";
import { MessageFrame, SCREENS } from "./message-frame.tsx";
import { attempt, usePage } from "./store.ts";

const [WIDTH, HEIGHT] = SCREENS.phone;
const SIZES: [name: string, width: number, height: number][] = [["Phone", WIDTH, HEIGHT], ["Tablet", ...SCREENS.tablet], ["Landscape", HEIGHT, WIDTH]];
const GAP = 16;
const LARGEST_SCALE = 0.42;
const SMALLEST_BESIDE = 0.15;

/** What the library made of a campaign, and whether that is the campaign as it stands now. */
export interface Opinion {
  verdict: Verdict | null;
  isCurrent: boolean;
}

/** What the library makes of the campaign, asked for when it has not changed for so many milliseconds. */
export function useVerdict(text: string, patience = 120): Opinion {
  const [last, setLast] = useState<{ verdict: Verdict; text: string } | null>(null);
  // Without the service the question waits for it.
  const isLost = usePage(({ connection }) => connection === "lost");
  useEffect(() => {
    if (isLost || last?.text === text) return;
    let isWanted = true;
    const timer = setTimeout(() => void attempt(async () => {
      const verdict = await send<Verdict>("verdict", text);
      if (isWanted) setLast({ verdict, text });
    }), patience);
    return () => { isWanted = false; clearTimeout(timer); };
  }, [text, isLost]);
  return { verdict: last?.verdict ?? null, isCurrent: last?.text === text };
}

interface PreviewProps {
  title: string;
  verdict: Verdict | null;
  width: number;
  height: number;
  scale: number;
}

function Preview({ title, verdict, width, height, scale }: PreviewProps) {
  return (
    <div class="preview-room" style={{ width: `${width * scale}px`, height: `${height * scale}px` }}>
      <div class="preview" style={{ width: `${width}px`, height: `${height}px`, transform: `scale(${scale})` }}>
        <MessageFrame title={title} description={verdict?.description ?? null} />
      </div>
      {!verdict?.description && <p class="preview-none">{verdict ? "Nothing to show" : "Loading…"}</p>}
    </div>
  );
}

/** On screens of three sizes, all at one scale: side by side, or below each other where that would be too small. */
export function Previews({ verdict }: { verdict: Verdict | null }) {
  const room = useRef<HTMLDivElement>(null);
  const [scale, setScale] = useState(0.3);
  useLayoutEffect(() => {
    const measure = () => {
      const width = room.current!.clientWidth;
      const total = SIZES.reduce((sum, [, wide]) => sum + wide, 0);
      const beside = (width - GAP * SIZES.length) / total;
      setScale(Math.min(LARGEST_SCALE, beside > SMALLEST_BESIDE ? beside : (width - 2) / HEIGHT));
    };
    const watch = new ResizeObserver(measure);
    watch.observe(room.current!);
    return () => watch.disconnect();
  }, []);
  return (
    <div class="previews" ref={room}>
      {SIZES.map(([name, width, height]) => (
        <figure key={name}>
          <Preview title={`Preview: ${name}`} verdict={verdict} width={width} height={height} scale={scale} />
          <figcaption>{name}</figcaption>
        </figure>
      ))}
    </div>
  );
}

interface LayoutProps {
  campaign: JSONObject;
  picture: string;
  /** Parts that layouts chosen earlier had. */
  before: JSONObject;
  shown: string;
  onChange: (campaign: JSONObject) => void;
}

function LayoutCard({ campaign, picture, before, shown, onChange, layout }: LayoutProps & { layout: string }) {
  const wanted = withLayout(campaign, layout, picture, before);
  // Six of them are asked for, none of which the person waits for.
  const { verdict } = useVerdict(JSON.stringify(wanted), 500);
  const { label } = LAYOUTS[layout]!;
  return (
    <label class="layout">
      <input type="radio" name="layout" checked={shown === layout} onChange={() => onChange(wanted)} />
      <Preview title={`Layout: ${label}`} verdict={verdict} width={WIDTH} height={HEIGHT} scale={0.2} />
      <span>{label}</span>
    </label>
  );
}

/** The campaign as it would look in each of the layouts, to choose one. */
export function LayoutChoice(props: LayoutProps) {
  return <div class="layouts">{Object.keys(LAYOUTS).map((layout) => <LayoutCard key={layout} {...props} layout={layout} />)}</div>;
}
