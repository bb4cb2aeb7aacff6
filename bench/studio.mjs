// From the click on a button of the phone until the event is a row of the list: through the host, the library with its
// database, an upload over TLS, the service with its database, the stream, and the page.
import { closeBrowser, World } from "../tests/studio/world.mjs";

const taps = Number(process.argv[2]);
const world = await World.start();
const { page } = world;
await world.addPhone();
await page.getByRole("button", { name: "Actions", exact: true }).click();
const times = [];
for (let n = 1; n <= taps; n += 1) {
  // The library lets five seconds pass between two uploads that actions ask for.
  await world.run("advance", "6");
  await world.run("drain");
  await page.getByLabel("Name of an action").fill(`tap ${n} of ${taps}`);
  await page.evaluate((name) => {
    window.seen = new Promise((resolve) => {
      let clicked = 0;
      addEventListener("click", () => { clicked = performance.now(); }, { capture: true, once: true });
      const watch = new MutationObserver(() => {
        if (!document.querySelector(".event-list").textContent.includes(name)) return;
        watch.disconnect();
        resolve(performance.now() - clicked);
      });
      watch.observe(document.querySelector(".event-list"), { subtree: true, childList: true, characterData: true });
    });
  }, `tap ${n} of ${taps}`);
  await page.getByRole("button", { name: "Report", exact: true }).click();
  times.push(await page.evaluate(() => window.seen));
}
await world.end();
await closeBrowser();
times.sort((one, other) => one - other);
const share = (part) => `${times[Math.min(taps - 1, Math.floor(taps * part))].toFixed(1)} ms`;
console.log(`from a tap on the phone to the list, ${taps} taps: p50 ${share(0.5)}, p95 ${share(0.95)}; goal: p50 at most 100 ms`);
process.exitCode = times[Math.floor(taps / 2)] <= 100 ? 0 : 1;
