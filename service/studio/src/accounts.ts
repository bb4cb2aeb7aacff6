// Changes to the accounts file.
import { send } from "./api.ts";
import type { AccountsFile, JSONValue } from "./api.ts";
import { accountOf, attempt, current, readAccounts, say, takeAccounts } from "./store.ts";

export interface Change {
  path: (string | number)[];
  value?: JSONValue;
}

/** Writes changes of the chosen account; who changed the file meanwhile has precedence, and the page says so. */
export async function writeAccount(...changes: Change[]): Promise<boolean> {
  const { account, accounts } = current();
  const whole = changes.map(({ path, ...rest }) => ({ path: ["accounts", account, ...path], ...rest }));
  return attempt(async () => {
    try {
      takeAccounts(await send<AccountsFile>("accounts", { revision: accounts.revision, changes: whole }));
    } catch (error) {
      await readAccounts();
      throw error;
    }
    say("Written to the accounts file.");
  });
}

/** Hosts take campaigns as new when this stamp has changed. */
export function nextStamp(): Change {
  const { lst } = accountOf(current());
  return { path: ["lst"], value: typeof lst === "number" ? lst + 1 : 1 };
}
