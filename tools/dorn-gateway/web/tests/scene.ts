// A session with the gateway and the host played by the test, and a clock of its own.

import assert from "node:assert/strict";

import type { JsonObject } from "../src/json";
import { Session } from "../src/session";

export type Command = JsonObject & { Command: string; File?: string };

export class Scene {
  now = 1000;
  readonly session = new Session({ station: { width: 1, height: 2 }, random: () => 0.5 });

  connect(): void {
    this.session.connected(this.session.line, this.now);
  }

  tell(frame: JsonObject): void {
    this.session.receivedText(this.session.line, JSON.stringify(frame), this.now);
  }

  command(c: JsonObject): void {
    this.tell({ t: "cmd", c });
  }

  /** The commands that have been sent since the last question, text by text. */
  sent(): Command[][] {
    return this.session.takeOutput().map((text) => {
      const read = JSON.parse(text) as Command & { Commands?: Command[] };
      return read.Commands ?? [read];
    });
  }

  /** Their words alone; a fence as "?". */
  words(): string[][] {
    return this.sent().map((text) =>
      text.map((each) => (each.File?.startsWith("?f") ? "?" : each.Command)),
    );
  }

  fence(number: number): void {
    this.command({ Command: "PUTFILE", File: `?f${number}`, Status: "ERROR" });
  }

  tree(tree: JsonObject): void {
    const head = { Command: "PUTFILE", File: "d.json" };
    this.tell({ t: "file", head, live: true, tree });
  }

  open(members: JsonObject = {}): void {
    this.command({ Command: "OPEN", File: "d.json", SessionId: "s1", ...members });
  }

  /** Logged in, and the dialog d is shown. */
  show(open: JsonObject = {}): this {
    this.session.logIn("u", "p", this.now);
    this.connect();
    this.tell({ t: "up" });
    this.open(open);
    this.fence(1);
    this.tree({ Name: "d", Objects: [{ Name: "a", Type: "EDIT", Value: "0" }] });
    this.fence(2);
    this.sent();
    assert.equal(this.session.state, "showing");
    return this;
  }

  /** Logged in, and the host leaves the dialog's file to the station. */
  openLeftToStation(hasLocalFiles: boolean): this {
    this.session.logIn("u", "p", this.now);
    this.connect();
    this.sent();
    this.tell({ t: "hello", menu: [], local: hasLocalFiles });
    this.open({ FileSource: "STATION" });
    return this;
  }

  act(value: string): boolean {
    const objects = [{ name: "a", attributes: { Value: value } }];
    return this.session.act("a", "CHANGE", objects, this.now);
  }

  wait(ms: number): void {
    const end = this.now + ms;
    for (let next = this.session.nextTick(); next !== null && next <= end; ) {
      this.now = Math.max(this.now, next);
      this.session.tick(this.now);
      const then = this.session.nextTick();
      assert.notEqual(then, next, "a tick that changes nothing");
      next = then;
    }
    this.now = end;
    this.session.tick(end);
  }

  shown(): string | undefined {
    const { replica } = this.session;
    const object = replica.tree.find("a");
    return object && (replica.shownAttributes(object).get("Value") as string);
  }
}
