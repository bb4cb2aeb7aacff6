// A composer for push notifications, which go to the phone in its present state.
import { command, send } from "./api.ts";
import type { JSONObject, JSONValue } from "./api.ts";
import { objectOf, wordOf } from "./campaign.ts";
import { CodeEditor } from "./code-editor.tsx";
import { useDraft } from "./drafts.ts";
import { attempt, phoneOf, say, usePage } from "./store.ts";
import { Button, Empty, TextField } from "./ui.tsx";

const SAMPLES: [name: string, payload: JSONObject][] = [
  ["With a link", { aps: { alert: "Your boots are on their way" }, vs: { cid: "push-1", a: "acme.example/orders/1" } }],
  ["Without a link", { aps: { alert: "A rainy weekend: tents are 20 % off", badge: 1 }, vs: { cid: "push-2" } }],
  ["Of somebody else", { aps: { alert: "Not from this service" } }],
];

/** Of a text that is no object, null: the editor marks what is wrong with it. */
function payloadOf(text: string): JSONObject | null {
  try {
    const value = JSON.parse(text) as JSONValue;
    return typeof value === "object" && !Array.isArray(value) ? value : null;
  } catch {
    return null;
  }
}

export function PushView() {
  const phone = usePage(phoneOf);
  const [text, setText] = useDraft("push", JSON.stringify(SAMPLES[0]![1], null, 2));
  const payload = payloadOf(text);
  const aps = objectOf(payload?.aps);
  const vs = objectOf(payload?.vs);
  const set = (name: string, value: JSONValue) => setText(JSON.stringify({ ...payload, [name]: value }, null, 2));
  const hasParts = Object.keys(objectOf(aps.alert)).length > 0;
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
        <TextField label="Text" value={wordOf(hasParts ? objectOf(aps.alert).body : aps.alert)} isDisabled={!payload} onChange={(value) => set("aps", { ...aps, alert: hasParts ? { ...objectOf(aps.alert), body: value } : value })} />
        <TextField label="Campaign" value={wordOf(vs.cid)} isDisabled={!payload} onChange={(value) => set("vs", { ...vs, cid: value })} />
        <TextField label="A tap opens" value={wordOf(vs.a)} isDisabled={!payload} onChange={(value) => set("vs", { ...vs, a: value })} />
      </div>
      {!payload && <p class="problem" role="alert">The JSON below is no object that can be read; the fields wait for it.</p>}
      <div class="code-room"><CodeEditor label="The payload as JSON" text={text} onChange={setText} /></div>
      <p>{phone.name} {isRunning ? `is in the ${phone.state === "background" ? "background" : "foreground"}` : "is not running"}{phone.token ? "." : ", and has no push token, which a real service would need."}</p>
      <div class="row">
        <Button kind="main" isDisabled={!payload || !isRunning} onClick={deliver}>Send to {phone.name}</Button>
        <Button isDisabled={!payload || isRunning} onClick={launchBy}>Launch by a tap on it</Button>
      </div>
    </div>
  );
}
