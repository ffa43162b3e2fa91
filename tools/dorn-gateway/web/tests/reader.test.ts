// The gateway reads the texts of hosts; the page gets what it writes of them. So of the reader's
// vectors the page sees the strict form alone, and that must be JSON to a browser, too.

import assert from "node:assert/strict";
import { test } from "node:test";

import { vectorsOf } from "./vectors";

const vectors = vectorsOf("reader.json");
const of = (how: string) => vectors.filter((vector) => vector["how"] === how);

// Beyond what a browser can hold as a number: rounded there, and in no dialog of a host.
const rounded = "strict: large numbers keep their text";

for (const vector of of("strict").filter((each) => each.rule !== rounded)) {
  test(`reader: ${vector.rule}`, () => {
    assert.deepEqual(JSON.parse(vector["text"] as string), vector["json"]);
  });
}

test("reader: all other texts are the gateway's alone", () => {
  assert.equal(of("strict").length, 10);
  assert.equal(of("tolerant").length, 66);
  assert.equal(of("unreadable").length, 12);
});
