// Files that a session asks for.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Scene } from "./scene";

test("session: files come in the order in which they were asked for, and are kept by their date", () => {
  const scene = new Scene().show();
  assert.ok(!scene.session.getFile("folder", scene.now));
  assert.ok(scene.session.getFile("a.png", scene.now));
  assert.ok(scene.session.getFile("b.png", scene.now));
  assert.deepEqual(scene.words(), [
    ["GETFILE", "?"],
    ["GETFILE", "?"],
  ]);
  const head = { File: "a.png", Date: "2026-01-02 03:04:05" };
  scene.tell({ t: "file", head, live: false, bytes: 2 });
  scene.session.receivedBytes(scene.session.line, new ArrayBuffer(2), scene.now);
  scene.tell({ t: "file", head: { File: "b.png" }, live: false, bytes: 0, missing: true });
  const files = scene.session.takeFiles().map(({ name, bytes }) => [name, bytes?.byteLength]);
  assert.deepEqual(files, [
    ["a.png", 2],
    ["b.png", undefined],
  ]);
  scene.session.getFile("a.png", scene.now);
  assert.equal(scene.sent()[0]?.[0]?.["Date"], "2026-01-02 03:04:05");
  scene.command({ Command: "PUTFILE", File: "a.png", Status: "LATEST" });
  assert.equal(scene.session.takeFiles()[0]?.bytes?.byteLength, 2);
});

test("session: files that were under way when the line was lost are told", () => {
  const scene = new Scene().show();
  scene.session.getFile("a.png", scene.now);
  scene.session.getFile("b.png", scene.now);
  scene.command({ Command: "PUTFILE", File: "a.png", Status: "ERROR" });
  scene.session.refresh(scene.now);
  assert.deepEqual(scene.session.takeLostFiles(), []);
  scene.session.closed(scene.session.line, scene.now);
  assert.deepEqual(scene.session.takeLostFiles(), ["b.png"]);
  assert.deepEqual(scene.session.takeLostFiles(), []);
});

test("session: a file that the gateway brings as a tree is one of those that were asked for", () => {
  const scene = new Scene().show();
  scene.session.getFile("recipe.json", scene.now);
  scene.session.getFile("a.png", scene.now);
  const head = { Command: "PUTFILE", File: "recipe.json", Date: "2026-01-02 03:04:05" };
  scene.tell({ t: "file", head, live: false, tree: { Flour: 500 } });
  scene.command({ Command: "PUTFILE", File: "a.png", Status: "ERROR" });
  const files = scene.session.takeFiles();
  assert.deepEqual(
    files.map(({ name }) => name),
    ["recipe.json", "a.png"],
  );
  assert.deepEqual(JSON.parse(new TextDecoder().decode(files[0]?.bytes ?? undefined)), { Flour: 500 });
  assert.equal(scene.session.replica.state, "live");
  assert.equal(scene.shown(), "0");
});
