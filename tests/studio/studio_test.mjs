// Stories of the studio, each told in a browser with a service and phones of its own.
import assert from "node:assert/strict";
import http from "node:http";
import { after, afterEach, test } from "node:test";
import { axeSource, closeBrowser, PATIENCE, World } from "./world.mjs";

let world;

async function start(options) {
  world = await World.start(options);
  return world;
}

afterEach(async () => {
  const faults = world?.faults ?? [];
  await world?.end();
  world = undefined;
  assert.deepEqual(faults, [], "the page complained");
});

after(closeBrowser);

const row = (page, text) => page.locator(".event-row").filter({ hasText: text });
const button = (page, name) => page.getByRole("button", { name, exact: true });
const frame = (page) => page.frameLocator('iframe[title="Message on the phone"]');

async function until(look, what) {
  for (const end = Date.now() + PATIENCE; ; await new Promise((resolve) => setTimeout(resolve, 50))) {
    if (await look()) return;
    if (Date.now() > end) assert.fail(`this never came: ${what}`);
  }
}

/** The campaign that this event shows is on the phone. */
async function reportUntilShown(page, trigger) {
  await button(page, "Actions").click();
  await until(async () => {
    await page.locator(".any-action").getByRole("button", { name: trigger }).click();
    await page.waitForTimeout(200);
    // Also the same event once more, which would bring the message back after its tap.
    await world.api("POST", "phones/1/command", { words: ["drain"] });
    return (await world.api("GET", "state")).phones[0].screen !== undefined;
  }, `the message of ${trigger}`);
  await frame(page).locator(".message").waitFor();
}

test("a first launch shows up as a device with its init event", async () => {
  const { page } = await start();
  await world.addPhone();
  await row(page, "init").first().click();
  await page.getByText("The device told what it is").waitFor();
  assert.equal(JSON.parse(await page.getByLabel("The event as JSON").textContent()).event_type, "init");
  await page.getByRole("tab", { name: "Time line" }).click();
  await page.getByRole("cell", { name: "POST /report/events/" }).first().waitFor();
});

test("a campaign made in the form is shown on the phone, tapped, and its tap arrives", async () => {
  const { page } = await start();
  await page.getByRole("tab", { name: "Campaigns" }).click();
  await button(page, "New campaign").click();
  await page.getByLabel("Identifier").fill("my-own");
  await page.getByLabel("Event that shows it").fill("my_event");
  await page.getByLabel("Text", { exact: true }).first().fill("Made in the form");
  await page.getByText("The library keeps it.").waitFor();
  await page.frameLocator('iframe[title="Preview: Phone"]').getByText("Made in the form").waitFor();
  await button(page, "Publish").click();
  await until(() => world.accounts().acme.campaigns.some(({ cid }) => cid === "my-own"), "the campaign in the file");
  await page.getByRole("tab", { name: "Events" }).click();
  await world.addPhone();
  await reportUntilShown(page, "my_event");
  await frame(page).getByText("Made in the form").waitFor();
  await world.tapMessage("primary_button");
  await page.getByText("https://acme.example/").waitFor();
  await button(page, "+ a minute").click();
  await button(page, "Background").click();
  await row(page, "tapped").waitFor();
  const taps = (await world.events("&kind=inapp")).map(({ inapp }) => inapp);
  assert.deepEqual(taps.map(({ cid, subtype }) => [cid, subtype]), [["my-own", "tapped"]]);
});

test("every layout's preview equals the message on the phone", async () => {
  const { page } = await start({ width: 1900, height: 1300 });
  await world.addPhone();
  const size = { width: 390, height: 780 };
  for (const campaign of world.accounts().acme.campaigns) {
    const verdict = await world.api("POST", "verdict", campaign);
    assert.equal(verdict.kept, true, campaign.cid);
    await reportUntilShown(page, campaign.display_trigger);
    const [phone] = (await world.api("GET", "state")).phones;
    const shown = await world.api("GET", `phones/${phone.id}/screen`);
    // What is drawn depends on the description alone, so each is drawn in the same bare frame.
    const bare = await world.context.newPage();
    await bare.setViewportSize(size);
    await bare.goto(new URL(await (await fetch(`${world.address}message-address`)).text(), world.address).href);
    const pictureOf = async (description) => {
      await bare.evaluate((given) => window.showMessage(given), description);
      await bare.evaluate(() => Promise.all([...document.images].map((image) => image.decode())));
      return bare.screenshot();
    };
    const [preview, message] = [await pictureOf(verdict.description), await pictureOf(shown)];
    assert.ok(preview.equals(message), `the preview of ${campaign.cid} differs`);
    assert.ok(preview.length > 5000, "something is drawn");
    await bare.close();
    await world.tapMessage("close_button");
    await frame(page).locator(".message").waitFor({ state: "detached" });
  }
});

test("a bad campaign says the library's own reason", async () => {
  const { page } = await start();
  await page.goto(`${world.address}#campaigns`);
  await page.getByRole("button", { name: /^summer-sale/ }).click();
  await page.getByText("The library keeps it.").waitFor();
  await page.getByRole("tab", { name: "JSON" }).click().catch(() => {});
  const cases = [
    [(campaign) => { delete campaign.layout.background.radius; }, "Dropping campaign summer-sale due to radius have nil or bad value"],
    [(campaign) => { campaign.end_time = "tomorrow"; }, "due to end_time have nil or bad value"],
    [(campaign) => { campaign.layout.image.uri = "https://acme.lumora.example/assets/none.png"; }, "due to image uri have nil or bad value"],
    [(campaign) => { campaign.layout.image.uri = "https://elsewhere.example/a.png"; }, "Not fetched, as it lies elsewhere: https://elsewhere.example/a.png"],
  ];
  const good = world.accounts().acme.campaigns.find(({ cid }) => cid === "summer-sale");
  for (const [spoil, reason] of cases) {
    const campaign = structuredClone(good);
    spoil(campaign);
    const editor = page.locator(".side-json .cm-content");
    await editor.click();
    await page.keyboard.press("Control+a");
    await page.keyboard.insertText(JSON.stringify(campaign));
    await page.getByText("The library drops it.").waitFor();
    await page.getByText(reason).first().waitFor();
  }
});

test("offline, kill, relaunch, online: nothing lost, nothing twice", async () => {
  const { page } = await start();
  await world.addPhone();
  await page.getByRole("switch", { name: "Online" }).uncheck();
  await button(page, "Actions").click();
  const names = Array.from({ length: 12 }, (_, n) => `offline_${n}`);
  for (const name of names) {
    await page.getByLabel("Name of an action").fill(name);
    await button(page, "Report").click();
  }
  await until(async () => Number(await page.locator(".stored dd").first().textContent()) >= names.length, "the rows that wait");
  await button(page, "Kill").click();
  await page.getByText("The application was killed.").waitFor();
  await button(page, "Launch Base Camp").click();
  await button(page, "Kill").waitFor();
  await page.getByRole("switch", { name: "Online" }).check();
  await button(page, "+ an hour").click();
  await button(page, "Background").click();
  await page.getByLabel("Search in events").fill("offline_");
  await row(page, "offline_11").waitFor();
  await until(async () => (await page.locator(".count").textContent()) === "12 events", "all of them");
  const arrived = (await world.events("&search=offline_")).map(({ name }) => name);
  assert.deepEqual(arrived.sort(), names.sort());
});

test("a push, a deep link, secure mode from start to end", async () => {
  const { page } = await start();
  await world.addPhone();
  await page.getByRole("tab", { name: "Push" }).click();
  await page.getByRole("button", { name: /^Send to/ }).click();
  await page.getByRole("button", { name: /Your boots are on their way/ }).click();
  await page.getByText("http://acme.example/orders/1").waitFor();

  await page.getByRole("tab", { name: "Test devices" }).click();
  await page.getByRole("img", { name: "The link as a QR code" }).waitFor();
  await page.getByRole("button", { name: /^Open on/ }).click();
  await page.locator(".alert input").fill("Ada’s test phone");
  await page.locator(".alert .button.main").click();
  await page.getByRole("cell", { name: "Ada’s test phone" }).waitFor();
  await page.locator(".alert .button.main").click();

  await page.getByRole("tab", { name: "Account" }).click();
  await page.getByLabel("Access key").fill("key-1");
  await page.getByRole("button", { name: "Save" }).last().click();
  await page.getByRole("switch", { name: /secure_mode/ }).check();
  await until(() => world.accounts().acme.config.secure_mode === true && world.accounts().acme.access_key === "key-1", "the file");
  await button(page, "+ an hour").click();
  await button(page, "Background").click();
  await button(page, "Foreground").click();
  await until(async () => (await world.api("POST", "phones/1/command", { words: ["is-secure-mode"] })).result === true, "secure mode on the phone");
  await world.api("POST", "phones/1/command", { words: ["action", "while_unsigned"] });
  await page.getByRole("button", { name: /a signature$/ }).click();
  await until(async () => (await world.events()).some(({ name }) => name === "while_unsigned"), "the signed upload");
});

test("files changed by hand show up at once, and have precedence; unknown entries stay", async () => {
  const { page } = await start();
  await page.goto(`${world.address}#account`);
  await page.getByLabel("Secret").waitFor();
  world.editAccounts((file) => { file.accounts.acme.secret = "by-hand"; file.accounts.acme["x-own"] = [1, { deep: null }]; file["x-top"] = "kept"; });
  await until(async () => (await page.getByLabel("Secret").inputValue()) === "by-hand", "the secret from the file");
  await page.getByRole("switch", { name: "Blocked" }).check();
  await until(() => world.accounts().acme.blocked === true, "the switch in the file");
  assert.deepEqual(world.accounts().acme["x-own"], [1, { deep: null }]);
  const stale = await world.api("POST", "accounts", { revision: "0123", changes: [{ path: ["accounts", "acme", "secret"], value: "lost" }] });
  assert.match(stale.error, /changed meanwhile/);
  assert.equal(world.accounts().acme.secret, "by-hand");
});

test("100,000 events: the list scrolls, the page stays small, a new event shows at once", async (context) => {
  const { page } = await start();
  const named = (n) => ({ event_type: "checkpoint", name: `event ${n}`, timestamp: 1, metadata: "x".repeat(100) });
  for (let n = 0; n < 10; n += 1) await world.report(Array.from({ length: 10_000 }, (_, index) => named(n * 10_000 + index)));
  await page.getByText("100,000 events").waitFor();
  const list = page.getByRole("listbox");
  for (const share of [0, 1 / 3, 0.5, 0.999]) {
    const position = Math.floor(100_000 * share);
    await list.evaluate((element, top) => { element.scrollTop = top; }, position * 44);
    await row(page, `event ${99_999 - position - 1}`).waitFor();
    assert.ok((await page.locator(".event-row").count()) < 100, "only the rows in sight are drawn");
  }
  await list.press("Home");
  await row(page, "event 99999").waitFor();
  await page.evaluate(() => {
    new MutationObserver(() => {
      if (document.querySelector(".event-list")?.textContent.includes(`the newest one ${window.wanted}`)) window.seen ??= performance.timeOrigin + performance.now();
    }).observe(document.body, { subtree: true, childList: true, characterData: true });
  });
  const times = [];
  for (let n = 0; n < 10; n += 1) {
    await page.evaluate((wanted) => { delete window.seen; window.wanted = wanted; }, n);
    const sent = Date.now();
    await world.report([...Array.from({ length: 40 }, () => named(0)), { event_type: "checkpoint", name: `the newest one ${n}` }]);
    await page.waitForFunction(() => window.seen);
    times.push((await page.evaluate(() => window.seen)) - sent);
  }
  const client = await world.context.newCDPSession(page);
  await client.send("HeapProfiler.collectGarbage");
  const { usedSize } = await client.send("Runtime.getHeapUsage");
  context.diagnostic(`JavaScript heap ${Math.round(usedSize / 1e6)} MB; sent to seen ${times.sort((one, other) => one - other).map(Math.round).join(" ")} ms`);
  assert.ok(usedSize < 200e6, `the heap has ${usedSize} bytes`);
});

test("what is hostile stays text", async () => {
  const { page } = await start();
  const hostile = `<img src=x onerror="document.title='owned'"><script>document.title='owned'</script>\u202e\u0000\ud83c\udfd5 ﷽ ${"𐍈".repeat(50)}`;
  await page.evaluate(() => { window.name = "before"; });
  await world.api("POST", "phones", { name: hostile.replaceAll("\u0000", ""), account: "acme" });
  await page.getByRole("tab", { name: /img src/ }).waitFor();
  await world.api("POST", "phones/1/launch", { account: "acme" });
  await row(page, "init").first().waitFor();
  for (const name of [hostile.replaceAll("\u0000", ""), "x".repeat(1_000_000)]) await world.api("POST", "phones/1/command", { words: ["action", name] });
  for (const words of [["advance", "3600"], ["background"], ["drain"], ["advance", "3600"], ["foreground"], ["background"]]) await world.api("POST", "phones/1/command", { words });
  await row(page, "<img src=x").first().click();
  await page.getByText("<script>").first().waitFor();
  await row(page, "xxxxxxxx").first().click();
  await page.getByText("more characters").waitFor();
  world.editAccounts((file) => { file.accounts.acme.campaigns = [{ cid: hostile, status: hostile, display_trigger: hostile, layout: { type: hostile } }]; });
  await page.getByRole("tab", { name: "Campaigns" }).click();
  await page.getByRole("button", { name: /img src/ }).click();
  await page.getByText("The library drops it.").waitFor();
  assert.equal(await page.title(), "Studio");
  assert.equal(await page.locator("img[src=x]").count(), 0);
});

test("wrong token, foreign origin and path tricks are refused", async () => {
  await start();
  const { port, pathname } = new URL(world.address);
  const statusOf = (path, { method = "GET", headers = {} } = {}) => new Promise((resolve, reject) => {
    const request = http.request({ host: "127.0.0.1", port, path, method, headers: { Host: `127.0.0.1:${port}`, ...headers } }, (response) => { response.resume(); resolve(response.statusCode); });
    request.on("error", reject).end();
  });
  const own = `http://127.0.0.1:${port}`;
  assert.equal(await statusOf(`${pathname}api/state`), 200);
  assert.equal(await statusOf(`${pathname}api/phones`, { method: "POST", headers: { Origin: own } }), 200);
  for (const [path, options] of [
    ["/", {}], [`/${"0".repeat(32)}/`, {}], [`${pathname.slice(0, -2)}/api/state`, {}],
    [`${pathname}api/state`, { headers: { Host: "studio.example" } }],
    [`${pathname}api/state`, { headers: { Host: `localhost.studio.example:${port}` } }],
    [`${pathname}api/state`, { headers: { Origin: "https://studio.example" } }],
    [`${pathname}api/state`, { headers: { Origin: "null" } }],
    [`${pathname}api/state`, { headers: { "Sec-Fetch-Site": "cross-site" } }],
    [`${pathname}api/phones`, { method: "POST" }],
  ]) assert.equal(await statusOf(path, options), 403, path + JSON.stringify(options));
  for (const path of ["../data/ca.key", "api/assets/..%2Fdata%2Fca.key", "api/assets/%2Fetc%2Fpasswd", "api/assets/..%2faccounts.json", "studio.js/../../etc/passwd"]) {
    assert.notEqual(await statusOf(pathname + path), 200, path);
  }
  const messages = await (await fetch(`${world.address}message-address`)).text();
  assert.equal(await statusOf(messages), 200);
  assert.equal(await statusOf(`${messages.replace("message", "")}api/state`), 403, "the frame's token opens nothing else");
});

test("axe finds nothing serious on any view", async () => {
  const { page } = await start();
  await world.addPhone();
  for (const [scheme, width] of [["light", 1400], ["dark", 1400], ["light", 400]]) {
    await page.emulateMedia({ colorScheme: scheme });
    await page.setViewportSize({ width, height: 900 });
    for (const view of [...(width < 900 ? ["phone"] : []), "events", "timeline", "campaigns", "editor", "push", "devices", "account", "faults"]) {
      await page.evaluate((hash) => { location.hash = hash; }, view === "editor" ? "campaigns" : view);
      if (view === "editor") await page.getByRole("button", { name: /^welcome/ }).click();
      await page.waitForTimeout(300);
      await page.evaluate(axeSource);
      const { violations } = await page.evaluate(() => window.axe.run(document, { iframes: false, resultTypes: ["violations"] }));
      const serious = violations.filter(({ impact }) => impact === "serious" || impact === "critical");
      assert.deepEqual(serious.map(({ id, nodes }) => `${id}: ${nodes.map(({ html, failureSummary }) => `${html.slice(0, 160)} ${failureSummary}`).slice(0, 3).join(" | ")}`), [], `${view}, ${scheme}, ${width}`);
    }
  }
});
