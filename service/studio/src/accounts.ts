// Changes to the accounts file.
import { send } from "./api.ts";
import type { AccountsFile, JSONValue } from "./api.ts";
import { accountOf, askAccounts, attempt, current, readAccounts, say } from "./store.ts";

export interface Change {
  path: (string | number)[];
  value?: JSONValue;
}

/** What follows from the file is found out when its turn has come. */
type Changes = () => Change[];

async function write(changes: Changes): Promise<void> {
  try {
    await askAccounts(() => send<AccountsFile>("accounts", { revision: current().accounts.revision, changes: changes() }));
  } catch (error) {
    await readAccounts();
    throw error;
  }
  say("Written to the accounts file.");
}

let last = Promise.resolve(true);

/**
 * Writes changes of the file; who changed it meanwhile has precedence, and the page says so. One after the other, so
 * that the page does not take its own last change for somebody else's.
 */
function inTurn(changes: Changes): Promise<boolean> {
  last = last.then(() => attempt(() => write(changes)));
  return last;
}

export const writeFile = (change: Change): Promise<boolean> => inTurn(() => [change]);

/** Writes a change of the chosen account. */
export function writeAccount({ path, ...rest }: Change): Promise<boolean> {
  return writeFile({ path: ["accounts", current().account, ...path], ...rest });
}

/** Writes a change of the account's campaigns, with the stamp by which hosts see that there is something new. */
export function writeCampaign({ path, ...rest }: Change): Promise<boolean> {
  const { account } = current();
  return inTurn(() => {
    const { lst } = accountOf(current());
    const stamp = typeof lst === "number" ? lst + 1 : 1;
    return [{ path: ["accounts", account, "campaigns", ...path], ...rest }, { path: ["accounts", account, "lst"], value: stamp }];
  });
}
