// Stories of the studio, each told in a browser with a service and phones of its own.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import http from "node:http";
import path from "node:path";
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

/** A switch shows what it stands for, so it moves when that has come about. */
async function turn(page, name, isOn) {
  const place = page.getByRole("switch", { name });
  await place.click();
  await until(async () => (await place.isChecked()) === isOn, `the switch ${name}`);
}

async function until(look, what) {
  for (const end = Date.now() + PATIENCE; ; await new Promise((resolve) => setTimeout(resolve, 50))) {
    if (await look()) return;
    if (Date.now() > end) assert.fail(`this never came: ${what}`);
  }
}

/** The campaign that this event shows comes to the phone with a sync, so the event is reported until it is there. */
async function reportUntilShown(page, trigger) {
  await button(page, "Actions").click();
  await until(async () => {
    const isReport = (request) => request.url().endsWith("/command") && request.postData()?.includes(trigger);
    const reported = page.waitForResponse((response) => isReport(response.request()));
    await page.locator(".any-action").getByRole("button", { name: trigger }).click();
    await reported;
    await world.run("drain");
    return (await world.api("GET", "state")).phones[0].screen !== undefined;
  }, `the message of ${trigger}`);
  await frame(page).locator(".message").waitFor();
}

/** What a frame of the page draws, above everything else and as large as a screen. */
async function pictureOf(page, title, [width, height]) {
  const element = page.locator(`iframe[title="${title}"]`);
  await element.evaluate((drawn, style) => {
    drawn.popover = "manual";
    drawn.showPopover();
    drawn.style.cssText = style;
  }, `position: fixed; inset: 0; width: ${width}px; height: ${height}px; margin: 0; padding: 0; background: white`);
  await page.frameLocator(`iframe[title="${title}"]`).locator(".message").evaluate(async (_, [wide, high]) => {
    while (innerWidth !== wide || innerHeight !== high) await new Promise(requestAnimationFrame);
    await Promise.all([...document.images].map((image) => image.decode()));
    await new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn)));
  }, [width, height]);
  const picture = await page.screenshot({ clip: { x: 0, y: 0, width, height } });
  await element.evaluate((drawn) => { drawn.hidePopover(); drawn.popover = null; drawn.removeAttribute("style"); });
  return picture;
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
  // What is begun is there again when one has looked elsewhere, and after a reload.
  await page.getByRole("tab", { name: "Account" }).click();
  await page.getByLabel("Access key").fill("begun");
  await page.reload();
  assert.equal(await page.getByLabel("Access key").inputValue(), "begun");
  await button(page, "Undo").click();
  await page.getByRole("tab", { name: "Campaigns" }).click();
  assert.equal(await page.getByLabel("Event that shows it").inputValue(), "my_event");
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
  const { page } = await start({ width: 1400, height: 1200 });
  await world.addPhone();
  const campaigns = world.accounts().acme.campaigns;
  assert.deepEqual(new Set(campaigns.map(({ layout }) => layout.type)).size, 6);
  for (const { cid, display_trigger: trigger } of campaigns) {
    await page.getByRole("tab", { name: "Campaigns" }).click();
    await page.getByRole("button", { name: new RegExp(`^${cid}`) }).click();
    await reportUntilShown(page, trigger);
    // Away from the pictures: of both the phone's message alone feels it.
    await page.mouse.move(1399, 1199);
    for (const [name, size] of [["Phone", [390, 844]], ["Tablet", [820, 1180]], ["Landscape", [844, 390]]]) {
      await until(async () => {
        const message = await pictureOf(page, "Message on the phone", size);
        assert.ok(message.length > 5000, "something is drawn");
        return message.equals(await pictureOf(page, `Preview: ${name}`, size));
      }, `a preview of ${cid}, ${name}, that equals the message`);
    }
    await button(page, "← Campaigns").click();
    await world.tapMessage("close_button");
    await frame(page).locator(".message").waitFor({ state: "detached" });
  }
});

test("a bad campaign says the library's own reason", async () => {
  const { page } = await start();
  await page.goto(`${world.address}#campaigns`);
  await page.getByRole("button", { name: /^summer-sale/ }).click();
  await page.getByText("The library keeps it.").waitFor();
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
  await turn(page, "Online", false);
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
  await turn(page, "Online", true);
  await button(page, "+ an hour").click();
  await button(page, "Background").click();
  await page.getByLabel("Search in events").fill("offline_");
  await row(page, "offline_11").waitFor();
  await until(async () => (await page.locator(".count").textContent()) === "12 events", "all of them");
  const arrived = (await world.events("&search=offline_")).map(({ name }) => name);
  assert.deepEqual(arrived.sort(), names.sort());
});

test("a service that was killed and comes back is followed again", async () => {
  const { page } = await start();
  await world.addPhone();
  const { status, stderr } = spawnSync(process.env.STUDIO_SERVICE, ["--data", path.join(world.folder, "data"), "--accounts", world.accountsFile, "--studio", "0"], { encoding: "utf8" });
  assert.equal(status, 1);
  assert.match(stderr, /is used by another studio/);
  world.service.kill("SIGKILL");
  await page.getByText("Disconnected, trying again").waitFor();
  const accounts = readFileSync(world.accountsFile);
  writeFileSync(world.accountsFile, '{"accounts": ');
  await world.startService(new URL(world.address).port);
  await page.getByText("Live", { exact: true }).waitFor();
  const other = await world.open("#campaigns");
  await other.getByText("The accounts file cannot be used.").waitFor();
  writeFileSync(world.accountsFile, accounts);
  await other.getByRole("button", { name: /^welcome/ }).waitFor();
  writeFileSync(world.accountsFile, "[]");
  await other.getByText("it has no object").first().waitFor();
  await other.reload();
  await other.getByRole("button", { name: /^welcome/ }).waitFor();
  await other.getByText("it has no object").first().waitFor();
  writeFileSync(world.accountsFile, accounts);
  await other.getByText("it has no object").first().waitFor({ state: "detached" });
  await other.close();
  await button(page, "Launch Base Camp").click();
  await button(page, "Kill").waitFor();
  await page.getByRole("tab", { name: "Log" }).click();
  await page.getByLabel("Log of the library").getByText("initialized").first().waitFor();
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
  await turn(page, /secure_mode/, true);
  await until(() => world.accounts().acme.config.secure_mode === true && world.accounts().acme.access_key === "key-1", "the file");
  await button(page, "+ an hour").click();
  await button(page, "Background").click();
  await button(page, "Foreground").click();
  await until(async () => (await world.run("is-secure-mode")).result === true, "secure mode on the phone");
  await world.run("action", "while_unsigned");
  // What is stored by now goes out with the signature.
  await world.run("drain");
  await page.getByRole("button", { name: /a signature$/ }).click();
  await until(async () => (await world.events()).some(({ name }) => name === "while_unsigned"), "the signed upload");
});

test("files changed by hand show up at once, and have precedence; unknown entries stay", async () => {
  const { page } = await start();
  await page.goto(`${world.address}#account`);
  await page.getByLabel("Secret").waitFor();
  world.edit((file) => { file.accounts.acme.secret = "by-hand"; file.accounts.acme["x-own"] = [1, { deep: null }]; file["x-top"] = "kept"; });
  await until(async () => (await page.getByLabel("Secret").inputValue()) === "by-hand", "the secret from the file");
  await turn(page, "Blocked", true);
  await until(() => world.accounts().acme.blocked === true, "the switch in the file");
  assert.deepEqual(world.accounts().acme["x-own"], [1, { deep: null }]);
  const stale = await world.api("POST", "accounts", { revision: "0123", changes: [{ path: ["accounts", "acme", "secret"], value: "lost" }] });
  assert.match(stale.error, /changed meanwhile/);
  assert.equal(world.accounts().acme.secret, "by-hand");
  world.edit((file) => { file.accounts.acme.misbehave = ["odd", { status: 503, "x-own": 1 }]; });
  await page.getByRole("tab", { name: "Faults" }).click();
  await page.getByText('{"status":503,"x-own":1}').waitFor();
  await turn(page, "Sends half of the answer", true);
  assert.deepEqual(world.accounts().acme.misbehave, ["odd", { status: 503, "x-own": 1 }, { endpoint: "all", truncate: true }]);
  await page.getByText('"odd"').locator("..").getByRole("button", { name: "Remove" }).click();
  await until(() => world.accounts().acme.misbehave.length === 2, "the entry's end");

  const idsOf = () => world.accounts().acme.campaigns.map(({ cid, display_trigger: trigger }) => `${cid} ${trigger}`);
  const before = idsOf();
  await page.getByRole("tab", { name: "Campaigns" }).click();
  await page.getByRole("button", { name: /^summer-sale/ }).click();
  await page.getByLabel("Event that shows it").fill("sale_opened");
  world.edit((file) => file.accounts.acme.campaigns.unshift({ ...file.accounts.acme.campaigns[0], cid: "by-hand" }));
  await (await page.waitForResponse(/api\/accounts/)).finished();
  await page.evaluate(() => new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn))));
  await button(page, "Publish").click();
  await button(page, "New campaign").waitFor();
  assert.deepEqual(idsOf(), ["by-hand profile_created", ...before].map((one) => one.replace("shop_opened", "sale_opened")));
  await button(page, "Remove").first().click();
  await button(page, "Cancel").click();
  await button(page, "Remove").first().click();
  await button(page, "Remove it").click();
  await until(() => idsOf().length === before.length && !idsOf()[0].startsWith("by-hand"), "the removed campaign");
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
  for (const name of [hostile.replaceAll("\u0000", ""), "x".repeat(1_000_000)]) await world.run("action", name);
  for (const words of [["advance", "3600"], ["background"], ["drain"], ["advance", "3600"], ["foreground"], ["background"]]) await world.run(...words);
  await row(page, "<img src=x").first().click();
  await page.getByText("<script>").first().waitFor();
  await row(page, "xxxxxxxx").first().click();
  await page.getByText("more characters").waitFor();
  world.edit((file) => { file.accounts.acme.campaigns = [{ cid: hostile, status: hostile, display_trigger: hostile, layout: { type: hostile } }]; });
  await page.getByRole("tab", { name: "Campaigns" }).click();
  await page.getByRole("button", { name: /img src/ }).click();
  await page.getByText("The library drops it.").waitFor();
  await button(page, "← Campaigns").click();
  // Names that every object has are nothing but names.
  world.edit((file) => { file.accounts.acme.campaigns = ["constructor", "__proto__", "toString"].map((name) => ({ cid: name, status: name, display_frequency: name, layout: { type: name, [name]: name } })); });
  await world.report(["constructor", "__proto__", "toString"].map((name) => ({ event_type: name, push: { subtype: name } })));
  await page.getByRole("button", { name: /^toString/ }).click();
  await page.getByText("The library drops it.").waitFor();
  await page.getByRole("tab", { name: "Events" }).click();
  await row(page, "toString").click();
  await page.getByText("An event of another kind.").waitFor();
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

test("a browser's pages share one stream, which ends while nobody sees them", async () => {
  const { page } = await start();
  const pages = [page];
  while (pages.length < 16) pages.push(await world.open("#timeline"));
  for (const one of pages) await one.getByText("Live", { exact: true }).waitFor();
  await world.report([{ event_type: "checkpoint", name: "seen by all" }]);
  for (const one of pages.slice(1)) await one.getByRole("cell", { name: "POST /report/events/" }).first().waitFor();

  const others = [];
  const follow = () => new Promise((resolve) => others.push(http.get(`${world.address}live`, { agent: false }, resolve).on("error", () => {})));
  while (others.length < 15) assert.equal((await follow()).statusCode, 200);
  assert.equal((await follow()).statusCode, 503, "the browser has one of 16");
  const see = (one, isSeen) => one.evaluate((hidden) => {
    Object.defineProperty(document, "hidden", { value: hidden, configurable: true });
    document.dispatchEvent(new Event("visibilitychange"));
  }, !isSeen);
  for (const one of pages) await see(one, false);
  await until(async () => (await follow()).statusCode === 200, "the stream's end");
  others.forEach((request) => request.destroy());
  await world.report([{ event_type: "checkpoint", name: "seen by nobody" }]);
  assert.equal(await row(page, "seen by nobody").count(), 0);
  await see(page, true);
  await row(page, "seen by nobody").waitFor();
});

/** What tells that a view is drawn. */
const VIEWS = { phone: ".phones .shop", events: ".event-row", timeline: ".chart canvas", campaigns: ".campaign-list li", editor: ".verdict.good", push: ".code", devices: "svg.qr", account: ".account-view", faults: ".switches" };

test("axe finds nothing serious on any view", async () => {
  const { page } = await start();
  await world.addPhone();
  for (const [scheme, width] of [["light", 1400], ["dark", 1400], ["light", 400]]) {
    await page.emulateMedia({ colorScheme: scheme });
    await page.setViewportSize({ width, height: 900 });
    for (const [view, sign] of Object.entries(VIEWS)) {
      if (view === "phone" && width > 900) continue;
      await page.evaluate((hash) => { location.hash = hash; }, view === "editor" ? "campaigns" : view);
      if (view === "editor") await page.getByRole("button", { name: /^welcome/ }).click();
      await page.locator(sign).first().waitFor();
      await page.evaluate(axeSource);
      const { violations } = await page.evaluate(() => window.axe.run(document, { iframes: false, resultTypes: ["violations"] }));
      const serious = violations.filter(({ impact }) => impact === "serious" || impact === "critical");
      if (view === "editor") await button(page, "← Campaigns").click();
      assert.deepEqual(serious.map(({ id, nodes }) => `${id}: ${nodes.map(({ html, failureSummary }) => `${html.slice(0, 160)} ${failureSummary}`).slice(0, 3).join(" | ")}`), [], `${view}, ${scheme}, ${width}`);
    }
  }
});
