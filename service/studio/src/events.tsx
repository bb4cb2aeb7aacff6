// Events as they arrive, the newest on top. However many there are, only those in sight are asked for and drawn.
import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import { ask } from "./api.ts";
import type { EventRow, JSONObject, JSONValue } from "./api.ts";
import { objectOf, own } from "./campaign.ts";
import { useDraft } from "./drafts.ts";
import { current, usePage } from "./store.ts";
import { clock, moment } from "./times.ts";
import { Choice, Empty, shortId, Switch, TextField } from "./ui.tsx";

const ROW = 44;
const BLOCK = 100;
/** Blocks out of sight that are kept for a quick way back. */
const MOST_BLOCKS = 20;
const KINDS: [string, string][] = [["", "Every kind"], ["init", "init"], ["session", "session"], ["checkpoint", "checkpoint"], ["user", "user"], ["push", "push"], ["inapp", "inapp"]];

/** What those kinds tell that have no name. */
const NAMELESS: Record<string, string> = { init: "what the device is", user: "the person’s profile" };

interface Filter {
  search: string;
  device: string;
  kind: string;
  name: string;
}

interface Answer {
  total: number;
  rows: EventRow[];
}

/** Rows by their position in order of arrival, which no later event changes. */
function useRows(filter: Filter) {
  const total = usePage((page) => page.events.total);
  const isFiltered = Object.values(filter).some(Boolean);
  const [count, setCount] = useState(isFiltered ? 0 : total);
  const [isWaiting, setWaiting] = useState(false);
  const [, redraw] = useState(0);
  const blocks = useRef(new Map<number, EventRow[]>());
  const asked = useRef(new Set<number>());

  const keep = (block: number, rows: EventRow[]) => {
    const own = blocks.current;
    own.delete(block);
    own.set(block, rows);
    for (const key of own.keys()) if (own.size > MOST_BLOCKS && key !== block) own.delete(key);
  };

  const read = async (block: number) => {
    if (asked.current.has(block)) return;
    asked.current.add(block);
    const own = blocks.current;
    const answer = await ask<Answer>("events", { ...filter, position: block * BLOCK, count: BLOCK }).catch(() => null);
    asked.current.delete(block);
    setWaiting(false);
    if (!answer || blocks.current !== own) return;
    keep(block, answer.rows);
    if (isFiltered) setCount(answer.total);
    redraw((n) => n + 1);
  };

  useEffect(() => {
    blocks.current = new Map();
    asked.current = new Set();
    setWaiting(true);
    if (!isFiltered) setCount(current().events.total);
    void read(isFiltered ? 0 : Math.max(0, Math.floor((current().events.total - 1) / BLOCK)));
  }, [JSON.stringify(filter)]);

  // What the stream brought goes to its places; what it left out is asked for.
  useEffect(() => {
    if (isFiltered) return void read(Math.floor(Math.max(0, count - 1) / BLOCK));
    const { arrived } = current();
    arrived.forEach((row, index) => {
      const position = total - arrived.length + index;
      const block = blocks.current.get(Math.floor(position / BLOCK)) ?? [];
      block[position % BLOCK] = row;
      keep(Math.floor(position / BLOCK), block);
    });
    setCount(total);
  }, [total]);

  const rowAt = (position: number): EventRow | undefined => {
    const block = Math.floor(position / BLOCK);
    const row = blocks.current.get(block)?.[position % BLOCK];
    if (!row) void read(block);
    return row;
  };
  return { count, rowAt, isWaiting };
}

const OF_PUSH = { opened: "A notification was opened.", init: "A push token was registered.", unregister: "The push token was removed." };

/** An event as a person reads it. */
export function sentenceOf(event: JSONObject): string {
  const text = (value: JSONValue | undefined) => (typeof value === "string" ? value : "");
  const inner = (key: string) => objectOf(event[key]);
  const name = text(event.name);
  switch (event.event_type) {
    case "checkpoint":
      return name === "lmr_app_open" ? "The application was opened." : `The action “${name}” was reported.`;
    case "session":
      return `The session “${name}” lasted ${typeof event.duration === "number" ? event.duration : "some"} seconds.`;
    case "init":
      return "The device told what it is: an application was installed or updated.";
    case "user":
      return `The person's profile was set${text(inner("user").firstName) && `: ${text(inner("user").firstName)}`}.`;
    case "push":
      return own(OF_PUSH, text(inner("push").subtype)) ?? "Something about push notifications.";
    case "inapp":
      return `The message “${text(inner("inapp").cid)}” was ${text(inner("inapp").subtype) || "used"}.`;
    default:
      return "An event of another kind.";
  }
}

const timeOf = (value: JSONValue | undefined): string => {
  const number = typeof value === "number" ? value : Number(value);
  return Number.isFinite(number) && number > 0 ? moment(number > 1e11 ? number / 1000 : number) : "unknown";
};

const LONGEST_SHOWN = 200_000;

function Detail({ id }: { id: number }) {
  const [event, setEvent] = useState<{ event: string; uuid: string; received: number; account: string } | null>(null);
  const [failure, setFailure] = useState("");
  useEffect(() => {
    setEvent(null);
    void ask<NonNullable<typeof event>>(`events/${id}`).then(setEvent, (error: Error) => setFailure(error.message));
  }, [id]);
  const parsed = useMemo(() => {
    try {
      return event ? (JSON.parse(event.event) as JSONObject) : null;
    } catch {
      return null;
    }
  }, [event]);
  if (!event) return <div class="detail"><p class={failure ? "problem" : "waiting"}>{failure || "Loading…"}</p></div>;
  const text = parsed ? JSON.stringify(parsed, null, 2) : event.event;
  return (
    <article class="detail" aria-label={`Event ${id}`}>
      <h2>{parsed ? sentenceOf(parsed).slice(0, 300) : "No JSON."}</h2>
      <dl class="stored">
        <dt>Happened</dt><dd>{timeOf(parsed?.timestamp)}</dd>
        <dt>Arrived</dt><dd>{moment(event.received)}</dd>
        <dt>Account</dt><dd>{event.account}</dd>
        <dt>Device</dt><dd>{event.uuid}</dd>
      </dl>
      <pre tabIndex={0} aria-label="The event as JSON">{text.slice(0, LONGEST_SHOWN)}{text.length > LONGEST_SHOWN && `\n… ${text.length - LONGEST_SHOWN} more characters`}</pre>
    </article>
  );
}

interface RowProps {
  row: EventRow | undefined;
  top: number;
  isChosen: boolean;
  deviceName: string;
  position: number;
  count: number;
  onChoose: () => void;
}

function Row({ row, top, isChosen, deviceName, position, count, onChoose }: RowProps) {
  return (
    <div role="option" id={`event-${position}`} aria-selected={isChosen} aria-setsize={count} aria-posinset={count - position} class="event-row" style={{ top: `${top}px` }} onClick={onChoose}>
      {row ? (
        <>
          <span class={`kind ${/^[a-z]+$/.test(row.kind ?? "") ? row.kind : ""}`}>{row.kind ?? "other"}</span>
          <span class="event-name">{row.name ?? own(NAMELESS, row.kind ?? "") ?? row.text}</span>
          <span class="event-device">{deviceName}</span>
          <time>{clock(row.received)}</time>
        </>
      ) : <span class="event-name">…</span>}
    </div>
  );
}

export function EventsView() {
  const [filter, setFilter] = useDraft<Filter>("filter of events", { search: "", device: "", kind: "", name: "" });
  const [typed, setTyped] = useState({ search: filter.search, name: filter.name });
  const [chosen, setChosen] = useState<number | null>(null);
  const [follows, setFollows] = useState(true);
  const [seen, setSeen] = useState({ top: 0, height: 600 });
  const list = useRef<HTMLDivElement>(null);
  const phones = usePage((page) => page.phones);
  const { count, rowAt, isWaiting } = useRows(filter);
  const names = useMemo(() => new Map(phones.filter(({ device }) => device).map(({ device, name }) => [device!, name])), [phones]);

  useEffect(() => {
    const timer = setTimeout(() => setFilter({ ...filter, ...typed }), 200);
    return () => clearTimeout(timer);
  }, [typed.search, typed.name, filter.kind, filter.device]);
  useEffect(() => {
    const watch = new ResizeObserver(() => list.current && setSeen((known) => ({ ...known, height: list.current!.clientHeight })));
    watch.observe(list.current!);
    return () => watch.disconnect();
  }, []);
  // Whoever reads further down keeps his place when events come in above.
  const known = useRef(count);
  useEffect(() => {
    const grown = count - known.current;
    known.current = count;
    if (!follows && list.current && grown > 0 && list.current.scrollTop > 0) list.current.scrollTop += grown * ROW;
  }, [count]);

  const first = Math.max(0, Math.floor(seen.top / ROW) - 5);
  const last = Math.min(count, Math.ceil((seen.top + seen.height) / ROW) + 5);
  const choose = (position: number) => {
    setChosen(position);
    const top = (count - 1 - position) * ROW;
    const box = list.current;
    if (box && (top < box.scrollTop || top + ROW > box.scrollTop + box.clientHeight)) box.scrollTop = Math.max(0, top - box.clientHeight / 2);
  };
  const move = (event: KeyboardEvent) => {
    const page = Math.floor(seen.height / ROW);
    const step = { ArrowDown: -1, ArrowUp: 1, PageDown: -page, PageUp: page, Home: count, End: -count }[event.key];
    if (step === undefined || count === 0) return;
    event.preventDefault();
    choose(Math.min(count - 1, Math.max(0, (chosen ?? count) + step)));
  };
  const row = chosen === null ? undefined : rowAt(chosen);
  return (
    <div class="events">
      <div class="toolbar">
        <TextField label="Search in events" type="search" value={typed.search} placeholder="Anything in their JSON" onChange={(search) => setTyped({ ...typed, search })} />
        <Choice label="Kind" value={filter.kind} options={KINDS} onChange={(kind) => setFilter({ ...filter, kind })} />
        <TextField label="Name" type="search" value={typed.name} placeholder="Any name" onChange={(name) => setTyped({ ...typed, name })} />
        <Choice label="Device" value={filter.device} options={[["", "Every device"], ...[...names].map(([id, name]): [string, string] => [id, name])]} onChange={(device) => setFilter({ ...filter, device })} />
        <Switch label="Stay at the newest" isOn={follows} onChange={setFollows} />
        <p class="count" role="status">{count.toLocaleString()} {count === 1 ? "event" : "events"}</p>
      </div>
      <div class="events-body">
        <div class="event-list" role="listbox" aria-label="Events, the newest first" tabIndex={0} ref={list} aria-activedescendant={chosen === null ? undefined : `event-${chosen}`}
          onKeyDown={move} onScroll={(event) => setSeen({ top: event.currentTarget.scrollTop, height: event.currentTarget.clientHeight })}>
          {count === 0 && (isWaiting ? <p class="waiting">Loading…</p> : <Empty title={Object.values(filter).some(Boolean) ? "No event is like this." : "No event has arrived yet."}><p>Tap something in the shop on the phone, and send the application to the background.</p></Empty>)}
          <div class="event-room" role="presentation" style={{ height: `${count * ROW}px` }}>
            {Array.from({ length: Math.max(0, last - first) }, (_, index) => {
              const position = count - 1 - first - index;
              const shown = rowAt(position);
              return <Row key={position} row={shown} top={(first + index) * ROW} isChosen={position === chosen} position={position} count={count} deviceName={shown ? (names.get(shown.uuid) ?? shortId(shown.uuid)) : ""} onChoose={() => choose(position)} />;
            })}
          </div>
        </div>
        {row && <Detail id={row.id} />}
      </div>
    </div>
  );
}
