// The ways in which the service can be told to fail, each a switch, with how often it struck.
import { useEffect, useState } from "preact/hooks";
import { writeAccount, writeFile } from "./accounts.ts";
import { ask } from "./api.ts";
import type { JSONObject } from "./api.ts";
import { objectOf, wordOf } from "./campaign.ts";
import { useDraft } from "./drafts.ts";
import { accountOf, every, usePage } from "./store.ts";
import { Button, Choice, Empty, Field, NoAccount, Switch } from "./ui.tsx";

const KINDS: [name: string, label: string, fault: JSONObject][] = [
  ["delay", "Answers after three seconds", { delay_ms: 3000 }],
  ["before", "Closes the connection and does nothing", { drop: "before" }],
  ["after", "Does what was asked for, then closes without an answer", { drop: "after" }],
  ["status", "Answers 503", { status: 503, body: "" }],
  ["body", "Answers something that is no JSON", { body: "<html>maintenance</html>" }],
  ["truncate", "Sends half of the answer", { truncate: true }],
];
const ENDPOINTS: [string, string][] = [["all", "every request"], ["sync", "sync"], ["report", "reports"], ["test_device", "test devices"], ["assets", "pictures"]];
const CERTIFICATES: [string, string][] = [["good", "good"], ["expired", "expired"], ["wrong-host", "for another host"], ["other-ca", "of another authority"]];

interface Strikes {
  strikes: number[];
  certificate: string;
  failedHandshakes: number;
}

const without = ({ endpoint: _, times: __, ...rest }: JSONObject) => JSON.stringify(rest);

export function FaultsView() {
  const account = usePage(accountOf);
  const name = usePage((page) => page.account);
  const revision = usePage((page) => page.accounts.revision);
  const request = usePage((page) => page.requests.at(-1)?.n);
  const [counts, setCounts] = useState<Strikes>({ strikes: [], certificate: "", failedHandshakes: 0 });
  const [endpoint, setEndpoint] = useDraft("endpoint of faults", "all");
  const [times, setTimes] = useDraft("times of faults", "");
  const given = account.misbehave;
  // Entries by their places in the file: those of another kind stand there, too.
  const faults = Array.isArray(given) ? given : given === undefined ? [] : [given];
  useEffect(() => {
    const look = () => void ask<Strikes>("faults", { account: name }).then(setCounts, () => {});
    const timer = setTimeout(look, 100);
    // Who does not trust the certificate makes no request that the stream could tell of.
    const end = every(3000, look);
    return () => { clearTimeout(timer); end(); };
  }, [name, request, revision]);
  if (!name) return <NoAccount />;
  const add = (fault: JSONObject) => writeAccount(Array.isArray(given) ? { path: ["misbehave", faults.length], value: fault } : { path: ["misbehave"], value: [...faults, fault] });
  const remove = (index: number) => writeAccount({ path: faults.length > 1 ? ["misbehave", index] : ["misbehave"] });
  const placed = (fault: JSONObject): JSONObject => ({ endpoint, ...fault, ...(times ? { times: Number(times) } : {}) });
  return (
    <div class="faults">
      <fieldset>
        <legend>What goes wrong</legend>
        <div class="fields">
          <Choice label="Switches are for" value={endpoint} options={ENDPOINTS} onChange={setEndpoint} />
          <Field label="How often" hint="Empty: always. It is for switches that are turned on from now on.">{(id) => <input id={id} type="number" min={1} placeholder="always" value={times} onInput={(event) => setTimes(event.currentTarget.value)} />}</Field>
        </div>
        <ul class="switches">
          {KINDS.map(([kind, label, fault]) => {
            const index = faults.findIndex((one) => (objectOf(one).endpoint ?? "all") === endpoint && without(objectOf(one)) === JSON.stringify(fault));
            return (
              <li key={kind}>
                <Switch label={label} isOn={index >= 0} onChange={(isOn) => void (isOn ? add(placed(fault)) : remove(index))} />
                {index >= 0 && <span class="strikes">struck {counts.strikes[index] ?? 0} ×</span>}
              </li>
            );
          })}
        </ul>
      </fieldset>
      <fieldset>
        <legend>In the file</legend>
        {faults.length === 0 ? <Empty title="Nothing goes wrong." /> : (
          <ul class="switches">
            {faults.map((fault, index) => (
              <li key={index}>
                <code>{JSON.stringify(fault).slice(0, 300)}</code>
                <span class="strikes">struck {counts.strikes[index] ?? 0} ×{objectOf(fault).times !== undefined && ` of ${wordOf(objectOf(fault).times)}`}</span>
                <Button onClick={() => remove(index)}>Remove</Button>
              </li>
            ))}
          </ul>
        )}
      </fieldset>
      <fieldset>
        <legend>Certificate</legend>
        <div class="row" role="radiogroup" aria-label="Certificate">
          {CERTIFICATES.map(([kind, label]) => (
            <label key={kind} class="switch">
              <input type="radio" name="certificate" checked={kind === counts.certificate} onClick={(event) => { event.preventDefault(); void writeFile({ path: ["certificate"], value: kind }); }} />
              <span>{label}</span>
            </label>
          ))}
        </div>
        <p class="hint">Clients that refused it: {counts.failedHandshakes}. Phones notice a change with their next connection.</p>
      </fieldset>
    </div>
  );
}
