// The account's campaigns, and the editor: form and JSON in step, what the library says, how it looks.
import { useEffect, useMemo } from "preact/hooks";
import { writeCampaign } from "./accounts.ts";
import { ask, send } from "./api.ts";
import type { JSONObject, Verdict } from "./api.ts";
import { assetAddress, CampaignForm } from "./campaign-form.tsx";
import { LAYOUTS, newCampaign, objectOf, own, scheduleOf, wordOf } from "./campaign.ts";
import { CodeEditor } from "./code-editor.tsx";
import { useDraft } from "./drafts.ts";
import { Previews, useVerdict } from "./previews.tsx";
import type { Opinion } from "./previews.tsx";
import { campaignsOf, current as currentPage, isSure, say, usePage } from "./store.ts";
import { Button, Empty, NoAccount, Tabs } from "./ui.tsx";

function VerdictBox({ verdict, isCurrent }: Opinion) {
  if (!verdict) return <p class="verdict" role="status">Asking the library…</p>;
  const lines = verdict.lines.map((line) => line.replace("LumoraSDK-", "").trim());
  const said = verdict.kept ? "The library keeps it." : "The library drops it.";
  return (
    <div class={!isCurrent ? "verdict" : verdict.kept ? "verdict good" : "verdict bad"} role="status">
      <p><strong>{isCurrent ? said : "Asking the library…"}</strong>{isCurrent && verdict.ended && " Its time is over, so it is not shown."}</p>
      {lines.length > 0 && <ul>{lines.map((line, index) => <li key={index}>{line}</li>)}</ul>}
      {verdict.untried.map((uri) => <p key={uri}>Not fetched, as it lies elsewhere: {uri}</p>)}
    </div>
  );
}

/** Asks before phones are told of what they will drop. */
async function isMeant(campaign: JSONObject): Promise<boolean> {
  const verdict = await send<Verdict>("verdict", campaign).catch(() => null);
  const name = wordOf(campaign.cid).slice(0, 100);
  return !verdict || verdict.kept || isSure(`The library drops “${name}”, so no phone will show it. Publish it all the same?`, "Publish it");
}

function parsed(text: string): JSONObject | null {
  try {
    const value: unknown = JSON.parse(text);
    return typeof value === "object" && value !== null && !Array.isArray(value) ? (value as JSONObject) : null;
  } catch {
    return null;
  }
}

/** A campaign may have texts of any length. */
const LONGEST_SCHEDULE = 400;

const textOf = (campaign: JSONObject): string => JSON.stringify(campaign, null, 2);

/** A campaign that is being written. */
interface Draft {
  text: string;
  /** What the JSON said when it could be read last. */
  campaign: JSONObject;
  /** What it was when the editor was opened. */
  first: string;
  /** Its place in the account's list, and what stands there; none for a new one. */
  index: number | null;
  base: string | null;
  side: string;
}

const draftOf = (campaign: JSONObject, index: number | null): Draft => ({ text: textOf(campaign), first: textOf(campaign), campaign, index, base: index === null ? null : textOf(campaign), side: "form" });

interface EditorProps {
  draft: Draft;
  setDraft: (draft: Draft | null) => void;
}

function CampaignEditor({ draft, setDraft }: EditorProps) {
  const { text, campaign, index, base, side } = draft;
  const accounts = usePage((page) => page.accounts);
  const stored = useMemo(() => campaignsOf(currentPage()).map(textOf), [accounts]);
  // Where it stands now. One that was changed or taken out by hand is nowhere.
  const place = base === null ? stored.length : stored.indexOf(base);
  const opinion = useVerdict(text);
  useEffect(() => document.getElementById("view")?.scrollTo(0, 0), []);
  const picture = useMemo(() => wordOf(objectOf(objectOf(campaign.layout).image).uri) || assetAddress("welcome.png"), []);
  const read = (written: string) => setDraft({ ...draft, text: written, campaign: parsed(written) ?? campaign });
  const take = (value: JSONObject) => setDraft({ ...draft, text: textOf(value), campaign: value });
  const close = async () => {
    if (text === draft.first || (await isSure("Leave the editor? What you have changed is not published.", "Throw the changes away"))) setDraft(null);
  };
  const publish = async (status: string) => {
    const value = { ...campaign, status };
    if (status === "active" && !(await isMeant(value))) return;
    if (await writeCampaign({ path: [place], value })) setDraft(null);
  };
  const isLost = place < 0;
  const other = stored[index ?? 0];
  return (
    <div class="editor">
      <div class="toolbar editor-head">
        <Button kind="quiet" onClick={close}>← Campaigns</Button>
        <h2>{wordOf(campaign.cid).slice(0, 100) || "A campaign"}</h2>
        <Button kind="main" isDisabled={!parsed(text) || isLost} onClick={() => publish("active")}>Publish</Button>
        {index !== null && <Button isDisabled={!parsed(text) || isLost} onClick={() => publish("pause")}>Pause</Button>}
        {index !== null && <Button kind="bad" isDisabled={!parsed(text) || isLost} onClick={() => publish("stop")}>Stop</Button>}
      </div>
      {isLost && (
        <div class="problem mild row" role="alert">
          <p>The file was changed by hand, and has this campaign no more as it was.</p>
          {other && <Button onClick={() => setDraft({ ...draftOf(parsed(other)!, index), side })}>Show what stands there</Button>}
          <Button onClick={() => setDraft({ ...draft, index: null, base: null })}>Keep this as a new one</Button>
        </div>
      )}
      <p class="schedule">{scheduleOf(campaign).slice(0, LONGEST_SCHEDULE)}</p>
      <VerdictBox {...opinion} />
      <div class={`sides ${side}`}>
        <div class="side-live">
          <Previews verdict={opinion.verdict} />
          <Tabs label="Ways to edit" tabs={[["form", "Form"], ["json", "JSON"]]} shown={side} onShow={(shown) => setDraft({ ...draft, side: shown })} />
          <div class="side-json"><CodeEditor label="The campaign as JSON" text={text} onChange={read} /></div>
        </div>
        <div class="side-form">
          {!parsed(text) && <p class="problem" role="alert">The JSON cannot be read; the form shows what could be read last, and waits.</p>}
          <CampaignForm campaign={campaign} onChange={take} picture={picture} isLocked={!parsed(text)} />
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
  const [draft, setDraft] = useDraft<Draft | null>(`campaign of ${account}`, null);
  if (!account) return <NoAccount />;
  if (draft) return <CampaignEditor key={account} draft={draft} setDraft={setDraft} />;
  const add = async () => {
    const names = await ask<string[]>("assets").catch(() => []);
    setDraft(draftOf(newCampaign(newId(campaigns), names[0] ? assetAddress(names.find((name) => name.startsWith("welcome")) ?? names[0]) : ""), null));
  };
  const remove = async (campaign: JSONObject) => {
    const question = `Remove “${wordOf(campaign.cid).slice(0, 100)}” from the accounts file? Phones that have it keep it; stop it first, if they are not to.`;
    if (!(await isSure(question, "Remove it"))) return;
    const place = campaignsOf(currentPage()).map(textOf).indexOf(textOf(campaign));
    if (place < 0) say("The file was changed meanwhile, and has the campaign no more as it was.", true);
    else await writeCampaign({ path: [place] });
  };
  const setStatus = (index: number, status: string) => writeCampaign({ path: [index, "status"], value: status });
  const publish = async (index: number) => (await isMeant({ ...campaigns[index]!, status: "active" })) && setStatus(index, "active");
  return (
    <div class="campaigns">
      <div class="toolbar"><Button kind="main" onClick={add}>New campaign</Button></div>
      {campaigns.length === 0 && <Empty title="The account has no campaign yet." />}
      <ul class="campaign-list">
        {campaigns.map((campaign, index) => {
          const status = wordOf(campaign.status);
          return (
            <li key={index}>
              <button type="button" class="campaign-open" onClick={() => setDraft(draftOf(campaign, index))}>
                <strong>{wordOf(campaign.cid).slice(0, 100) || "without a name"}</strong>
                <span class={`status ${own(STATES, status) ?? ""}`}>{own(STATES, status) ?? (status.slice(0, 40) || "no status")}</span>
                <span class="muted">{own(LAYOUTS, wordOf(objectOf(campaign.layout).type))?.label ?? "an unknown layout"}</span>
                <span>{scheduleOf(campaign).slice(0, LONGEST_SCHEDULE)}</span>
              </button>
              <div class="row">
                {status === "active" ? <Button onClick={() => setStatus(index, "pause")}>Pause</Button> : <Button onClick={() => publish(index)}>Publish</Button>}
                {status !== "stop" && <Button onClick={() => setStatus(index, "stop")}>Stop</Button>}
                <Button kind="quiet" onClick={() => remove(campaign)}>Remove</Button>
              </div>
            </li>
          );
        })}
      </ul>
    </div>
  );
}
