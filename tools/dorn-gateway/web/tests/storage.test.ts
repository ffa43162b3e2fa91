import assert from "node:assert/strict";
import { test } from "node:test";

import { storageOf } from "../src/storage";

const fails = (): never => {
  throw new Error("denied");
};

test("storage: one that is forbidden lives as long as the page", () => {
  const storages = [storageOf(fails), storageOf(() => ({ getItem: fails, setItem: fails }))];
  for (const storage of storages) {
    assert.equal(storage.getItem("a"), null);
    storage.setItem("a", "1");
    storage.setItem("a", "2");
    assert.equal(storage.getItem("a"), "2");
    assert.equal(storage.getItem("b"), null);
  }
});

test("storage: one that is full gives what was set last", () => {
  const storage = storageOf(() => ({ getItem: () => "old", setItem: fails }));
  assert.equal(storage.getItem("a"), "old");
  storage.setItem("a", "new");
  assert.equal(storage.getItem("a"), "new");
});

test("storage: what is set is kept by the browser", () => {
  const kept = new Map<string, string>();
  const storage = storageOf(() => ({
    getItem: (key) => kept.get(key) ?? null,
    setItem: (key, value) => void kept.set(key, value),
  }));
  storage.setItem("a", "1");
  assert.equal(kept.get("a"), "1");
  kept.set("a", "2"); // By another tab.
  assert.equal(storage.getItem("a"), "2");
});
