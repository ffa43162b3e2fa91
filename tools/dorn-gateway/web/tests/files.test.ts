import assert from "node:assert/strict";
import { test } from "node:test";

import { Files } from "../src/files";

const kDate = "2026-01-02 03:04:05";

function bring(files: Files, name: string, size: number): void {
  files.ask(name, 1);
  files.announce({ File: name, Date: kDate });
  files.receiveBytes(new ArrayBuffer(size));
}

test("files: copies of those that were not asked for for longest are dropped", () => {
  const files = new Files();
  for (let i = 0; i < 1000; ++i) bring(files, `${i}.png`, 1);
  const dates = [...Array(1000).keys()].map((i) => files.ask(`${i}.png`, 2));
  assert.equal(dates.filter((date) => date === kDate).length, 256);
  assert.equal(dates[999], kDate);
});

test("files: large ones are fewer", () => {
  const files = new Files();
  for (let i = 0; i < 10; ++i) bring(files, `${i}.png`, 10 << 20);
  const dates = [...Array(10).keys()].map((i) => files.ask(`${i}.png`, 2));
  assert.equal(dates.filter((date) => date === kDate).length, 6);
});

test("files: a copy that was dropped meanwhile is still the answer", () => {
  const files = new Files();
  bring(files, "a.png", 3);
  for (let i = 0; i < 300; ++i) files.ask(`${i}.png`, 2);
  files.ask("a.png", 3);
  for (let i = 0; i < 300; ++i) {
    files.announce({ Date: kDate });
    files.receiveBytes(new ArrayBuffer(1));
  }
  files.take();
  files.receiveAnswer({ File: "a.png", Status: "LATEST" });
  assert.equal(files.take()[0]?.bytes?.byteLength, 3);
});
