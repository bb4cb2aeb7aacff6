// What lies beneath the phone's screen: rows that wait, times, settings, the log.
import { useEffect, useRef, useState } from "preact/hooks";
import { ask, command } from "./api.ts";
import type { JSONValue, LogLine, Phone } from "./api.ts";
import { usePage } from "./store.ts";
import { moment } from "./times.ts";
import { Button, Switch, Tabs } from "./ui.tsx";

const MOST_LINES = 3000;
/** By their keys in the library's settings. */
const SETTINGS: [key: string, name: string][] = [
  ["lmro.LastReport", "Last upload"],
  ["lmro.LastUpdate", "Last sync"],
  ["lmro.Lst", "Campaigns as of"],
  ["lmro.SyncTimeout", "Seconds between syncs"],
  ["lmro.secureMode", "Secure mode"],
  ["lmro.TestDevice", "Test device"],
  ["lmro.DeviceName", "Its name"],
  ["lmro.AcountBlocked", "Account blocked"],
  ["lmro.AppVersion", "Application"],
  ["lmro.InstallDate", "Installed"],
  ["lmro.Etag", "Tag of the last sync"],
];

function textOf(value: JSONValue | undefined): string {
  if (value === null || value === undefined) return "—";
  if (typeof value === "object" && !Array.isArray(value) && typeof value.date === "number") return moment(value.date);
  return typeof value === "string" ? value : JSON.stringify(value);
}

/** What the library has stored, looked at again after each thing that happens to the phone. */
function Stored({ phone }: { phone: Phone }) {
  const [waiting, setWaiting] = useState<number | null>(null);
  const [settings, setSettings] = useState<Record<string, string>>({});
  const requests = usePage((page) => page.requests.at(-1)?.n);
  useEffect(() => {
    let isWanted = true;
    const look = async () => {
      const storage = await ask<{ waiting: number | null }>(`phones/${phone.id}/storage`);
      if (isWanted) setWaiting(storage.waiting);
      if (phone.status !== "running") return;
      const values = await Promise.all(SETTINGS.map(([key]) => command(phone, "setting", key)));
      if (isWanted) setSettings(Object.fromEntries(SETTINGS.map(([key], index) => [key, textOf(values[index]!.result)])));
    };
    const timer = setTimeout(() => void look().catch(() => {}), 400);
    return () => { isWanted = false; clearTimeout(timer); };
  }, [phone.id, phone.status, phone.commands, phone.screen, requests]);
  return (
    <dl class="stored">
      <dt>Events waiting</dt><dd>{waiting ?? "—"}</dd>
      <dt>Device</dt><dd>{phone.device || "—"}</dd>
      <dt>Push token</dt><dd>{phone.token || "—"}</dd>
      {SETTINGS.map(([key, name]) => <><dt key={key} title={key}>{name}</dt><dd>{settings[key] ?? "—"}</dd></>)}
    </dl>
  );
}

function Log({ phone }: { phone: Phone }) {
  const [lines, setLines] = useState<LogLine[]>([]);
  const [hasTrace, setTrace] = useState(false);
  const last = useRef(0);
  const list = useRef<HTMLOListElement>(null);
  const hint = usePage((page) => page.logs[phone.id]);
  useEffect(() => {
    let isWanted = true;
    // Numbers begin anew with the studio.
    if (hint !== undefined && hint < last.current) {
      last.current = 0;
      setLines([]);
    }
    const timer = setTimeout(async () => {
      const fresh = await ask<LogLine[]>(`phones/${phone.id}/log`, { after: last.current }).catch(() => []);
      if (!isWanted || fresh.length === 0) return;
      last.current = fresh.at(-1)!.n;
      setLines((known) => [...known, ...fresh].slice(-MOST_LINES));
    }, 100);
    return () => { isWanted = false; clearTimeout(timer); };
  }, [phone.id, hint]);
  const shown = lines.filter(({ trace }) => hasTrace || !trace).slice(-400);
  useEffect(() => { if (list.current) list.current.scrollTop = list.current.scrollHeight; }, [shown.length]);
  return (
    <>
      <div class="row">
        <Switch label="Trace" isOn={hasTrace} onChange={setTrace} />
        <Button kind="quiet" onClick={() => setLines([])}>Clear</Button>
      </div>
      <ol class="log" ref={list} tabIndex={0} aria-label="Log of the library">
        {shown.length === 0 && <li>{hasTrace ? "No lines." : "No lines for developers yet."}</li>}
        {shown.map(({ n, text, trace }) => <li key={n} class={trace ? "trace" : ""}>{text.replace("LumoraSDK-", "").trim()}</li>)}
      </ol>
    </>
  );
}

export function Beneath({ phone }: { phone: Phone }) {
  const [shown, setShown] = useState("stored");
  return (
    <section class="beneath" aria-label="Beneath the screen">
      <Tabs label="Beneath the screen" tabs={[["stored", "Stored"], ["log", "Log"]]} shown={shown} onShow={setShown} />
      {shown === "stored" ? <Stored phone={phone} /> : <Log phone={phone} />}
    </section>
  );
}
