// What the page knows, kept in step with the studio by its stream.
import { useEffect, useState } from "preact/hooks";
import { ask, messageAddress, Refusal } from "./api.ts";
import type { AccountsFile, EventRow, JSONObject, Phone, Request, StudioState } from "./api.ts";
import { follow, gather, rest } from "./live.ts";
import type { Listener } from "./live.ts";

export type Connection = "loading" | "live" | "lost" | "full" | "error";

export interface Page {
  connection: Connection;
  problem: string;
  service: StudioState["service"];
  messagePage: string;
  phones: Phone[];
  phone: number;
  accounts: AccountsFile;
  account: string;
  requests: Request[];
  events: { total: number; last: number };
  /** The newest of the list, as they came by the stream. */
  arrived: EventRow[];
  /** Grows with each hint of the stream that something is to be asked for again. */
  devices: number;
  logs: { [phone: number]: number };
  /** What the person is asked before it is done. */
  question: { text: string; yes: string; answer: (isYes: boolean) => void } | null;
  notice: { text: string; isBad: boolean; n: number } | null;
}

const MOST_REQUESTS = 1000;

let page: Page = {
  connection: "loading", problem: "", service: { port: 0, domain: "", authority: "" }, messagePage: "",
  phones: [], phone: 0, accounts: { file: "", revision: "" }, account: "", requests: [],
  events: { total: 0, last: 0 }, arrived: [], devices: 0, logs: {}, question: null, notice: null,
};
const listeners = new Set<() => void>();

export const current = (): Page => page;

export function change(part: Partial<Page>): void {
  page = { ...page, ...part };
  for (const listener of listeners) listener();
}

/** The page's state, or a part of it; the component is drawn again when that part changes. */
export function usePage<Part>(select: (page: Page) => Part): Part {
  const [part, setPart] = useState(() => select(page));
  useEffect(() => {
    const look = () => setPart(() => select(page));
    listeners.add(look);
    look();
    return () => void listeners.delete(look);
  }, []);
  return part;
}

let lastNotice = 0;

export function say(text: string, isBad = false): void {
  change({ notice: { text, isBad, n: ++lastNotice } });
}

/** Asks the person, since what follows cannot be taken back. */
export function isSure(text: string, yes: string): Promise<boolean> {
  page.question?.answer(false);
  return new Promise((resolve) => change({ question: { text, yes, answer: (isYes) => { change({ question: null }); resolve(isYes); } } }));
}

/** Does something that may be refused, and says so then. Gives whether it was done. */
export async function attempt(work: () => Promise<unknown>): Promise<boolean> {
  try {
    await work();
    return true;
  } catch (error) {
    say(error instanceof Error ? error.message : String(error), true);
    return false;
  }
}

/* The stream */

let retry = 0;
/** Of the latest connect. */
let turn = 0;

function takePhone(phone: Phone): void {
  const others = page.phones.filter(({ id }) => id !== phone.id);
  change({ phones: [...others, phone].sort((one, other) => one.id - other.id), phone: page.phone || phone.id });
}

function forgetPhone(id: number): void {
  const phones = page.phones.filter((phone) => phone.id !== id);
  change({ phones, phone: page.phone === id ? (phones[0]?.id ?? 0) : page.phone });
}

let lastAsked = 0;
let lastTaken = 0;

/** Takes the answer, unless one to a later question has overtaken it. */
export async function askAccounts(question: () => Promise<AccountsFile>): Promise<void> {
  const own = ++lastAsked;
  const read = await question();
  if (own < lastTaken) return;
  lastTaken = own;
  takeAccounts(read);
}

export const readAccounts = (): Promise<void> => askAccounts(() => ask<AccountsFile>("accounts"));

/** Of a file that cannot be used the service keeps what was there before, and so does the page. */
function takeAccounts(read: AccountsFile): void {
  const accounts = { accounts: page.accounts.accounts, ...read };
  const names = Object.keys(accounts.accounts ?? {});
  change({ accounts, account: names.includes(page.account) ? page.account : (names[0] ?? "") });
}

const takers: Record<string, (data: any) => void> = {
  phone: takePhone,
  "phone-gone": ({ id }) => forgetPhone(id),
  request: (request: Request) => {
    if (request.n > (page.requests.at(-1)?.n ?? 0)) change({ requests: [...page.requests.slice(1 - MOST_REQUESTS), request] });
  },
  events: ({ total, last, rows }) => last > page.events.last && change({ events: { total, last }, arrived: rows }),
  log: ({ phone, last }) => change({ logs: { ...page.logs, [phone]: last } }),
  accounts: () => void attempt(readAccounts),
  devices: () => change({ devices: page.devices + 1 }),
};

const listener: Listener = {
  message: (type, data) => takers[type]?.(JSON.parse(data)),
  state: (state) => {
    change({ connection: state === "open" ? "live" : state === "lost" ? "lost" : "full" });
    if (state === "refused") connectIn(2000);
  },
  behind: () => void connect(),
};

function connectIn(milliseconds: number): void {
  clearTimeout(retry);
  retry = window.setTimeout(connect, milliseconds);
}

/** Asks for everything, and follows the stream from there. */
export async function connect(): Promise<void> {
  clearTimeout(retry);
  if (document.hidden) return;
  const own = ++turn;
  try {
    gather(listener);
    const { feed, accounts, ...state } = await ask<StudioState>("state");
    const messagePage = await messageAddress();
    if (own !== turn) return;
    const phone = state.phones.some(({ id }) => id === page.phone) ? page.phone : (state.phones[0]?.id ?? 0);
    change({ ...state, messagePage, phone, problem: "", arrived: [] });
    takeAccounts(accounts);
    follow(feed, listener);
  } catch (error) {
    if (own !== turn) return;
    const isRefused = error instanceof Refusal && error.status === 403;
    change({ connection: isRefused ? "error" : "lost", problem: error instanceof Error ? error.message : "" });
    connectIn(1000);
  }
}

function restUnseen(): void {
  clearTimeout(retry);
  turn += 1;
  rest();
}

/** A page that nobody sees asks for nothing. */
document.addEventListener("visibilitychange", () => (document.hidden ? restUnseen() : void connect()));
addEventListener("pagehide", restUnseen);
addEventListener("pageshow", ({ persisted }) => persisted && void connect());

/** Does it again and again while the page is seen; gives what ends that. */
export function every(milliseconds: number, work: () => void): () => void {
  const timer = setInterval(() => document.hidden || work(), milliseconds);
  return () => clearInterval(timer);
}

/* What several views ask for */

export const accountOf = ({ accounts, account }: Page): JSONObject => accounts.accounts?.[account] ?? {};
export const phoneOf = ({ phones, phone }: Page): Phone | undefined => phones.find(({ id }) => id === phone);

/** By their places in the file; what is no campaign there counts as an empty one. */
export function campaignsOf(shown: Page): JSONObject[] {
  const list = accountOf(shown).campaigns;
  return Array.isArray(list) ? list.map((one) => (typeof one === "object" && one !== null && !Array.isArray(one) ? one : {})) : [];
}
