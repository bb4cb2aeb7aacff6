// Test devices: the link that enrols one, and those that are enrolled.
import qrcode from "qrcode-generator";
import { useEffect, useState } from "preact/hooks";
import { ask, command } from "./api.ts";
import { attempt, phoneOf, say, usePage } from "./store.ts";
import { moment } from "./times.ts";
import { Button, Empty } from "./ui.tsx";

interface TestDevice {
  account: string;
  name: string;
  push_token: string;
  device_type: string;
  registered: number;
}

function Code({ text }: { text: string }) {
  const code = qrcode(0, "M");
  code.addData(text);
  code.make();
  const size = code.getModuleCount();
  const dark = Array.from({ length: size * size }, (_, n) => [Math.floor(n / size), n % size] as const).filter(([row, column]) => code.isDark(row, column));
  return (
    <svg class="qr" viewBox={`-4 -4 ${size + 8} ${size + 8}`} role="img" aria-label="The link as a QR code">
      <rect x="-4" y="-4" width={size + 8} height={size + 8} fill="#ffffff" />
      <path d={dark.map(([row, column]) => `M${column} ${row}h1v1h-1z`).join("")} fill="#000000" />
    </svg>
  );
}

export function DevicesView() {
  const account = usePage((page) => page.account);
  const revision = usePage((page) => page.accounts.revision);
  const hint = usePage((page) => page.devices);
  const phone = usePage(phoneOf);
  const [link, setLink] = useState("");
  const [devices, setDevices] = useState<TestDevice[]>([]);
  const renew = () => ask<{ link: string }>("link", { account }).then((answer) => setLink(answer.link), () => setLink(""));
  useEffect(() => void renew(), [account, revision]);
  useEffect(() => {
    const timer = setTimeout(() => void attempt(async () => setDevices(await ask<TestDevice[]>("test-devices"))), 100);
    return () => clearTimeout(timer);
  }, [hint]);
  const open = () => attempt(async () => {
    const { error } = await command(phone!, "open-url", link);
    if (error) throw new Error(error);
    say("Opened: the phone asks for its name.");
  });
  return (
    <div class="devices">
      {link ? (
        <div class="link">
          <Code text={link} />
          <div>
            <p>Who opens this link in the application makes the device a test device of “{account}”.</p>
            <p class="mono">{link}</p>
            <div class="row">
              <Button kind="main" isDisabled={phone?.status !== "running"} onClick={open}>Open on {phone?.name ?? "the phone"}</Button>
              <Button onClick={() => attempt(() => navigator.clipboard.writeText(link).then(() => say("Copied.")))}>Copy</Button>
              <Button onClick={renew}>Another link</Button>
            </div>
          </div>
        </div>
      ) : <Empty title="The account has no secret, so there is no link." />}
      {devices.length === 0 ? <Empty title="No test device is enrolled." /> : (
        <table>
          <thead><tr><th>Name</th><th>Account</th><th>Type</th><th>Push token</th><th>Enrolled</th></tr></thead>
          <tbody>{devices.map((device) => <tr key={`${device.account} ${device.name}`}><td>{device.name.slice(0, 200)}</td><td>{device.account}</td><td>{device.device_type.slice(0, 40)}</td><td class="mono">{device.push_token.slice(0, 80) || "none"}</td><td>{moment(device.registered)}</td></tr>)}</tbody>
        </table>
      )}
    </div>
  );
}
