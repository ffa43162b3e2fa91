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
