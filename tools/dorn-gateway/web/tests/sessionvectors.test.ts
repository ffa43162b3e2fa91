import assert from "node:assert/strict";
import { test } from "node:test";

import { isObject, Json, JsonObject, memberText } from "../src/json";
import { Scene } from "./scene";
import { Vector, vectorsOf } from "./vectors";

const isStep = (json: Json): json is JsonObject => isObject(json);

class Run {
  expectations = 0;
  private readonly scene = new Scene();
  private readonly touched = new Set<string>();

  take(step: JsonObject): void {
    const { scene } = this;
    const { session } = scene;
    if ("logIn" in step) {
      session.logIn(memberText(step, "logIn"), "p", scene.now);
      this.connect();
    } else if ("open" in step) {
      const members = { File: "d.json", SessionId: "s1", ...(step["open"] as JsonObject) };
      const told = Object.entries(members).filter(([, value]) => value !== null);
      scene.command({ Command: "OPEN", ...Object.fromEntries(told) });
    } else if ("cmd" in step) {
      scene.command(step["cmd"] as JsonObject);
    } else if ("fence" in step) {
      scene.fence(step["fence"] as number);
    } else if ("tree" in step) {
      this.sendTree(step["tree"]!);
    } else if ("act" in step) {
      assert.equal(this.act((step["act"] as JsonObject[])[0]!), step["sent"]);
    } else if ("wait" in step) {
      scene.wait(step["wait"] as number);
    } else if ("expect" in step) {
      this.expect(step["expect"] as JsonObject);
    } else {
      this.takeSwitch(step);
    }
  }

  private takeSwitch(step: JsonObject): void {
    const { scene } = this;
    const { session } = scene;
    if ("enter" in step) {
      session.enter(memberText(step, "enter"), scene.now);
    } else if ("refresh" in step) {
      session.refresh(scene.now);
    } else if ("stays" in step) {
      session.setStays(step["stays"] === true, scene.now);
    } else if ("logOut" in step) {
      session.logOut();
    } else if ("lost" in step) {
      session.closed(session.line, scene.now);
    } else if ("back" in step) {
      scene.wait(1000);
      assert.notEqual(session.line, 0);
      this.connect();
    } else {
      assert.fail(`unknown step ${JSON.stringify(step)}`);
    }
  }

  private connect(): void {
    this.scene.connect();
    this.scene.tell({ t: "up" });
  }

  private sendTree(tree: Json): void {
    if (isObject(tree)) this.scene.tree(tree);
    else this.scene.command({ Command: "PUTFILE", File: "d.json", Status: "ERROR" });
  }

  private act({ Name, ...attributes }: JsonObject): boolean {
    const { scene } = this;
    const name = String(Name);
    this.touched.add(name);
    scene.sent();
    const isTaken = scene.session.act(name, "CHANGE", [{ name, attributes }], scene.now);
    assert.equal(scene.sent().length, isTaken ? 1 : 0);
    return isTaken;
  }

  private expect(expected: JsonObject): void {
    ++this.expectations;
    for (const [key, wanted] of Object.entries(expected)) {
      assert.deepEqual(this.answer(key), wanted, key);
    }
  }

  private answer(key: string): Json {
    const { session } = this.scene;
    const { replica } = session;
    switch (key) {
      case "state":
      case "dialog":
      case "message":
      case "stays":
      case "quality":
        return session[key];
      case "cause":
        return session.getCause();
      case "values":
        return Object.fromEntries(
          replica.tree.root.children.map((each) => {
            return [each.name, replica.shownAttributes(each).get("Value") ?? null];
          }),
        );
      case "pending":
        return [...this.touched].filter((name) => replica.isPending(name));
      default:
        throw new Error(`unknown expectation ${key}`);
    }
  }
}

function run(vector: Vector): void {
  const run = new Run();
  for (const step of (vector["steps"] as Json[]).filter(isStep)) run.take(step);
  assert.ok(run.expectations > 0);
}

for (const vector of vectorsOf("session.json")) test(`session: ${vector.rule}`, () => run(vector));

test("session: there are vectors", () => assert.ok(vectorsOf("session.json").length > 25));
