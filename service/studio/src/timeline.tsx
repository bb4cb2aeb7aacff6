// Requests and events of a phone over time.
import { useEffect, useRef, useState } from "preact/hooks";
import uPlot from "uplot";
import { ask } from "./api.ts";
import type { Request } from "./api.ts";
import { useDraft } from "./drafts.ts";
import { every, usePage } from "./store.ts";
import { clock } from "./times.ts";
import { Choice, Empty, shortId } from "./ui.tsx";

const SPANS: [string, string][] = [["300", "5 minutes"], ["3600", "an hour"], ["86400", "a day"]];
const PARTS = 60;

interface Counts {
  counts: { part: number; uuid: string; count: number }[];
}

function colour(name: string): string {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

const shown = (_: uPlot, count: number | null) => count ?? "";

function optionsFor(width: number): uPlot.Options {
  const ink = colour("--muted");
  const grid = { stroke: colour("--line"), width: 1 };
  return {
    width, height: 280,
    scales: { y: { range: (_, __, most) => [0, Math.max(4, most * 1.15)] } },
    axes: [{ stroke: ink, grid, space: 90, values: (_, times) => times.map(clock) }, { stroke: ink, grid, incrs: [1, 2, 5, 10, 20, 50, 100, 1000, 10_000, 100_000] }],
    series: [
      { label: "Time", value: (_, time) => (time === null ? "" : clock(time)) },
      { label: "Events", value: shown, stroke: colour("--accent"), fill: colour("--accent-soft"), width: 2, paths: uPlot.paths.bars!({ size: [0.8, 40] }), points: { show: false } },
      { label: "Requests", value: shown, stroke: colour("--session"), width: 0, points: { show: true, size: 9, fill: colour("--session") } },
      { label: "Refused or failed", value: shown, stroke: colour("--bad"), width: 0, points: { show: true, size: 10, fill: colour("--bad") } },
    ],
  };
}

const isBad = ({ status, refusal }: Request) => status === 0 || status >= 400 || refusal !== "";

function Chart({ data }: { data: uPlot.AlignedData }) {
  const place = useRef<HTMLDivElement>(null);
  const chart = useRef<uPlot | null>(null);
  useEffect(() => {
    const dark = matchMedia("(prefers-color-scheme: dark)");
    const make = () => {
      chart.current?.destroy();
      chart.current = new uPlot(optionsFor(place.current!.clientWidth), data, place.current!);
    };
    make();
    const watch = new ResizeObserver(() => chart.current?.setSize({ width: place.current!.clientWidth, height: 280 }));
    watch.observe(place.current!);
    dark.addEventListener("change", make);
    return () => { watch.disconnect(); dark.removeEventListener("change", make); chart.current?.destroy(); };
  }, []);
  useEffect(() => chart.current?.setData(data), [data]);
  return <div class="chart" ref={place} role="img" aria-label="Requests and events over time; the table below has the same requests" />;
}

export function TimelineView() {
  const phones = usePage((page) => page.phones);
  const requests = usePage((page) => page.requests);
  const total = usePage((page) => page.events.total);
  const [span, setSpan] = useDraft("span", "300");
  const [device, setDevice] = useDraft("device of requests", "");
  const [data, setData] = useState<uPlot.AlignedData | null>(null);
  const shown = requests.filter((request) => !device || request.device === device);
  useEffect(() => {
    let isWanted = true;
    const draw = async () => {
      const to = Math.ceil(Date.now() / 1000) + 1;
      const step = Number(span) / PARTS;
      const from = to - Number(span);
      const { counts } = await ask<Counts>("timeline", { from, to, parts: PARTS }).catch((): Counts => ({ counts: [] }));
      if (!isWanted) return;
      const columns = Array.from({ length: 4 }, () => Array<number | null>(PARTS).fill(null));
      columns[0] = columns[0]!.map((_, part) => from + (part + 0.5) * step);
      for (const { part, uuid, count } of counts) if (!device || uuid === device) columns[1]![part] = (columns[1]![part] ?? 0) + count;
      for (const request of shown) {
        const part = Math.floor((request.time - from) / step);
        if (part < 0 || part >= PARTS) continue;
        columns[2]![part] = (columns[2]![part] ?? 0) + 1;
        if (isBad(request)) columns[3]![part] = (columns[3]![part] ?? 0) + 1;
      }
      setData(columns as unknown as uPlot.AlignedData);
    };
    const first = setTimeout(draw, 150);
    const end = every(5000, draw);
    return () => { isWanted = false; clearTimeout(first); end(); };
  }, [span, device, total, requests]);
  const known = phones.filter((phone) => phone.device);
  return (
    <div class="timeline">
      <div class="toolbar">
        <Choice label="Device" value={device} options={[["", "Every device"], ...known.map((phone): [string, string] => [phone.device!, phone.name])]} onChange={setDevice} />
        <Choice label="The last" value={span} options={SPANS} onChange={setSpan} />
      </div>
      {data ? <Chart data={data} /> : <p class="waiting">Loading…</p>}
      {shown.length === 0 && <Empty title="No request has come yet." />}
      {shown.length > 0 && (
        <div class="scrolled" tabIndex={0} role="region" aria-label="Requests">
          <table>
            <thead><tr><th>Time</th><th>Request</th><th>Device</th><th>Events</th><th>Answer</th></tr></thead>
            <tbody>
              {shown.slice(-200).reverse().map((request) => (
                <tr key={request.n} class={isBad(request) ? "bad" : ""}>
                  <td><time>{clock(request.time)}</time></td>
                  <td>{request.method} {request.path.replace(/(sync\/).*/, "$1…")}</td>
                  <td>{known.find((phone) => phone.device === request.device)?.name ?? shortId(request.device ?? "—")}</td>
                  <td>{request.events ?? ""}</td>
                  <td>{request.status || "no answer"}{request.refusal && ` · ${request.refusal}`}</td>
                </tr>
              ))}
            </tbody>
          </table>
        </div>
      )}
    </div>
  );
}
