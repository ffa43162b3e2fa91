import assert from "node:assert/strict";
import { test } from "node:test";

import { Wakeup } from "../src/wakeup";

const pause = (ms: number): Promise<void> => new Promise((done) => setTimeout(done, ms));

test("wakeup: calls at the time that was set last", async () => {
  let calls = 0;
  const wakeup: Wakeup = new Wakeup(
    () => performance.now(),
    () => ++calls,
  );
  wakeup.set(performance.now() + 60_000);
  wakeup.set(performance.now() + 5);
  await pause(50);
  assert.equal(calls, 1);
  wakeup.set(performance.now() + 5);
  wakeup.set(null);
  await pause(50);
  assert.equal(calls, 1);
});

test("wakeup: a time that is a month away is not now", async () => {
  let calls = 0;
  const wakeup = new Wakeup(
    () => performance.now(),
    () => ++calls,
  );
  for (const seconds of [2_592_000, 9_223_372_036_854_775_807]) {
    wakeup.set(performance.now() + seconds * 1000);
    await pause(50);
    assert.equal(calls, 0);
  }
  wakeup.set(null);
});
