// The account's campaigns, and the editor: form and JSON in step, what the library says, how it looks.
import { useEffect, useMemo, useState } from "preact/hooks";
import { writeCampaign } from "./accounts.ts";
import { ask } from "./api.ts";
import type { JSONObject, Verdict } from "./api.ts";
import { assetAddress, CampaignForm } from "./campaign-form.tsx";
import { LAYOUTS, newCampaign, objectOf, scheduleOf, wordOf } from "./campaign.ts";
import { CodeEditor } from "./code-editor.tsx";
import { Previews, useVerdict } from "./previews.tsx";
import { campaignsOf, current as currentPage, usePage } from "./store.ts";
import { Button, Empty, Tabs } from "./ui.tsx";

function VerdictBox({ verdict }: { verdict: Verdict | null }) {
  if (!verdict) return <p class="verdict" role="status">Asking the library…</p>;
  const lines = verdict.lines.map((line) => line.replace("LumoraSDK-", "").trim());
  return (
    <div class={verdict.kept ? "verdict good" : "verdict bad"} role="status">
      <p><strong>{verdict.kept ? "The library keeps it." : "The library drops it."}</strong>{verdict.ended && " Its time is over, so it is not shown."}</p>
      {lines.length > 0 && <ul>{lines.map((line, index) => <li key={index}>{line}</li>)}</ul>}
      {verdict.untried.map((uri) => <p key={uri}>Not fetched, as it lies elsewhere: {uri}</p>)}
    </div>
  );
}

function parsed(text: string): JSONObject | null {
  try {
    const value: unknown = JSON.parse(text);
    return typeof value === "object" && value !== null && !Array.isArray(value) ? (value as JSONObject) : null;
  } catch {
    return null;
  }
}

const textOf = (campaign: JSONObject): string => JSON.stringify(campaign, null, 2);

interface EditorProps {
  first: JSONObject;
  /** Its place in the account's list; none for a new one. */
  index: number | null;
  onClose: () => void;
}

function CampaignEditor({ first, index, onClose }: EditorProps) {
  const [text, setText] = useState(textOf(first));
  const [campaign, setCampaign] = useState(first);
  const [side, setSide] = useState("form");
  const accounts = usePage((page) => page.accounts);
  const stored = useMemo(() => campaignsOf(currentPage()).map(textOf), [accounts]);
  const [base, setBase] = useState(index === null ? null : textOf(first));
  // Where it stands now. One that was changed or taken out by hand is nowhere.
  const place = base === null ? stored.length : stored.indexOf(base);
  const verdict = useVerdict(text);
  useEffect(() => document.getElementById("view")?.scrollTo(0, 0), []);
  const picture = useMemo(() => wordOf(objectOf(objectOf(first.layout).image).uri) || assetAddress("welcome.png"), []);
  const read = (written: string) => {
    setText(written);
    const value = parsed(written);
    if (value) setCampaign(value);
  };
  const take = (value: JSONObject) => {
    setCampaign(value);
    setText(textOf(value));
  };
  const publish = async (status?: string) => {
    const value = status ? { ...campaign, status } : campaign;
    if (await writeCampaign({ path: [place], value })) onClose();
  };
  const isLost = place < 0;
  const other = stored[index ?? 0];
  return (
    <div class="editor">
      <div class="toolbar">
        <Button kind="quiet" onClick={onClose}>← Campaigns</Button>
        <h2>{wordOf(campaign.cid) || "A campaign"}</h2>
        <Button kind="main" isDisabled={!parsed(text) || isLost} onClick={() => publish("active")}>Publish</Button>
        {index !== null && <Button isDisabled={isLost} onClick={() => publish("pause")}>Pause</Button>}
        {index !== null && <Button kind="bad" isDisabled={isLost} onClick={() => publish("stop")}>Stop</Button>}
      </div>
      {isLost && (
        <p class="problem mild" role="alert">
          The file was changed by hand, and has this campaign no more as it was. {other && <Button onClick={() => { setBase(other); read(other); }}>Show what stands there</Button>}
        </p>
      )}
      <p class="schedule">{scheduleOf(campaign)}</p>
      <VerdictBox verdict={verdict} />
      <div class={`sides ${side}`}>
        <div class="side-live">
          <Previews description={verdict?.description ?? null} />
          <Tabs label="Ways to edit" tabs={[["form", "Form"], ["json", "JSON"]]} shown={side} onShow={setSide} />
          <div class="side-json"><CodeEditor label="The campaign as JSON" text={text} onChange={read} /></div>
        </div>
        <div class="side-form">
          {!parsed(text) && <p class="problem" role="alert">The JSON cannot be read; the form shows what could be read last.</p>}
          <CampaignForm campaign={campaign} onChange={take} picture={picture} />
        </div>
      </div>
    </div>
  );
}

const STATES: Record<string, string> = { active: "active", pause: "paused", stop: "stopped" };

function newId(campaigns: JSONObject[]): string {
  const known = new Set(campaigns.map(({ cid }) => cid));
  for (let n = 1; ; n += 1) if (!known.has(`campaign-${n}`)) return `campaign-${n}`;
}

export function CampaignsView() {
  const account = usePage((page) => page.account);
  const accounts = usePage((page) => page.accounts);
  const campaigns = useMemo(() => campaignsOf(currentPage()), [accounts, account]);
  const [open, setOpen] = useState<{ campaign: JSONObject; index: number | null } | null>(null);
  useEffect(() => setOpen(null), [account]);
  if (!account) return <Empty title="There is no account."><p>Add one to the accounts file {accounts.file}.</p></Empty>;
  if (open) return <CampaignEditor key={`${open.index}`} first={open.campaign} index={open.index} onClose={() => setOpen(null)} />;
  const add = async () => {
    const names = await ask<string[]>("assets").catch(() => []);
    setOpen({ campaign: newCampaign(newId(campaigns), names[0] ? assetAddress(names.find((name) => name.startsWith("welcome")) ?? names[0]) : ""), index: null });
  };
  const setStatus = (index: number, status: string) => writeCampaign({ path: [index, "status"], value: status });
  return (
    <div class="campaigns">
      <div class="toolbar"><Button kind="main" onClick={add}>New campaign</Button></div>
      {campaigns.length === 0 && <Empty title="The account has no campaign yet." />}
      <ul class="campaign-list">
        {campaigns.map((campaign, index) => {
          const status = wordOf(campaign.status);
          return (
            <li key={index}>
              <button type="button" class="campaign-open" onClick={() => setOpen({ campaign, index })}>
                <strong>{wordOf(campaign.cid).slice(0, 100) || "without a name"}</strong>
                <span class={`status ${STATES[status] ?? ""}`}>{STATES[status] ?? (status.slice(0, 40) || "no status")}</span>
                <span class="muted">{LAYOUTS[wordOf(objectOf(campaign.layout).type)]?.label ?? "an unknown layout"}</span>
                <span>{scheduleOf(campaign).slice(0, 400)}</span>
              </button>
              <div class="row">
                {status === "active" ? <Button onClick={() => setStatus(index, "pause")}>Pause</Button> : <Button onClick={() => setStatus(index, "active")}>Publish</Button>}
                {status !== "stop" && <Button onClick={() => setStatus(index, "stop")}>Stop</Button>}
                <Button kind="quiet" onClick={() => writeCampaign({ path: [index] })} title="Takes it out of the file; phones that have it keep it">Remove</Button>
              </div>
            </li>
          );
        })}
      </ul>
    </div>
  );
}
