// Logging in, acting, and what becomes of a line.

import assert from "node:assert/strict";
import { test } from "node:test";

import type { JsonObject } from "../src/json";
import { Scene } from "./scene";

test("session: the connection is wanted at the first log-in, and not before", () => {
  const scene = new Scene();
  assert.equal(scene.session.line, 0);
  scene.session.logIn("u", "p", scene.now);
  assert.equal(scene.session.line, 1);
  assert.deepEqual(scene.sent(), []);
  scene.connect();
  assert.deepEqual(scene.sent(), [
    [{ Command: "HELLO", Id: "u", Pass: "p", Type: "STATION", ResolutionH: 1, ResolutionV: 2 }],
  ]);
});

test("session: a wrong password, and a new line for the next attempt", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.command({ Command: "ERROR", Status: "Authentication", Message: "no" });
  assert.equal(scene.session.getCause(), "wrongPassword");
  assert.equal(scene.session.message, "no");
  assert.equal(scene.session.line, 0);
  scene.session.logIn("u", "q", scene.now);
  assert.equal(scene.session.line, 2);
  assert.equal(scene.session.getCause(), "none");
});

test("session: a host that cannot be reached, and a gateway that refuses", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.tell({ t: "down", why: "connection refused" });
  assert.equal(scene.session.getCause(), "cannotConnect");
  assert.equal(scene.session.message, "connection refused");
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.tell({ t: "refused", why: "too often" });
  assert.equal(scene.session.getCause(), "refused");
  assert.equal(scene.session.message, "too often");
});

test("session: a gateway that does not answer is waited for ten seconds", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.wait(9999);
  assert.equal(scene.session.state, "loggingIn");
  scene.wait(1);
  assert.equal(scene.session.getCause(), "cannotConnect");
});

test("session: a change travels between two fences, and its quality is the time between them", () => {
  const scene = new Scene().show();
  assert.ok(scene.act("1"));
  assert.deepEqual(scene.sent(), [
    [
      { Command: "GETFILE", File: "?f3" },
      {
        Command: "CONDITION",
        ActionName: "a",
        ActionType: "CHANGE",
        Objects: [{ Name: "a", Value: "1" }],
      },
      { Command: "GETFILE", File: "?f4" },
    ],
  ]);
  assert.equal(scene.shown(), "1");
  scene.command({ Command: "UPDATE", Objects: [{ Name: "a", Value: "other" }] });
  assert.equal(scene.shown(), "1");
  scene.fence(3);
  scene.now += 7;
  assert.ok(scene.session.replica.isPending("a"));
  scene.fence(4);
  assert.ok(!scene.session.replica.isPending("a"));
  assert.equal(scene.session.quality, 7);
  assert.equal(scene.shown(), "1");
});

test("session: too long a text is not sent", () => {
  const scene = new Scene().show();
  assert.ok(!scene.act("x".repeat(524286)));
  assert.deepEqual(scene.sent(), []);
  assert.equal(scene.shown(), "0");
});

test("session: a refused text is taken back, the one that is named or else the last", () => {
  for (const [n, remaining] of [
    [2, "2"],
    [undefined, "1"],
  ] as const) {
    const scene = new Scene().show();
    scene.act("1");
    scene.act("2");
    const ordinal: JsonObject = n === undefined ? {} : { n: n + 1 };
    scene.tell({ t: "refused", why: "no", ...ordinal });
    assert.deepEqual(scene.session.takeRefused(), [{ names: ["a"], why: "no" }]);
    assert.equal(scene.shown(), remaining);
    scene.wait(4999);
    assert.equal(scene.session.getCause(), "none");
  }
});

test("session: a host that does not answer within 5 s is said to, until it does", () => {
  const scene = new Scene().show();
  scene.act("1");
  const acted = scene.now;
  scene.wait(4999);
  assert.equal(scene.session.staleSince(), null);
  scene.wait(1);
  assert.equal(scene.session.getCause(), "noAnswer");
  assert.equal(scene.session.staleSince(), acted);
  scene.fence(3);
  scene.fence(4);
  assert.equal(scene.session.getCause(), "none");
  assert.equal(scene.session.staleSince(), null);
});

test("session: a lost line is tried again after 0.5, 1, 2, 3, 3 s, with the session and the dialog", () => {
  const scene = new Scene().show();
  scene.session.closed(scene.session.line, scene.now);
  assert.equal(scene.session.state, "waiting");
  assert.equal(scene.session.staleSince(), scene.now);
  for (const pause of [500, 1000, 2000, 3000, 3000]) {
    scene.wait(pause - 1);
    assert.equal(scene.session.line, 0);
    scene.wait(1);
    assert.notEqual(scene.session.line, 0);
    scene.session.closed(scene.session.line, scene.now);
  }
  scene.wait(3000);
  scene.connect();
  const [text] = scene.sent();
  assert.deepEqual(text?.[0], { Command: "CHANGE", SessionId: "s1", DialogName: "d" });
  assert.deepEqual(text?.[1], { Command: "GETFILE", File: "d.json" });
  assert.ok(scene.session.staleSince() !== null);
  scene.tell({ t: "up" });
  scene.tree({ Name: "d", Objects: [{ Name: "a", Value: "9" }] });
  assert.equal(scene.session.staleSince(), null);
  assert.equal(scene.shown(), "9");
});

test("session: what is told of an old line is ignored", () => {
  const scene = new Scene().show();
  const old = scene.session.line;
  scene.session.closed(old, scene.now);
  scene.wait(500);
  scene.session.closed(old, scene.now);
  assert.notEqual(scene.session.line, 0);
  scene.session.receivedText(old, '{"t":"down","why":"x"}', scene.now);
  assert.notEqual(scene.session.line, 0);
});

test("session: after a reload it goes on where it was", () => {
  const ticket = new Scene().show({ Interval: "600", Menu: ["d"] }).session.ticket();
  assert.ok(ticket);
  const scene = new Scene();
  scene.session.resume(ticket, scene.now);
  scene.connect();
  assert.deepEqual(scene.words(), [["CHANGE", "GETFILE", "?"]]);
  scene.tree({ Name: "d", Objects: [{ Name: "a", Value: "3" }] });
  assert.equal(scene.session.state, "showing");
  assert.equal(scene.session.opened.intervalSeconds, 600);
  assert.deepEqual(scene.session.menu(), ["d"]);
});

test("session: a heartbeat each 20 s, while somebody looks and has touched something", () => {
  const scene = new Scene().show();
  const beats = (): number => {
    let count = 0;
    for (let i = 0; i < 60; ++i) {
      scene.wait(1000);
      for (const text of scene.sent()) {
        for (const { File: file } of text) {
          if (file?.startsWith("?f")) scene.fence(Number(file.slice(2)));
          ++count;
        }
      }
    }
    return count;
  };
  assert.equal(beats(), 3);
  scene.session.setLooking(false, scene.now);
  assert.equal(beats(), 0);
});

test("session: with its length told it ends with the last touch, and not while it stays", () => {
  const scene = new Scene().show({ Interval: "10" });
  assert.equal(scene.session.endsAt(), scene.now + 10_000);
  scene.wait(9000);
  scene.session.touched(scene.now);
  scene.wait(9999);
  assert.equal(scene.session.state, "showing");
  scene.wait(1);
  assert.equal(scene.session.getCause(), "idle");
  assert.equal(scene.session.line, 0);

  const staying = new Scene().show({ Interval: "30" });
  staying.session.setStays(true, staying.now);
  assert.equal(staying.session.endsAt(), null);
  staying.wait(10_000);
  assert.deepEqual(staying.words(), [["KEEPALIVE"]]);
});

test("session: it tells whether the gateway or the host is gone", () => {
  const scene = new Scene().show();
  scene.tell({ t: "down", why: "closed by the host" });
  assert.equal(scene.session.getCause(), "hostLost");
  scene.wait(500);
  scene.session.closed(scene.session.line, scene.now);
  assert.equal(scene.session.getCause(), "lineLost");
});

test("session: turning the switch off that keeps it counts as a touch", () => {
  const scene = new Scene().show({ Interval: "30" });
  scene.session.setStays(true, scene.now);
  scene.wait(60_000);
  scene.session.setStays(false, scene.now);
  assert.equal(scene.session.endsAt(), scene.now + 30_000);
});

test("session: what is shown is as old as the first loss, however often it is tried", () => {
  const scene = new Scene().show();
  const lost = scene.now;
  scene.session.closed(scene.session.line, scene.now);
  scene.wait(500);
  scene.connect();
  assert.equal(scene.session.state, "entering");
  assert.equal(scene.session.staleSince(), lost);
  scene.session.closed(scene.session.line, scene.now);
  assert.equal(scene.session.staleSince(), lost);
});

test("session: what is refused beside a pending change does not take it back", () => {
  const scene = new Scene().show(); // The log-in and the entry were texts 1 and 2.
  scene.act("1");
  scene.session.getFile("a.png", scene.now);
  scene.tell({ t: "refused", why: "no", n: 4 });
  assert.deepEqual(scene.session.takeRefused(), []);
  assert.equal(scene.session.message, "no");
  assert.ok(scene.session.replica.isPending("a"));
  assert.equal(scene.shown(), "1");
  assert.deepEqual(scene.session.takeFiles(), [{ name: "a.png", bytes: null }]);
  // Nothing of it is awaited any more.
  scene.fence(3);
  scene.fence(4);
  scene.wait(5000);
  assert.equal(scene.session.getCause(), "none");
});

test("session: a session that cannot be gone on with is tried again", () => {
  const scene = new Scene().show();
  scene.session.closed(scene.session.line, scene.now);
  scene.wait(500);
  scene.connect();
  scene.tell({ t: "refused", why: "too much", n: 1 });
  assert.equal(scene.session.state, "waiting");
  assert.equal(scene.session.message, "too much");
  scene.wait(2000);
  scene.connect();
  assert.deepEqual(scene.words(), [["CHANGE", "GETFILE", "?"]]);
});
