// The sample shop on the phone: its buttons are actions, sessions, and a profile.
import type { Phone } from "./api.ts";
import { useDraft } from "./drafts.ts";
import { campaignsOf, usePage } from "./store.ts";
import { Button, TextField } from "./ui.tsx";

type Run = (...words: (string | null)[]) => Promise<boolean>;

const GOODS: [id: string, name: string, price: number, mark: string][] = [
  ["trail-boots", "Trail boots", 129, "◮"],
  ["down-jacket", "Down jacket", 219, "◭"],
  ["two-person-tent", "Two-person tent", 349, "△"],
];

function Goods({ run }: { run: Run }) {
  return (
    <ul class="goods">
      {GOODS.map(([id, name, price, mark]) => (
        <li key={id}>
          <button type="button" class="goods-look" onClick={() => run("action", "product_viewed", JSON.stringify({ type: "view", details: id }))}>
            <span class="goods-mark" aria-hidden="true">{mark}</span>
            <span>{name}<small>{price} €</small></span>
          </button>
          <Button onClick={() => run("action", "added_to_basket", JSON.stringify({ type: "basket", details: id, metric: price, currency: "EUR" }))}>Add</Button>
        </li>
      ))}
    </ul>
  );
}

function Checkout({ phone, run }: { phone: Phone; run: Run }) {
  const [isOpen, setOpen] = useDraft(`checkout of ${phone.id}`, false);
  if (!isOpen) return <Button kind="main" onClick={async () => setOpen(await run("start-session", "checkout"))}>Go to the checkout</Button>;
  return (
    <div class="row">
      <Button kind="main" onClick={async () => { await run("action", "order_paid", JSON.stringify({ type: "purchase", metric: 129 })); setOpen(!(await run("end-session", "checkout"))); }}>Pay</Button>
      <Button onClick={async () => setOpen(!(await run("end-session", "checkout")))}>Leave the checkout</Button>
    </div>
  );
}

function Profile({ phone, run }: { phone: Phone; run: Run }) {
  const [person, setPerson] = useDraft(`profile of ${phone.id}`, { firstName: "Ada", email: "ada@example.com", city: "London" });
  const set = (name: keyof typeof person) => (value: string) => setPerson({ ...person, [name]: value });
  const save = async () => (await run("lead", JSON.stringify(person))) && run("action", "profile_created");
  return (
    <div class="profile">
      <TextField label="First name" value={person.firstName} onChange={set("firstName")} />
      <TextField label="E-mail" type="email" value={person.email} onChange={set("email")} />
      <TextField label="City" value={person.city} onChange={set("city")} />
      <Button kind="main" onClick={save}>Save the profile</Button>
    </div>
  );
}

/** An action of any name, with the events that the account's campaigns wait for at hand. */
function AnyAction({ phone, run }: { phone: Phone; run: Run }) {
  const [name, setName] = useDraft(`action of ${phone.id}`, "");
  const triggers = usePage((page) => campaignsOf(page).map((campaign) => campaign.display_trigger).filter((trigger) => typeof trigger === "string").join("\n"));
  return (
    <div class="any-action">
      <div class="row wrapped">
        {[...new Set(triggers.split("\n").filter(Boolean))].map((trigger) => <Button key={trigger} onClick={() => run("action", trigger)}>{trigger.slice(0, 40)}</Button>)}
      </div>
      <form class="row" onSubmit={(event) => { event.preventDefault(); if (name) void run("action", name); }}>
        <input aria-label="Name of an action" placeholder="any_action" value={name} onInput={(event) => setName(event.currentTarget.value)} />
        <button type="submit" class="button plain">Report</button>
      </form>
    </div>
  );
}

export function Shop({ phone, run }: { phone: Phone; run: Run }) {
  const [part, setPart] = useDraft(`shop of ${phone.id}`, "shop");
  const show = (name: string, trigger?: string) => { setPart(name); if (trigger) void run("action", trigger); };
  const parts: [string, string, string?][] = [["shop", "Shop", "shop_opened"], ["profile", "Profile"], ["actions", "Actions"]];
  return (
    <div class="shop">
      <h2><span aria-hidden="true">▲</span> Base Camp <small>{phone.version}</small></h2>
      <div class="shop-body">
        {part === "shop" && <><Goods run={run} /><Checkout phone={phone} run={run} /></>}
        {part === "profile" && <Profile phone={phone} run={run} />}
        {part === "actions" && <AnyAction phone={phone} run={run} />}
      </div>
      <nav class="shop-bar" aria-label="Shop">
        {parts.map(([name, text, trigger]) => <button type="button" key={name} aria-current={part === name ? "page" : undefined} onClick={() => show(name, trigger)}>{text}</button>)}
      </nav>
    </div>
  );
}
