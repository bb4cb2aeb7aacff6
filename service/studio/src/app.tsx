// The page's frame: head, the phone at the left, the service at the right. On narrow screens one of both.
import { useEffect, useRef, useState } from "preact/hooks";
import { AccountView } from "./account.tsx";
import { CampaignsView } from "./campaigns.tsx";
import { DevicesView } from "./devices.tsx";
import { EventsView } from "./events.tsx";
import { FaultsView } from "./faults.tsx";
import { PhoneColumn } from "./phone.tsx";
import { PushView } from "./push.tsx";
import { change, usePage } from "./store.ts";
import { TimelineView } from "./timeline.tsx";
import { Button, Empty, Tabs } from "./ui.tsx";

const VIEWS: [id: string, text: string, View: () => preact.JSX.Element][] = [
  ["events", "Events", EventsView],
  ["timeline", "Time line", TimelineView],
  ["campaigns", "Campaigns", CampaignsView],
  ["push", "Push", PushView],
  ["devices", "Test devices", DevicesView],
  ["account", "Account", AccountView],
  ["faults", "Faults", FaultsView],
];

const PHONE_TAB: [string, string] = ["phone", "Phone"];

const viewOfAddress = (): string => location.hash.slice(1).split("/")[0] || "events";

function useNarrow(): boolean {
  const query = matchMedia("(max-width: 899px)");
  const [isNarrow, setNarrow] = useState(query.matches);
  useEffect(() => {
    const look = () => setNarrow(query.matches);
    query.addEventListener("change", look);
    return () => query.removeEventListener("change", look);
  }, []);
  return isNarrow;
}

function Head() {
  const connection = usePage((page) => page.connection);
  const accounts = usePage((page) => page.accounts);
  const account = usePage((page) => page.account);
  const texts = { live: "Live", lost: "Disconnected, trying again", full: "Not live: 16 browsers look already", loading: "Connecting", error: "Refused" };
  return (
    <header class="head">
      <h1>Lumora studio</h1>
      <label class="account">
        <span>Account</span>
        <select value={account} onChange={(event) => change({ account: event.currentTarget.value })}>
          {!account && <option value="">none</option>}
          {Object.keys(accounts.accounts ?? {}).map((name) => <option key={name} value={name}>{name}</option>)}
        </select>
      </label>
      <p class={`connection ${connection}`} role="status">{texts[connection]}</p>
    </header>
  );
}

/** What cannot be taken back is asked first. */
function Question() {
  const question = usePage((page) => page.question);
  const dialog = useRef<HTMLDialogElement>(null);
  useEffect(() => { if (question) dialog.current?.showModal(); }, [question]);
  if (!question) return null;
  return (
    <dialog class="question" ref={dialog} aria-labelledby="question" onCancel={() => question.answer(false)}>
      <p id="question">{question.text}</p>
      <div class="row">
        <Button onClick={() => question.answer(false)}>Cancel</Button>
        <Button kind="bad" onClick={() => question.answer(true)}>{question.yes}</Button>
      </div>
    </dialog>
  );
}

function Notice() {
  const notice = usePage((page) => page.notice);
  useEffect(() => {
    if (!notice) return;
    const timer = setTimeout(() => change({ notice: null }), notice.isBad ? 8000 : 3000);
    return () => clearTimeout(timer);
  }, [notice?.n]);
  return <div class="notices" role="status" aria-live="polite">{notice && <p class={notice.isBad ? "notice bad" : "notice"} key={notice.n}>{notice.text}</p>}</div>;
}

function Problems() {
  const accounts = usePage((page) => page.accounts);
  const connection = usePage((page) => page.connection);
  const refusal = usePage(({ requests, account }) => requests.filter((request) => request.account === account && request.path.startsWith("/report")).at(-1)?.refusal);
  if (connection === "loading") return null;
  return (
    <>
      {refusal && <p class="problem mild">The service refused the last report: {refusal} The phone keeps its events and tries again.</p>}
      {accounts.error && <p class="problem" role="alert">The accounts file {accounts.file} cannot be used: {accounts.error}</p>}
      {(accounts.notices ?? []).length > 0 && <p class="problem mild">The accounts file: {accounts.notices!.join("; ")}</p>}
    </>
  );
}

export function App() {
  const isNarrow = useNarrow();
  const connection = usePage((page) => page.connection);
  const problem = usePage((page) => page.problem);
  const [view, setView] = useState(viewOfAddress());
  useEffect(() => {
    const look = () => setView(viewOfAddress());
    addEventListener("hashchange", look);
    // It may have changed since the page was first drawn.
    look();
    return () => removeEventListener("hashchange", look);
  }, []);
  useEffect(() => document.getElementById("view")?.scrollTo(0, 0), [view]);
  const isPhoneAlone = isNarrow && view === "phone";
  const shown = VIEWS.find(([id]) => id === view) ?? VIEWS[0]!;
  const View = shown[2];
  const tabs = VIEWS.map(([id, text]): [string, string] => [id, text]);
  if (connection === "error") return <Empty title="The studio refused this address."><p>Open the address that lumora-service prints. {problem}</p></Empty>;
  return (
    <div class="studio">
      <Head />
      {!isNarrow && <PhoneColumn />}
      <main class="service">
        <Tabs label="Views" panel="view" tabs={isNarrow ? [PHONE_TAB, ...tabs] : tabs} shown={isPhoneAlone ? "phone" : shown[0]} onShow={(id) => { location.hash = id; }} />
        <Problems />
        <div class="view" id="view" role="tabpanel" tabIndex={-1}>
          {connection === "loading" ? <p class="waiting">Loading…</p> : isPhoneAlone ? <PhoneColumn /> : <View />}
        </div>
      </main>
      <Notice />
      <Question />
    </div>
  );
}
