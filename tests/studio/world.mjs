// A service with its studio, and a browser that looks at it. Everything ends with the world that started it.
import { spawn } from "node:child_process";
import { cpSync, existsSync, mkdtempSync, readFileSync, renameSync, rmSync, writeFileSync } from "node:fs";
import https from "node:https";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import path from "node:path";

const { STUDIO_SERVICE, STUDIO_MODULES, STUDIO_SOURCE } = process.env;
const require = createRequire(path.join(STUDIO_MODULES, "packages.js"));
const { chromium } = require("playwright-core");
export const axeSource = readFileSync(require.resolve("axe-core/axe.min.js"), "utf8");
export const examples = path.join(STUDIO_SOURCE, "examples");

/** For a busy machine. */
export const PATIENCE = 60_000;

/** One for all worlds. */
let browser;

export const closeBrowser = () => browser?.close();

export class World {
  static async start({ width = 1400, height = 1000, before = () => {} } = {}) {
    const world = new World();
    try {
      await world.begin(width, height, before);
    } catch (error) {
      await world.end();
      throw error;
    }
    return world;
  }

  async begin(width, height, before) {
    this.folder = mkdtempSync(path.join(tmpdir(), "studio-"));
    this.accountsFile = path.join(this.folder, "accounts.json");
    cpSync(path.join(examples, "accounts.json"), this.accountsFile);
    cpSync(path.join(examples, "campaigns/assets"), path.join(this.folder, "assets"), { recursive: true });
    before(this);
    await this.startService();
    browser ??= await chromium.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox", "--disable-quic", "--disable-dev-shm-usage"] });
    this.context = await browser.newContext({ viewport: { width, height }, reducedMotion: "reduce", locale: "en-GB" });
    this.context.setDefaultTimeout(PATIENCE);
    this.faults = [];
    this.page = await this.open();
  }

  async startService(studioPort = "0") {
    const ready = path.join(this.folder, "ready.json");
    rmSync(ready, { force: true });
    this.service = spawn(STUDIO_SERVICE, ["--data", path.join(this.folder, "data"), "--accounts", this.accountsFile, "--assets", path.join(this.folder, "assets"), "--studio", studioPort, "--ready-file", ready], { stdio: ["ignore", "ignore", "inherit"] });
    for (const end = Date.now() + PATIENCE; !existsSync(ready); await new Promise((resolve) => setTimeout(resolve, 20))) {
      if (Date.now() > end || this.service.exitCode !== null) throw new Error("the service did not start");
    }
    const { studio, port } = JSON.parse(readFileSync(ready, "utf8"));
    Object.assign(this, { address: studio, port });
  }

  /** Another page on the studio. What its policy or its console complains of is a fault. */
  async open(hash = "") {
    const page = await this.context.newPage();
    page.on("pageerror", (error) => this.faults.push(String(error)));
    page.on("console", (message) => message.type() === "error" && !/ERR_CONNECTION|ERR_INTERNET|ERR_INCOMPLETE|409/.test(message.text()) && this.faults.push(message.text()));
    await page.goto(this.address + hash);
    return page;
  }

  /** Replaces the accounts file as an editor does. */
  edit(edit) {
    const accounts = JSON.parse(readFileSync(this.accountsFile, "utf8"));
    edit(accounts);
    writeFileSync(`${this.accountsFile}.edited`, JSON.stringify(accounts, null, 2));
    renameSync(`${this.accountsFile}.edited`, this.accountsFile);
  }

  accounts() {
    return JSON.parse(readFileSync(this.accountsFile, "utf8")).accounts;
  }

  async api(method, question, body) {
    const origin = new URL(this.address).origin;
    const response = await fetch(`${this.address}api/${question}`, { method, headers: { Origin: origin }, body: body && JSON.stringify(body) });
    return response.json();
  }

  /** A command of the first phone's host. */
  run(...words) {
    return this.api("POST", "phones/1/command", { words });
  }

  /** Every stored event, parsed, in order of arrival. */
  async events(query = "") {
    const { total } = await this.api("GET", `events?count=0${query}`);
    const { rows } = await this.api("GET", `events?count=500&position=${Math.max(0, total - 500)}${query}`);
    return Promise.all(rows.map(async ({ id }) => JSON.parse((await this.api("GET", `events/${id}`)).event)));
  }

  /** Adds a phone by its button and waits until it has told of itself. */
  async addPhone(page = this.page) {
    await page.getByRole("button", { name: /^Add (a phone|one)$/ }).first().click();
    await page.getByRole("button", { name: "Kill" }).waitFor();
    await page.locator(".event-row").filter({ hasText: "init" }).first().waitFor();
  }

  /** What a device would send: events, one JSON object each, in one report. */
  report(events) {
    const body = events.map((event) => JSON.stringify(event)).join("\n");
    const headers = { Host: "acme.lumora.example", sec: this.accounts().acme.secret, uuid: "device-of-a-test", "Content-Length": Buffer.byteLength(body) };
    return new Promise((resolve, reject) => {
      const request = https.request({ host: "127.0.0.1", port: this.port, path: "/report/events/", method: "POST", headers, ca: readFileSync(path.join(this.folder, "data/ca.pem")), servername: "acme.lumora.example" }, (response) => {
        response.resume().on("end", () => resolve(response.statusCode));
      });
      request.on("error", reject).end(body);
    });
  }

  /** A person's tap into the message on the phone, whose frame is drawn smaller than it is. */
  async tapMessage(part, page = this.page) {
    const place = await page.locator('iframe[title="Message on the phone"]').boundingBox();
    const tapped = page.frameLocator('iframe[title="Message on the phone"]').locator(`#lmr-${part}`);
    const { x, y, width } = await tapped.evaluate((element) => {
      const { left, top, width: wide, height } = element.getBoundingClientRect();
      return { x: left + wide / 2, y: top + height / 2, width: innerWidth };
    });
    const scale = place.width / width;
    await page.mouse.click(place.x + x * scale, place.y + y * scale);
  }

  async end() {
    await this.context?.close();
    this.service?.kill("SIGTERM");
    if (this.service?.exitCode === null) await new Promise((resolve) => this.service.once("exit", resolve));
    rmSync(this.folder, { recursive: true, force: true });
  }
}
