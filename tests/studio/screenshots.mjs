// Takes a picture of each view, with a phone on which something has happened:  node screenshots.mjs FOLDER
import { closeBrowser, World } from "./world.mjs";

const folder = process.argv[2];
const world = await World.start({ width: 1440, height: 960, before: (world) => world.edit((file) => { file.accounts.acme.access_key = "key-1"; }) });
const { page } = world;
const phoneMessage = page.frameLocator('iframe[title="Message on the phone"]').locator(".message");

/** Each with what is done for its picture, and what tells that it is drawn. */
const VIEWS = {
  events: async () => {
    await page.locator(".event-row").filter({ hasText: "order_paid" }).click();
    await page.locator(".detail pre").waitFor();
  },
  timeline: async () => page.locator(".chart canvas").waitFor(),
  campaigns: async () => page.locator(".campaign-list li").first().waitFor(),
  editor: async () => {
    await page.getByRole("button", { name: /^trail-club/ }).click();
    for (const title of ["Preview: Landscape", "Layout: Full screen: picture"]) {
      await page.frameLocator(`iframe[title="${title}"]`).locator(".message").waitFor();
    }
  },
  push: async () => page.locator(".code .cm-content").waitFor(),
  devices: async () => page.getByRole("cell", { name: "Ada’s test phone" }).waitFor(),
  account: async () => page.locator(".account-view").waitFor(),
  faults: async () => page.getByText("struck 2 × of 2").first().waitFor(),
};

await world.addPhone();
await world.run("register-push", "a1b2c3d4e5f60718");
for (const [name, metric] of [["product_viewed", 0], ["added_to_basket", 129], ["order_paid", 129]]) {
  await world.run("action", name, JSON.stringify({ type: "shop", metric }));
}
await world.run("lead", JSON.stringify({ firstName: "Ada", email: "ada@example.com" }));
await world.run("open-url", (await world.api("GET", "link?account=acme")).link);
await world.run("answer", "1", "Ada’s test phone");
await page.locator(".alert .button.main").click();
world.edit((file) => { file.accounts.acme.misbehave = [{ endpoint: "report", status: 503, body: "", times: 2 }]; });
for (const words of [["advance", "60"], ["background"], ["drain"], ["foreground"], ["drain"], ["advance", "60"], ["background"], ["drain"], ["foreground"], ["drain"]]) await world.run(...words);
await page.locator(".event-row").filter({ hasText: "order_paid" }).waitFor();
await world.run("action", "shop_opened");
await phoneMessage.waitFor();
for (const [view, prepare] of Object.entries(VIEWS)) {
  await page.evaluate((hash) => { location.hash = hash; }, view === "editor" ? "campaigns" : view);
  await prepare();
  await page.screenshot({ path: `${folder}/studio-${view}.png` });
  if (view === "events") await world.tapMessage("close_button");
}
await world.end();
await closeBrowser();
