import assert from "node:assert/strict";
import { test } from "node:test";

import { Pictures } from "../src/pictures";

class Scene {
  readonly asked: string[] = [];
  readonly pictures = new Pictures((name) => this.asked.push(name) > 0);
}

test("pictures: each is asked for once, and again when its answer was lost", () => {
  const { asked, pictures } = new Scene();
  pictures.get("a.png");
  pictures.get("a.png");
  pictures.get("b.png");
  assert.deepEqual(asked, ["a.png", "b.png"]);
  pictures.lose("a.png");
  pictures.get("a.png");
  pictures.get("b.png");
  assert.deepEqual(asked, ["a.png", "b.png", "a.png"]);
});

test("pictures: those that were not shown for longest are dropped, and asked for again", () => {
  const { asked, pictures } = new Scene();
  const made: string[] = [];
  const revoked: string[] = [];
  const { createObjectURL, revokeObjectURL } = URL;
  URL.createObjectURL = () => `blob:${made.push("")}`;
  URL.revokeObjectURL = (url) => void revoked.push(url);
  for (let i = 0; i < 1000; ++i) {
    pictures.beginPass();
    pictures.get("first.png");
    pictures.get(`${i}.png`);
    if (i === 0) pictures.receive("first.png", new ArrayBuffer(1));
    pictures.receive(`${i}.png`, new ArrayBuffer(1));
    pictures.endPass();
  }
  assert.equal(made.length - revoked.length, 256);
  assert.ok(!revoked.includes("blob:1"));
  assert.ok(revoked.includes("blob:2"));
  asked.length = 0;
  assert.ok(pictures.get("999.png")?.url);
  assert.equal(pictures.get("0.png"), undefined);
  assert.deepEqual(asked, ["0.png"]);
  Object.assign(URL, { createObjectURL, revokeObjectURL });
});

test("pictures: as many as are shown at a time are kept", () => {
  const { asked, pictures } = new Scene();
  for (let pass = 0; pass < 3; ++pass) {
    pictures.beginPass();
    for (let i = 0; i < 300; ++i) {
      pictures.get(`${i}.png`);
      if (pass === 0) pictures.receive(`${i}.png`, null);
    }
    pictures.endPass();
  }
  assert.equal(asked.length, 300);
});
