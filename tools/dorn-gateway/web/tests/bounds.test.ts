// What a host may go on with for ever takes up no more and more.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Trends } from "../src/trends";
import { Scene } from "./scene";

const kEver = 201_000;

test("bounds: a host that tells of changes and never sends the tree is left, and tried again", () => {
  const scene = new Scene().show();
  scene.session.refresh(scene.now);
  scene.fence(3);
  for (let i = 0; i < kEver && scene.session.state === "entering"; ++i) {
    scene.command({ Command: "UPDATE", Objects: [{ Name: "a", Value: String(i) }] });
  }
  assert.equal(scene.session.state, "waiting");
  assert.equal(scene.session.getCause(), "hostLost");
  scene.wait(600);
  scene.connect();
  scene.tell({ t: "up" });
  scene.tree({ Name: "d", Objects: [{ Name: "a", Value: "7" }] });
  assert.equal(scene.shown(), "7");
});

test("bounds: a dialog that is shown takes any number of changes", () => {
  const scene = new Scene().show();
  for (let i = 0; i < kEver; ++i) {
    scene.command({ Command: "UPDATE", Objects: [{ Name: "a", Value: String(i) }] });
  }
  assert.equal(scene.session.state, "showing");
});

test("bounds: trends are kept of the names that came last", () => {
  const trends = new Trends();
  for (let i = 0; i < 20_000; ++i) trends.add(`n${i}`, i, i);
  assert.equal(trends.of("n0").length, 0);
  assert.equal(trends.of("n19999").length, 1);
  assert.equal(trends.of("n10000").length, 1);
});

test("bounds: of many dialogs that a host opens in one go the last is entered", () => {
  const scene = new Scene().show();
  for (let i = 0; i < 1000; ++i) scene.open({ DialogName: `d${i}` });
  const entered = scene.words().length;
  assert.ok(entered > 0 && entered < 50, `${entered} entries`);
  for (let fence = 3; fence < 3 + 2 * entered; ++fence) {
    if (fence % 2 === 0) scene.tree({ Name: "any", Objects: [{ Name: "a", Value: "1" }] });
    scene.fence(fence);
  }
  assert.equal(scene.session.dialog, "d999");
  assert.equal(scene.words().length, 1);
});
