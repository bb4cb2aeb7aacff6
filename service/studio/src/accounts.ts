// Changes to the accounts file.
import { send } from "./api.ts";
import type { AccountsFile, JSONValue } from "./api.ts";
import { accountOf, attempt, current, readAccounts, say, takeAccounts } from "./store.ts";

export interface Change {
  path: (string | number)[];
  value?: JSONValue;
}

/** Writes changes of the file; who changed it meanwhile has precedence, and the page says so. */
export async function writeFile(...changes: Change[]): Promise<boolean> {
  return attempt(async () => {
    try {
      takeAccounts(await send<AccountsFile>("accounts", { revision: current().accounts.revision, changes }));
    } catch (error) {
      await readAccounts();
      throw error;
    }
    say("Written to the accounts file.");
  });
}

/** Writes changes of the chosen account. */
export function writeAccount(...changes: Change[]): Promise<boolean> {
  const { account } = current();
  return writeFile(...changes.map((change) => ({ ...change, path: ["accounts", account, ...change.path] })));
}

/** Hosts take campaigns as new when this stamp has changed. */
export function nextStamp(): Change {
  const { lst } = accountOf(current());
  return { path: ["lst"], value: typeof lst === "number" ? lst + 1 : 1 };
}
