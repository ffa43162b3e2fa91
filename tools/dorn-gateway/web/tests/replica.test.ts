import assert from "node:assert/strict";
import { test } from "node:test";

import { isObject, Json, JsonObject, memberText } from "../src/json";
import { Replica, SetObject } from "../src/replica";
import type { TreeObject } from "../src/tree";
import { Vector, vectorsOf } from "./vectors";

function shownTree(replica: Replica, object: TreeObject): JsonObject {
  const json: JsonObject = Object.fromEntries(replica.shownAttributes(object));
  if (object.children.length > 0) {
    json["Objects"] = object.children.map((child) => shownTree(replica, child));
  }
  return json;
}

const object = (json: Json | undefined): JsonObject => {
  assert.ok(isObject(json));
  return json;
};
const list = (json: Json | undefined): Json[] => {
  assert.ok(Array.isArray(json));
  return json;
};

class Run {
  expectations = 0;
  private readonly replica = new Replica();
  private readonly touched: string[] = [];

  take(step: JsonObject): void {
    if ("open" in step) {
      this.replica.enter(memberText(step["open"], "Name"), null);
      this.replica.receiveTree(object(step["open"]), true);
    } else if ("enter" in step) {
      this.replica.enter(memberText(step, "enter"), (step["fence"] as number | undefined) ?? null);
    } else if ("fence" in step) {
      this.replica.receiveFence(step["fence"] as number);
    } else if ("cmds" in step) {
      for (const command of list(step["cmds"])) this.replica.receive(object(command));
    } else if ("cmd" in step) {
      this.replica.receive(object(step["cmd"]));
    } else if ("tree" in step) {
      if (step["tree"] === null) this.replica.receiveNoTree();
      else this.replica.receiveTree(object(step["tree"]), step["live"] === true);
    } else if ("act" in step) {
      this.act(step);
    } else if ("lost" in step) {
      this.replica.forgetActions();
    } else {
      this.expect(object(step["expect"]));
    }
  }

  private act(step: JsonObject): void {
    const objects = list(step["act"]).map((json): SetObject => {
      const { Name, ...attributes } = object(json);
      return { name: String(Name), attributes };
    });
    this.replica.act(objects, step["before"] as number, step["after"] as number);
    this.touched.push(...objects.map((each) => each.name));
  }

  private expect(expected: JsonObject): void {
    ++this.expectations;
    for (const [key, wanted] of Object.entries(expected)) {
      assert.deepEqual(this.answer(key), wanted, key);
    }
  }

  private answer(key: string): Json {
    switch (key) {
      case "tree":
        return shownTree(this.replica, this.replica.tree.root);
      case "state":
        return this.replica.state;
      case "wantsEntry":
        return this.replica.takeWantsEntry();
      case "pending":
        return [...new Set(this.touched)].filter((name) => this.replica.isPending(name));
      default:
        throw new Error(`unknown expectation ${key}`);
    }
  }
}

function run(vector: Vector): void {
  const run = new Run();
  for (const step of list(vector["steps"])) run.take(object(step));
  assert.ok(run.expectations > 0);
}

for (const vector of vectorsOf("replica.json")) test(`replica: ${vector.rule}`, () => run(vector));

test("replica: there are vectors", () => assert.ok(vectorsOf("replica.json").length > 90));

test("replica: what has changed is told by name, and all of it when objects move", () => {
  const replica = new Replica();
  replica.enter("d", null);
  replica.receiveTree({ Name: "d", Objects: [{ Name: "a" }, { Name: "g", Type: "GROUP" }] }, true);
  assert.ok(replica.changes.all);
  replica.changes.clear();
  replica.receive({ Command: "UPDATE", Objects: [{ Name: "a", Value: "1" }, { Name: "x" }] });
  assert.deepEqual([...replica.changes.names], ["a"]);
  assert.ok(!replica.changes.all);
  replica.receive({ Command: "UPDATE", Objects: [{ Name: "a", Order: 1 }] });
  assert.ok(replica.changes.all);
  replica.changes.clear();
  replica.receive({ Command: "ADD", Name: "g", Objects: [{ Name: "b" }] });
  assert.ok(replica.changes.all);
});

test("replica: an action marks its objects from its beginning to its end", () => {
  const replica = new Replica();
  replica.enter("d", null);
  replica.receiveTree({ Name: "d", Objects: [{ Name: "a" }] }, true);
  replica.changes.clear();
  replica.act([{ name: "a", attributes: { Value: "1" } }], 1, 2);
  assert.deepEqual([...replica.changes.names], ["a"]);
  assert.ok(replica.changes.isAwaited);
  replica.changes.clear();
  replica.receiveFence(1);
  replica.receive({ Command: "UPDATE", Objects: [{ Name: "a", Value: "2" }] });
  assert.ok(!replica.changes.isAwaited);
  replica.changes.clear();
  replica.receiveFence(2);
  assert.deepEqual([...replica.changes.names], ["a"]);
  assert.ok(replica.changes.isAwaited);
  assert.ok(!replica.isPending("a"));
});

test("replica: a text that was refused is taken back", () => {
  const replica = new Replica();
  replica.enter("d", null);
  replica.receiveTree({ Name: "d", Objects: [{ Name: "a", Value: "0" }] }, true);
  replica.act([{ name: "a", attributes: { Value: "1" } }], 1, 2);
  replica.act([{ name: "a", attributes: { Value: "2" } }], 3, 4);
  replica.takeBack(4);
  assert.equal(replica.shownAttributes(replica.tree.find("a")!).get("Value"), "1");
  replica.takeBack(2);
  assert.equal(replica.shownAttributes(replica.tree.find("a")!).get("Value"), "0");
});

test("replica: a grid's Data of null, beside another attribute, asks to enter again", () => {
  const replica = new Replica();
  replica.enter("d", null);
  replica.receiveTree({ Name: "d", Objects: [{ Name: "g", Type: "GRID", Data: [["1"]] }] }, true);
  replica.receive({ Command: "UPDATE", Objects: [{ Name: "g", Data: null, Title: "T" }] });
  assert.ok(replica.takeWantsEntry());
});

test("replica: a choice on its way leaves a button alone that is neither on nor off", () => {
  const replica = new Replica();
  replica.enter("d", null);
  const button = (Name: string, more: JsonObject = {}): JsonObject => {
    return { Name, Type: "RADIOBTN", ...more };
  };
  const buttons = [button("a", { Attr: "ON" }), button("b"), button("c")];
  const group = { Name: "g", Type: "GROUP", Layout: "RADIO", Objects: buttons };
  replica.receiveTree({ Name: "d", Objects: [group] }, true);
  replica.act([{ name: "b", attributes: { Attr: "ON" } }], 1, 2);
  const shown = (name: string): Json | undefined =>
    replica.shownAttributes(replica.tree.find(name)!).get("Attr");
  assert.deepEqual([shown("a"), shown("b"), shown("c")], ["OFF", "ON", undefined]);
});
