// The form for every field of a campaign.
import { useRef, useState } from "preact/hooks";
import { send } from "./api.ts";
import type { JSONObject, JSONValue } from "./api.ts";
import { dateOf, FREQUENCIES, LAYOUTS, objectOf, own, PARTS, wordOf } from "./campaign.ts";
import type { FieldOf } from "./campaign.ts";
import { LayoutChoice } from "./previews.tsx";
import { attempt, current } from "./store.ts";
import { Choice, Field, Switch, TextField } from "./ui.tsx";

type Set = (value: JSONValue | undefined) => void;

const isHex = (value: string) => /^#[0-9a-f]{6}$/i.test(value);

export const assetAddress = (name: string): string => `https://${current().account}.${current().service.domain}/assets/${encodeURIComponent(name)}`;

function ColourField({ label, value, set, isOptional }: { label: string; value: JSONValue | undefined; set: Set; isOptional?: boolean }) {
  const shown = wordOf(value);
  return (
    <Field label={label}>
      {(id) => (
        <div class="row tight">
          <input type="color" aria-label={`${label}, chosen from a palette`} value={isHex(shown) ? shown : "#000000"} onInput={(event) => set(event.currentTarget.value)} />
          <input id={id} value={shown} spellcheck={false} placeholder={isOptional ? "not given" : "#rrggbb"} onInput={(event) => set(event.currentTarget.value || (isOptional ? undefined : ""))} />
        </div>
      )}
    </Field>
  );
}

function PictureField({ label, value, set, isOptional }: { label: string; value: JSONValue | undefined; set: Set; isOptional?: boolean }) {
  const [isOver, setOver] = useState(false);
  const latest = useRef(set);
  latest.current = set;
  const take = (files: FileList | null | undefined) => {
    const file = files?.[0];
    if (!file) return;
    void attempt(async () => {
      const { name } = await send<{ name: string }>(`assets/${encodeURIComponent(file.name)}`, file);
      // Other fields may have changed while it was sent.
      latest.current(assetAddress(name));
    });
  };
  return (
    <div class={isOver ? "drop over" : "drop"} onDragOver={(event) => { event.preventDefault(); setOver(true); }} onDragLeave={() => setOver(false)}
      onDrop={(event) => { event.preventDefault(); setOver(false); take(event.dataTransfer?.files); }}>
      <TextField label={label} value={wordOf(value)} placeholder={isOptional ? "none" : ""} onChange={(text) => set(text || (isOptional ? undefined : ""))} />
      <label class="file">Drop a picture here, or choose one
        <input type="file" accept="image/png,image/jpeg,image/gif,image/webp" onChange={(event) => take(event.currentTarget.files)} />
      </label>
    </div>
  );
}

function NumberField({ label, value, set }: { label: string; value: JSONValue | undefined; set: Set }) {
  return (
    <Field label={label}>
      {(id) => <input id={id} type="number" min={0} value={typeof value === "number" ? value : ""} onInput={(event) => set(event.currentTarget.value === "" ? undefined : event.currentTarget.valueAsNumber)} />}
    </Field>
  );
}

function PartField({ field, value, set }: { field: FieldOf; value: JSONValue | undefined; set: Set }) {
  const { label, kind, options, isOptional } = field;
  if (kind === "colour") return <ColourField label={label} value={value} set={set} isOptional={isOptional} />;
  if (kind === "picture") return <PictureField label={label} value={value} set={set} isOptional={isOptional} />;
  if (kind === "number") return <NumberField label={label} value={value} set={set} />;
  if (kind === "flag") return <Switch label={label} isOn={value === true} onChange={set} />;
  if (kind === "choice") return <Choice label={label} value={wordOf(value)} options={options!} onChange={set} />;
  if (kind === "action") {
    return <TextField label={label} value={wordOf(objectOf(value).ios)} placeholder="nothing; or close" onChange={(text) => set(text ? { ...objectOf(value), ios: text } : undefined)} />;
  }
  if (kind === "long") {
    return <Field label={label}>{(id) => <textarea id={id} rows={2} value={wordOf(value)} onInput={(event) => set(event.currentTarget.value)} />}</Field>;
  }
  return <TextField label={label} value={wordOf(value)} onChange={set} />;
}

const FREQUENCY_NAMES = Object.entries(FREQUENCIES).map(([value, { label }]): [string, string] => [value, label]);

function frequencyHint(frequency: string): string | undefined {
  const known = own(FREQUENCIES, frequency);
  return known?.meaning === known?.label ? undefined : known?.meaning;
}

const pad = (number: number) => String(number).padStart(2, "0");

/** A campaign's time in the person's own zone, written with that zone. */
function TimeField({ label, value, set, isOptional }: { label: string; value: JSONValue | undefined; set: Set; isOptional?: boolean }) {
  const date = dateOf(value);
  const local = date ? `${date.getFullYear()}-${pad(date.getMonth() + 1)}-${pad(date.getDate())}T${pad(date.getHours())}:${pad(date.getMinutes())}` : "";
  const write = (text: string) => {
    if (!text) return set(isOptional ? undefined : "");
    const offset = -new Date(text).getTimezoneOffset();
    set(`${text}:00${offset < 0 ? "-" : "+"}${pad(Math.floor(Math.abs(offset) / 60))}${pad(Math.abs(offset) % 60)}`);
  };
  return <Field label={label} hint={date || !wordOf(value) ? undefined : `“${wordOf(value).slice(0, 100)}” is no time.`}>{(id) => <input id={id} type="datetime-local" value={local} onChange={(event) => write(event.currentTarget.value)} />}</Field>;
}

function changed(object: JSONObject, key: string, value: JSONValue | undefined): JSONObject {
  if (value !== undefined) return { ...object, [key]: value };
  const { [key]: _, ...rest } = object;
  return rest;
}

interface CampaignFormProps {
  campaign: JSONObject;
  onChange: (campaign: JSONObject) => void;
  picture: string;
  isLocked: boolean;
}

export function CampaignForm({ campaign, onChange, picture, isLocked }: CampaignFormProps) {
  const set = (key: string): Set => (value) => onChange(changed(campaign, key, value));
  const layout = objectOf(campaign.layout);
  const type = wordOf(layout.type);
  const frequency = wordOf(campaign.display_frequency);
  const before = useRef<JSONObject>({});
  before.current = { ...before.current, ...layout };
  const parts = [...(own(LAYOUTS, type)?.parts ?? []), "close_button"];
  const setPart = (name: string, key: string): Set => (value) => onChange({ ...campaign, layout: { ...layout, [name]: changed(objectOf(layout[name]), key, value) } });
  return (
    <form class="campaign-form" inert={isLocked} onSubmit={(event) => event.preventDefault()}>
      <fieldset>
        <legend>When it is shown</legend>
        <div class="fields">
          <TextField label="Identifier" value={wordOf(campaign.cid)} hint={wordOf(campaign.cid).includes("/") ? "With a “/” in it the library cannot store the campaign’s pictures, and drops it." : undefined} onChange={set("cid")} />
          <Choice label="Status" value={wordOf(campaign.status)} options={[["active", "active"], ["pause", "paused"], ["stop", "stopped"]]} onChange={set("status")} />
          <TextField label="Event that shows it" value={wordOf(campaign.display_trigger)} onChange={set("display_trigger")} />
          <Choice label="How often" value={frequency} options={FREQUENCY_NAMES} hint={frequencyHint(frequency)} onChange={set("display_frequency")} />
          <TimeField label="From" value={campaign.start_time} set={set("start_time")} isOptional />
          <TimeField label="Until" value={campaign.end_time} set={set("end_time")} />
        </div>
      </fieldset>
      <fieldset>
        <legend>Layout</legend>
        <LayoutChoice campaign={campaign} picture={picture} before={before.current} shown={type} onChange={onChange} />
      </fieldset>
      {parts.map((name) => (
        <details key={name} open={name === "primary_text" || name === "image"}>
          <summary>{PARTS[name]!.label}</summary>
          <div class="fields">
            {PARTS[name]!.fields.map((field) => <PartField key={field.key} field={field} value={objectOf(layout[name])[field.key]} set={setPart(name, field.key)} />)}
          </div>
        </details>
      ))}
    </form>
  );
}
