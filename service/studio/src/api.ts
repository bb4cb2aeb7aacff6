// What the studio's server is asked, and the shapes of its answers.

export type JSONValue = null | boolean | number | string | JSONValue[] | JSONObject;
export type JSONObject = { [key: string]: JSONValue };

export interface Alert {
  n: number;
  title?: string;
  message?: string;
  buttons: string[];
  text?: string;
}

export interface Notification {
  n: number;
  body?: string | null;
  badge?: number;
  user_info?: JSONValue;
}

export interface Phone {
  id: number;
  name: string;
  account: string;
  model: string;
  system: string;
  version: string;
  build: string;
  ahead: number;
  online: boolean;
  status: "running" | "ended";
  state?: string;
  /** How many commands have been run that may have changed something. */
  commands?: number;
  device?: string | null;
  token?: string | null;
  screen?: number;
  signal?: number;
  exit?: number;
  alerts?: Alert[];
  notifications?: Notification[];
  opened?: { n: number; url: string; refused: boolean }[];
}

export interface Request {
  n: number;
  time: number;
  method: string;
  path: string;
  account: string;
  device: string | null;
  status: number;
  events: number | null;
  refusal: string;
  size: number;
}

export interface EventRow {
  id: number;
  account: string;
  uuid: string;
  received: number;
  size: number;
  kind: string | null;
  name: string | null;
  text: string;
}

export interface AccountsFile {
  file: string;
  revision: string;
  accounts?: { [id: string]: JSONObject };
  notices?: string[];
  error?: string;
}

export interface LogLine {
  n: number;
  text: string;
  trace: boolean;
}

export interface Verdict {
  kept: boolean;
  lines: string[];
  ended: boolean;
  untried: string[];
  description?: JSONObject;
}

export interface StudioState {
  feed: number;
  service: { port: number; domain: string; authority: string };
  phones: Phone[];
  accounts: AccountsFile;
  requests: Request[];
  events: { total: number; last: number };
}

export class Refusal extends Error {
  constructor(
    message: string,
    readonly status: number,
  ) {
    super(message);
  }
}

async function answerOf<Answer>(response: Response): Promise<Answer> {
  const body = await response.json().catch(() => ({}));
  if (!response.ok) throw new Refusal(body.error ?? `The studio answered ${response.status}.`, response.status);
  return body as Answer;
}

export async function ask<Answer>(path: string, query: Record<string, string | number> = {}): Promise<Answer> {
  const words = new URLSearchParams(Object.entries(query).map(([name, value]) => [name, String(value)]));
  return answerOf(await fetch(`api/${path}?${words}`));
}

export async function send<Answer>(path: string, body: unknown = {}): Promise<Answer> {
  const isRaw = typeof body === "string" || body instanceof Blob;
  return answerOf(await fetch(`api/${path}`, { method: "POST", body: isRaw ? body : JSON.stringify(body) }));
}

/** The address of the message screens' page, whose token opens nothing else. */
export async function messageAddress(): Promise<string> {
  return (await fetch("message-address")).text();
}

export interface CommandAnswer {
  done?: string;
  error?: string;
  result?: JSONValue;
  pending?: boolean;
  /** Why the next start of the studio will not know what the command changed. */
  unsaved?: string;
}

/** Runs a command of a phone's host. */
export function command(phone: Phone, ...words: (string | null)[]): Promise<CommandAnswer> {
  return send(`phones/${phone.id}/command`, { words });
}
