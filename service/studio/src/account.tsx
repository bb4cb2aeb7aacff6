// The account's own settings, and signatures for its secure mode.
import { writeAccount } from "./accounts.ts";
import { command } from "./api.ts";
import { objectOf, wordOf } from "./campaign.ts";
import { useDraft } from "./drafts.ts";
import { accountOf, attempt, phoneOf, say, usePage } from "./store.ts";
import { Button, Field, NoAccount, Switch, TextField } from "./ui.tsx";

/** A text that is written when the person is done with it. */
function StoredText({ label, value, path, hint }: { label: string; value: string; path: string[]; hint?: string }) {
  const name = usePage((page) => page.account);
  const [draft, setDraft] = useDraft<string | undefined>(`account ${name}: ${path.join()}`, undefined);
  const text = draft ?? value;
  const save = async () => (await writeAccount({ path, value: text })) && setDraft(undefined);
  return (
    <>
      <form class="row ends" onSubmit={(event) => { event.preventDefault(); void save(); }}>
        <TextField label={label} value={text} onChange={(typed) => setDraft(typed === value ? undefined : typed)} />
        <button type="submit" class="button plain" disabled={text === value}>Save</button>
        {text !== value && <Button kind="quiet" onClick={() => setDraft(undefined)}>Undo</Button>}
      </form>
      {hint && <p class="hint">{hint}</p>}
    </>
  );
}

async function signatureOf(secret: string, text: string): Promise<string> {
  const bytes = new TextEncoder();
  const key = await crypto.subtle.importKey("raw", bytes.encode(secret), { name: "HMAC", hash: "SHA-256" }, false, ["sign"]);
  const signed = await crypto.subtle.sign("HMAC", key, bytes.encode(text));
  return [...new Uint8Array(signed)].map((byte) => byte.toString(16).padStart(2, "0")).join("");
}

function Signatures({ accessKey, secret }: { accessKey: string; secret: string }) {
  const phone = usePage(phoneOf);
  const [email, setEmail] = useDraft("signature", "ada@example.com");
  const isRunning = phone?.status === "running";
  const give = () => attempt(async () => {
    const time = String(Math.floor(Date.now() / 1000));
    const { result } = await command(phone!, "secure-signature", accessKey, await signatureOf(secret || "none", time + email), time, email);
    say(result === true ? `${phone!.name} has the signature.` : "The library took no signature: a part of it is missing.", result !== true);
  });
  return (
    <fieldset>
      <legend>Signature maker</legend>
      <p class="hint">Stands in for the host's own server, which hands the application a signature. The local service looks at the access key alone.</p>
      <div class="row ends">
        <TextField label="E-mail" value={email} onChange={setEmail} />
        <Button kind="main" isDisabled={!isRunning || !accessKey} onClick={give}>Give {phone?.name ?? "the phone"} a signature</Button>
        <Button isDisabled={!isRunning} onClick={() => attempt(() => command(phone!, "remove-signature"))}>Take it away</Button>
      </div>
      {!accessKey && <p class="hint">Set an access key first.</p>}
    </fieldset>
  );
}

export function AccountView() {
  const account = usePage(accountOf);
  const name = usePage((page) => page.account);
  const file = usePage((page) => page.accounts.file);
  if (!name) return <NoAccount />;
  const config = objectOf(account.config);
  const setFlag = (...path: string[]) => (value: boolean) => void writeAccount({ path, value });
  return (
    <div class="account-view" key={name}>
      <p class="muted">All of this is written to {file}.</p>
      <fieldset>
        <legend>Access</legend>
        <StoredText label="Secret" value={wordOf(account.secret)} path={["secret"]} hint="A phone uses a new one from its next launch on." />
        <Switch label="Blocked" isOn={account.blocked === true} onChange={setFlag("blocked")} />
      </fieldset>
      <fieldset>
        <legend>Configuration</legend>
        <Field label="Seconds between two syncs (syncTimeOut)">
          {(id) => <input id={id} type="number" min={0} value={wordOf(config.syncTimeOut)} onChange={(event) => void writeAccount({ path: ["config", "syncTimeOut"], value: event.currentTarget.value === "" ? 0 : event.currentTarget.valueAsNumber })} />}
        </Field>
        <Switch label="Test device (test_device)" isOn={config.test_device === true} onChange={setFlag("config", "test_device")} />
      </fieldset>
      <fieldset>
        <legend>Secure mode</legend>
        <Switch label="Uploads must be signed (secure_mode)" isOn={config.secure_mode === true} onChange={setFlag("config", "secure_mode")} />
        <StoredText label="Access key" value={wordOf(account.access_key)} path={["access_key"]} />
      </fieldset>
      <Signatures accessKey={wordOf(account.access_key)} secret={wordOf(account.secret)} />
    </div>
  );
}
