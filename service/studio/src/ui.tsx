// Small parts that all views are made of.
import type { ComponentChildren } from "preact";
import { useEffect, useId, useRef } from "preact/hooks";
import { usePage } from "./store.ts";

interface ButtonProps {
  children: ComponentChildren;
  onClick: () => unknown;
  kind?: "plain" | "main" | "quiet" | "bad";
  isDisabled?: boolean;
  isPressed?: boolean;
  title?: string;
}

export function Button({ children, onClick, kind = "plain", isDisabled, isPressed, title }: ButtonProps) {
  return (
    <button type="button" class={`button ${kind}`} disabled={isDisabled} aria-pressed={isPressed} title={title} onClick={() => void onClick()}>
      {children}
    </button>
  );
}

export function Field({ label, hint, children }: { label: string; hint?: string; children: (id: string) => ComponentChildren }) {
  const id = useId();
  return (
    <div class="field">
      <label for={id}>{label}</label>
      {children(id)}
      {hint && <p class="hint">{hint}</p>}
    </div>
  );
}

interface TextProps {
  label: string;
  value: string;
  onChange: (value: string) => void;
  hint?: string;
  type?: string;
  placeholder?: string;
  isDisabled?: boolean;
}

export function TextField({ label, value, onChange, hint, type = "text", placeholder, isDisabled }: TextProps) {
  return (
    <Field label={label} hint={hint}>
      {(id) => <input id={id} type={type} value={value} placeholder={placeholder} disabled={isDisabled} autocomplete="off" spellcheck={false} onInput={(event) => onChange(event.currentTarget.value)} />}
    </Field>
  );
}

interface ChoiceProps {
  label: string;
  value: string;
  options: [value: string, text: string][];
  onChange: (value: string) => void;
  hint?: string;
}

export function Choice({ label, value, options, onChange, hint }: ChoiceProps) {
  const known = options.some(([option]) => option === value);
  return (
    <Field label={label} hint={hint}>
      {(id) => (
        <select id={id} value={value} onChange={(event) => onChange(event.currentTarget.value)}>
          {!known && <option value={value}>{value.slice(0, 100) || "not given"}</option>}
          {options.map(([option, text]) => <option key={option} value={option}>{text}</option>)}
        </select>
      )}
    </Field>
  );
}

/** Moves when what it stands for has come about, which may be refused. */
export function Switch({ label, isOn, onChange }: { label: string; isOn: boolean; onChange: (isOn: boolean) => void }) {
  const turn = (box: HTMLInputElement) => {
    box.checked = isOn;
    onChange(!isOn);
  };
  return (
    <label class="switch">
      <input type="checkbox" role="switch" checked={isOn} onChange={(event) => turn(event.currentTarget)} />
      <span>{label}</span>
    </label>
  );
}

interface TabsProps {
  label: string;
  tabs: [id: string, text: string][];
  shown: string;
  onShow: (id: string) => void;
  panel?: string;
}

/** Tabs that arrow keys go through. */
export function Tabs({ label, tabs, shown, onShow, panel }: TabsProps) {
  const list = useRef<HTMLDivElement>(null);
  useEffect(() => {
    const row = list.current!;
    const tab = row.querySelector<HTMLElement>('[aria-selected="true"]');
    if (!tab) return;
    // By itself the browser would scroll all that is around the row, too.
    const start = tab.offsetLeft - row.offsetLeft;
    row.scrollLeft = Math.min(start, Math.max(row.scrollLeft, start + tab.offsetWidth - row.clientWidth));
  }, [shown, tabs.length]);
  const move = (event: KeyboardEvent) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const index = tabs.findIndex(([id]) => id === shown);
    const next = (index + step + tabs.length) % tabs.length;
    onShow(tabs[next]![0]);
    (list.current?.children[next] as HTMLElement | undefined)?.focus();
    event.preventDefault();
  };
  return (
    <div class="tabs" role="tablist" aria-label={label} ref={list} onKeyDown={move}>
      {tabs.map(([id, text]) => (
        <button type="button" role="tab" key={id} aria-selected={id === shown} aria-controls={panel} tabIndex={id === shown ? 0 : -1} onClick={() => onShow(id)}>
          {text}
        </button>
      ))}
    </div>
  );
}

export function Empty({ title, children }: { title: string; children?: ComponentChildren }) {
  return (
    <div class="empty">
      <p class="empty-title">{title}</p>
      {children}
    </div>
  );
}

/** Why there is no account to show. */
export function NoAccount() {
  const { file, error } = usePage((page) => page.accounts);
  if (error) return <Empty title="The accounts file cannot be used."><p>{file}: {error}</p><p>As soon as it is mended, its accounts show up here.</p></Empty>;
  return <Empty title="There is no account."><p>Add one to the accounts file {file}; it shows up here at once.</p></Empty>;
}

/** A device's identifier, short enough for a line. */
export const shortId = (id: string): string => (id.length > 12 ? `${id.slice(0, 8)}…` : id);
