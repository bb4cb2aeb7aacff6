// A composer for push notifications, which go to the phone in its present state.
import { useState } from "preact/hooks";
import { command, send } from "./api.ts";
import type { JSONObject } from "./api.ts";
import { CodeEditor } from "./code-editor.tsx";
import { attempt, phoneOf, say, usePage } from "./store.ts";
import { Button, Empty, TextField } from "./ui.tsx";

const SAMPLES: [name: string, payload: JSONObject][] = [
  ["With a link", { aps: { alert: "Your boots are on their way" }, vs: { cid: "push-1", a: "acme.example/orders/1" } }],
  ["Without a link", { aps: { alert: "A rainy weekend: tents are 20 % off", badge: 1 }, vs: { cid: "push-2" } }],
  ["Of somebody else", { aps: { alert: "Not from this service" } }],
];

export function PushView() {
  const phone = usePage(phoneOf);
  const [text, setText] = useState(JSON.stringify(SAMPLES[0]![1], null, 2));
  let payload: JSONObject | null = null;
  try {
    payload = JSON.parse(text) as JSONObject;
  } catch {
    // The editor marks what is wrong with it.
  }
  const part = (name: string): JSONObject => (payload?.[name] ?? {}) as JSONObject;
  const set = (name: string, key: string) => (value: string) => setText(JSON.stringify({ ...payload, [name]: { ...part(name), [key]: value } }, null, 2));
  if (!phone) return <Empty title="There is no phone to send to." />;
  const isRunning = phone.status === "running";
  const deliver = () => attempt(async () => {
    const { error } = await command(phone, "push", JSON.stringify(payload));
    if (error) throw new Error(error);
    say(phone.state === "active" ? "Sent: an application in the foreground shows it as a local notification." : "Sent: an application in the background takes it as opened.");
  });
  const launchBy = () => attempt(() => send(`phones/${phone.id}/launch`, { options: JSON.stringify({ UIApplicationLaunchOptionsRemoteNotificationKey: payload }) }));
  return (
    <div class="push-view">
      <div class="row" role="group" aria-label="Samples">
        <span class="group-name">Samples</span>
        {SAMPLES.map(([name, sample]) => <Button key={name} onClick={() => setText(JSON.stringify(sample, null, 2))}>{name}</Button>)}
      </div>
      <div class="fields">
        <TextField label="Text" value={String(part("aps").alert ?? "")} onChange={set("aps", "alert")} />
        <TextField label="Campaign" value={String(part("vs").cid ?? "")} onChange={set("vs", "cid")} />
        <TextField label="A tap opens" value={String(part("vs").a ?? "")} onChange={set("vs", "a")} />
      </div>
      <div class="code-room"><CodeEditor label="The payload as JSON" text={text} onChange={setText} /></div>
      <p>{phone.name} {isRunning ? `is in the ${phone.state === "background" ? "background" : "foreground"}` : "is not running"}{phone.token ? "." : ", and has no push token, which a real service would need."}</p>
      <div class="row">
        <Button kind="main" isDisabled={!payload || !isRunning} onClick={deliver}>Send to {phone.name}</Button>
        <Button isDisabled={!payload || isRunning} onClick={launchBy}>Launch by a tap on it</Button>
      </div>
    </div>
  );
}
