// Takes a picture of each view, with a phone on which something has happened:  node screenshots.mjs FOLDER
import { closeBrowser, World } from "./world.mjs";

const folder = process.argv[2];
const world = await World.start({ width: 1440, height: 960 });
const { page } = world;
const run = (...words) => world.api("POST", "phones/1/command", { words });

await world.addPhone();
for (const [name, metric] of [["product_viewed", 0], ["added_to_basket", 129], ["order_paid", 129]]) await run("action", name, JSON.stringify({ type: "shop", metric }));
await run("lead", JSON.stringify({ firstName: "Ada", email: "ada@example.com" }));
await run("advance", "60");
await run("background");
await run("foreground");
await run("action", "shop_opened");
await page.frameLocator('iframe[title="Message on the phone"]').locator(".message").waitFor();
await page.locator(".event-row").filter({ hasText: "order_paid" }).click();
for (const view of ["events", "timeline", "campaigns", "editor", "push", "devices", "account", "faults"]) {
  await page.evaluate((hash) => { location.hash = hash; }, view === "editor" ? "campaigns" : view);
  if (view === "editor") {
    await page.getByRole("button", { name: /^trail-club/ }).click();
    await page.frameLocator('iframe[title="Preview: Landscape"]').locator(".message").waitFor();
  }
  if (view === "events") await page.locator(".event-row").filter({ hasText: "order_paid" }).click();
  await page.waitForTimeout(800);
  await page.screenshot({ path: `${folder}/studio-${view}.png` });
}
await world.end();
await closeBrowser();
