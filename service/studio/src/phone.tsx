// The phone at the left: its screen and what surrounds it.
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";
import { ask, command, send } from "./api.ts";
import type { Alert, JSONObject, Phone } from "./api.ts";
import { Beneath } from "./beneath.tsx";
import { forget, useDraft } from "./drafts.ts";
import { MessageFrame, SCREENS } from "./message-frame.tsx";
import { Shop } from "./shop.tsx";
import { attempt, change, isSure, phoneOf, say, usePage } from "./store.ts";
import { Button, Empty, Switch, Tabs } from "./ui.tsx";

const run = (phone: Phone, ...words: (string | null)[]) => attempt(async () => {
  const { error, unsaved } = await command(phone, ...words);
  if (error) throw new Error(error);
  if (unsaved) say(unsaved, true);
});

const act = (phone: Phone, what: string, body: object = {}) => attempt(() => send(`phones/${phone.id}/${what}`, body));

/** The message on the phone's screen, asked for when its number changes. */
function useScreen(phone: Phone): JSONObject | null {
  const [screen, setScreen] = useState<JSONObject | null>(null);
  useEffect(() => {
    if (!phone.screen) return setScreen(null);
    let isWanted = true;
    void attempt(async () => {
      const description = await ask<JSONObject | null>(`phones/${phone.id}/screen`);
      if (isWanted) setScreen(description);
    });
    return () => { isWanted = false; };
  }, [phone.id, phone.screen]);
  return phone.screen ? screen : null;
}

function AlertBox({ phone, alert }: { phone: Phone; alert: Alert }) {
  const key = `alert ${alert.n} of ${phone.id}`;
  const [text, setText] = useDraft(key, alert.text ?? "");
  const answer = async (index: number) => (await run(phone, "answer", String(index), ...(alert.text !== undefined ? [text] : []))) && forget(key);
  const box = useRef<HTMLDivElement>(null);
  useEffect(() => box.current?.querySelector<HTMLElement>("input, button")?.focus(), []);
  return (
    <div class="cover">
      <div class="alert" role="alertdialog" aria-labelledby={`alert-${alert.n}`} ref={box}>
        <h3 id={`alert-${alert.n}`}>{alert.title}</h3>
        {alert.message && <p>{alert.message}</p>}
        {alert.text !== undefined && <input aria-label={alert.title} value={text} onInput={(event) => setText(event.currentTarget.value)} />}
        <div class="row">
          {alert.buttons.map((button, index) => (
            <Button key={index} kind={index === alert.buttons.length - 1 ? "main" : "plain"} onClick={() => answer(index)}>{button}</Button>
          ))}
        </div>
      </div>
    </div>
  );
}

/** What has appeared since the phone was looked at, until it is put away. */
function Banners({ phone }: { phone: Phone }) {
  const [seen, setSeen] = useState(0);
  const notification = phone.notifications?.at(-1);
  const link = phone.opened?.at(-1);
  const shows = (item?: { n: number }) => item && item.n > seen;
  return (
    <div class="banners">
      {shows(notification) && (
        <div class="banner" role="status">
          <button type="button" class="banner-body" onClick={() => { setSeen(notification!.n); void run(phone, "tap-notification"); }}>
            <strong>Base Camp</strong>
            <span>{notification!.body ?? "A notification"}</span>
          </button>
          <Button kind="quiet" onClick={() => setSeen(notification!.n)} title="Put the notification away">×</Button>
        </div>
      )}
      {shows(link) && (
        <div class="banner" role="status">
          <p class="banner-body"><strong>{link!.refused ? "Refused to open" : "Opened"}</strong><span>{link!.url}</span></p>
          <Button kind="quiet" onClick={() => setSeen(link!.n)} title="Close the link">×</Button>
        </div>
      )}
    </div>
  );
}

function HomeScreen({ phone }: { phone: Phone }) {
  const badge = phone.notifications?.at(-1)?.badge ?? 0;
  const isEnded = phone.status === "ended";
  return (
    <div class="home">
      <button type="button" class="app-icon" onClick={() => (isEnded ? act(phone, "launch") : run(phone, "foreground"))}>
        <span class="app-mark" aria-hidden="true">▲{badge > 0 && <b>{badge}</b>}</span>
        <span>{isEnded ? "Launch Base Camp" : "Back to Base Camp"}</span>
      </button>
      <p>{isEnded ? (phone.signal ? "The application was killed." : "The application does not run.") : "In the background."}</p>
    </div>
  );
}

function Screen({ phone, size, isWide }: { phone: Phone; size: keyof typeof SCREENS; isWide: boolean }) {
  const description = useScreen(phone);
  const [short, long] = SCREENS[size];
  const [width, height] = isWide ? [long, short] : [short, long];
  const room = useRef<HTMLDivElement>(null);
  const [scale, setScale] = useState(1);
  useLayoutEffect(() => {
    const measure = () => room.current && setScale(Math.min(1, room.current.clientWidth / (width + 24), Math.max(420, innerHeight - 370) / (height + 24)));
    const watch = new ResizeObserver(measure);
    watch.observe(room.current!);
    addEventListener("resize", measure);
    return () => { watch.disconnect(); removeEventListener("resize", measure); };
  }, [width, height]);
  useEffect(() => {
    if (phone.status === "ended") forget(`checkout of ${phone.id}`);
  }, [phone.status]);
  const isAway = phone.status === "ended" || phone.state === "background";
  const alert = phone.alerts?.at(-1);
  return (
    <div class="screen-room" ref={room} style={{ height: `${(height + 24) * scale}px` }}>
      <div class="device" style={{ width: `${width + 24}px`, height: `${height + 24}px`, left: `calc(50% - ${((width + 24) * scale) / 2}px)`, transform: `scale(${scale})` }}>
        <div class="screen">
          <p class="status-bar"><span>{phone.name}</span><span>{phone.online ? "Online" : "Offline"}{phone.ahead > 0 && ` · ${spanText(phone.ahead)} ahead`}</span></p>
          {isAway ? <HomeScreen phone={phone} /> : <Shop phone={phone} run={(...words) => run(phone, ...words)} />}
          {!isAway && description && <MessageFrame title="Message on the phone" description={description} onTap={(element) => void run(phone, "tap", element)} />}
          {phone.status === "running" && <Banners phone={phone} />}
          {!isAway && alert && <AlertBox key={alert.n} phone={phone} alert={alert} />}
        </div>
      </div>
    </div>
  );
}

function spanText(seconds: number): string {
  const units: [number, string][] = [[86400, "d"], [3600, "h"], [60, "min"]];
  const [length, name] = units.find(([unit]) => seconds >= unit) ?? [1, "s"];
  return `${Math.round((seconds / length) * 10) / 10} ${name}`;
}

function Surroundings({ phone }: { phone: Phone }) {
  const isRunning = phone.status === "running";
  const [version, setVersion] = useDraft(`version of ${phone.id}`, "");
  const next = version || String(Math.floor(Number.parseFloat(phone.version) || 1) + 1) + ".0";
  const reinstall = async () => (await isSure(`Reinstall the application on ${phone.name}? Its data goes, events that wait included; its keychain stays.`, "Reinstall")) && act(phone, "reinstall");
  const remove = async () => (await isSure(`Remove ${phone.name} with its data?`, "Remove")) && act(phone, "remove");
  return (
    <div class="surroundings">
      <div class="row" role="group" aria-label="Application">
        {isRunning ? <Button kind="bad" onClick={() => act(phone, "kill")}>Kill</Button> : <Button kind="main" onClick={() => act(phone, "launch")}>Launch</Button>}
        <Button isDisabled={!isRunning} onClick={() => act(phone, "quit")}>Close</Button>
        <Button isDisabled={!isRunning} onClick={() => run(phone, phone.state === "background" ? "foreground" : "background")}>{phone.state === "background" ? "Foreground" : "Background"}</Button>
        <Button onClick={reinstall} title="The data goes, the keychain stays">Reinstall</Button>
      </div>
      <div class="row" role="group" aria-label="Time">
        <span class="group-name">Time</span>
        {([[60, "a minute"], [3600, "an hour"], [86400, "a day"]] as [number, string][]).map(([seconds, name]) => (
          <Button key={name} isDisabled={!isRunning} onClick={() => run(phone, "advance", String(seconds))} title={`Moves the phone's clock ahead by ${name}`}>+ {name}</Button>
        ))}
      </div>
      <div class="row" role="group" aria-label="Connections">
        <Switch label="Online" isOn={phone.online} onChange={(isOn) => void run(phone, "network", isOn ? "online" : "offline")} />
        <Switch label="Push token" isOn={Boolean(phone.token)} onChange={(isOn) => void (isOn ? run(phone, "register-push", crypto.randomUUID().replaceAll("-", "")) : run(phone, "unregister-push"))} />
      </div>
      <div class="row" role="group" aria-label="Version">
        <span class="group-name">Version {phone.version}</span>
        <input class="short" aria-label="New version" placeholder={next} value={version} onInput={(event) => setVersion(event.currentTarget.value)} />
        <Button onClick={() => act(phone, "update", { version: next, build: String(Number(phone.build) + 1 || 1) })}>Update</Button>
        <Button kind="quiet" onClick={remove}>Remove the phone</Button>
      </div>
    </div>
  );
}

export function PhoneColumn() {
  const phones = usePage((page) => page.phones);
  const phone = usePage(phoneOf);
  const account = usePage((page) => page.account);
  const connection = usePage((page) => page.connection);
  const [size, setSize] = useState<keyof typeof SCREENS>("phone");
  const [isWide, setWide] = useState(false);
  const add = () => attempt(async () => {
    const names = ["Ada’s phone", "Ben’s phone", "Cleo’s tablet", "Dev’s phone"];
    const isTablet = size === "tablet";
    const added = await send<Phone>("phones", { name: names[phones.length % names.length], account, model: isTablet ? "iPad" : "iPhone" });
    change({ phone: added.id });
    await send(`phones/${added.id}/launch`, { account });
  });
  return (
    <aside class="phones" aria-label="Phone">
      <div class="row phone-head">
        <Tabs label="Phones" tabs={phones.map(({ id, name }): [string, string] => [String(id), name])} shown={String(phone?.id ?? "")} onShow={(id) => change({ phone: Number(id) })} />
        <Button kind="quiet" isDisabled={!account} onClick={add}>Add a phone</Button>
      </div>
      {!phone && connection !== "loading" && <Empty title="There is no phone yet."><Button kind="main" isDisabled={!account} onClick={add}>Add one</Button></Empty>}
      {phone && (
        <>
          <div class="row">
            <Switch label="Tablet" isOn={size === "tablet"} onChange={(isOn) => setSize(isOn ? "tablet" : "phone")} />
            <Switch label="Rotated" isOn={isWide} onChange={setWide} />
          </div>
          <Screen key={phone.id} phone={phone} size={size} isWide={isWide} />
          <Surroundings phone={phone} />
          <Beneath key={`beneath-${phone.id}`} phone={phone} />
        </>
      )}
    </aside>
  );
}
