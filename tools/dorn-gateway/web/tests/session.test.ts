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

test("session: OPEN is followed by a fence, the dialog and its tree in one text", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.sent();
  scene.open({ DialogName: "a@b", Interval: "60", Language: "ja", Menu: ["a@b", "c"] });
  assert.deepEqual(scene.sent(), [
    [
      { Command: "GETFILE", File: "?f1" },
      { Command: "CHANGE", DialogName: "a@b" },
      { Command: "GETFILE", File: "a/b.json" },
      { Command: "GETFILE", File: "?f2" },
    ],
  ]);
  assert.equal(scene.session.opened.intervalSeconds, 60);
  assert.equal(scene.session.opened.language, "ja");
  assert.deepEqual(scene.session.menu(), ["a@b", "c"]);
});

test("session: without DialogName the file names the dialog, and the gateway the menu", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.tell({ t: "hello", menu: ["x"] });
  scene.open({ File: "a/b.json" });
  assert.equal(scene.session.dialog, "a@b");
  assert.deepEqual(scene.session.menu(), ["x"]);
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

test("session: an ended one asks for a log-in, and the same user returns to the dialog", () => {
  for (const [user, dialog] of [
    ["u", "other"],
    ["v", "d"],
  ] as const) {
    const scene = new Scene().show();
    scene.session.enter("other", scene.now);
    scene.command({ Command: "ERROR", Status: "InvalidSessionId", Message: "無効" });
    assert.equal(scene.session.state, "loggedOut");
    assert.equal(scene.session.getCause(), "sessionEnded");
    assert.equal(scene.session.message, "無効");
    scene.session.logIn(user, "p", scene.now);
    scene.connect();
    scene.open();
    assert.equal(scene.session.dialog, dialog);
  }
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

test("session: a page that comes into view, or is old, enters again", () => {
  const scene = new Scene().show();
  scene.session.setLooking(false, scene.now);
  scene.session.setLooking(true, scene.now);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: an added group without children is asked for once, a little later", () => {
  const scene = new Scene().show();
  const add = { Command: "ADD", Name: "d", Objects: [{ Name: "g", Type: "GROUP" }] };
  scene.command(add);
  scene.wait(199);
  assert.deepEqual(scene.words(), []);
  scene.wait(1);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: entering the same dialog again is no hindrance to acting, another one is", () => {
  const scene = new Scene().show();
  scene.session.refresh(scene.now);
  assert.equal(scene.session.state, "entering");
  assert.ok(scene.act("1"));
  scene.fence(3);
  scene.tree({ Name: "d", Objects: [{ Name: "a", Value: "0" }] });
  assert.equal(scene.shown(), "1");
  scene.session.enter("other", scene.now);
  assert.ok(!scene.act("2"));
});

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

test("session: an unknown dialog is nothing, and the way back works", () => {
  const scene = new Scene().show();
  scene.session.enter("x", scene.now);
  scene.fence(3);
  scene.command({ Command: "PUTFILE", File: "x.json", Status: "ERROR" });
  assert.equal(scene.session.replica.state, "nothing");
  assert.equal(scene.session.state, "showing");
  scene.session.enter("d", scene.now);
  scene.fence(5);
  scene.tree({ Name: "d", Objects: [{ Name: "a", Value: "0" }] });
  assert.equal(scene.session.replica.state, "live");
});

test("session: a dialog that the host leaves to the station is the gateway's own file", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.sent();
  scene.tell({ t: "hello", menu: [], local: true });
  scene.open({ FileSource: "STATION" });
  assert.equal(scene.session.wantsLocal(), "d");
  assert.deepEqual(scene.words(), []);
  scene.session.receiveLocal("d", { Command: "DIALOG", Objects: [{ Name: "a" }] }, scene.now);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "?"]]);
  scene.fence(1);
  scene.command({ Command: "UPDATE", Objects: [{ Name: "a", Value: "5" }] });
  scene.fence(2);
  assert.equal(scene.session.state, "showing");
  assert.equal(scene.shown(), "5");
});

test("session: without such a file it is the host's", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.sent();
  scene.tell({ t: "hello", menu: [], local: true });
  scene.open({ FileSource: "STATION" });
  scene.session.receiveLocal("d", null, scene.now);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: a gateway without such files is not asked", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.sent();
  scene.tell({ t: "hello", menu: [], local: false });
  scene.open({ FileSource: "STATION" });
  assert.equal(scene.session.wantsLocal(), null);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: it tells whether the gateway or the host is gone", () => {
  const scene = new Scene().show();
  scene.tell({ t: "down", why: "closed by the host" });
  assert.equal(scene.session.getCause(), "hostLost");
  scene.wait(500);
  scene.session.closed(scene.session.line, scene.now);
  assert.equal(scene.session.getCause(), "lineLost");
});

test("session: an OPEN without a dialog leaves the menu, and does not wait for ever", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.open({ File: "", Menu: ["d"] });
  assert.equal(scene.session.state, "showing");
  assert.equal(scene.session.replica.state, "nothing");
  scene.sent();
  scene.session.enter("d", scene.now);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: without a dialog nothing is entered again", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.tell({ t: "up" });
  scene.open({ File: "" });
  scene.fence(1);
  scene.sent();
  scene.session.refresh(scene.now);
  scene.session.setLooking(false, scene.now);
  scene.session.setLooking(true, scene.now);
  assert.deepEqual(scene.words(), []);
  scene.session.setStays(true, scene.now);
  scene.wait(1_300_000);
  assert.equal(scene.session.state, "showing");
  assert.ok(!scene.words().flat().includes("CHANGE"));
});

test("session: a dialog is returned to once; later the host's word counts", () => {
  const scene = new Scene().show();
  scene.session.enter("other", scene.now);
  scene.command({ Command: "ERROR", Status: "InvalidSessionId" });
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.open();
  assert.equal(scene.session.dialog, "other");
  scene.session.logOut();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.open();
  assert.equal(scene.session.dialog, "d");
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

test("session: pages do not make each other enter again in turn", () => {
  const scene = new Scene().show();
  const add = (name: string): void => {
    scene.command({ Command: "ADD", Name: "d", Objects: [{ Name: name, Type: "GROUP" }] });
  };
  add("g");
  scene.wait(200);
  assert.equal(scene.sent().length, 1);
  scene.fence(3);
  scene.tree({ Name: "d", Objects: [] });
  scene.fence(4);
  add("h");
  scene.wait(1499);
  assert.deepEqual(scene.sent(), []);
  scene.wait(1);
  assert.equal(scene.sent().length, 1);
});

test("session: a dialog that somebody looks at is fetched anew after ten minutes", () => {
  const scene = new Scene().show({ Interval: "3600" });
  let changes = 0;
  for (let second = 0; second < 600; ++second) {
    assert.equal(changes, 0);
    scene.wait(1000);
    for (const command of scene.sent().flat()) {
      if (command.File?.startsWith("?f")) scene.fence(Number(command.File.slice(2)));
      if (command.Command === "CHANGE") ++changes;
    }
  }
  assert.equal(changes, 1);
});

test("session: a later OPEN without a dialog leaves what is shown", () => {
  const scene = new Scene().show({ Menu: ["d"] });
  scene.command({ Command: "OPEN", SessionId: "s1", Menu: ["d", "e"] });
  assert.deepEqual(scene.session.menu(), ["d", "e"]);
  assert.equal(scene.session.dialog, "d");
  assert.equal(scene.session.replica.state, "live");
  assert.equal(scene.shown(), "0");
  assert.deepEqual(scene.sent(), []);
});

test("session: an OPEN without a dialog does not keep an entry from its tree", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.tell({ t: "hello", menu: [], local: true });
  scene.open({ FileSource: "STATION" });
  assert.equal(scene.session.wantsLocal(), "d");
  scene.sent();
  scene.command({ Command: "OPEN", SessionId: "s1", Menu: ["d"] });
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: a gateway that does not bring its file is not waited for", () => {
  const scene = new Scene();
  scene.session.logIn("u", "p", scene.now);
  scene.connect();
  scene.sent();
  scene.tell({ t: "hello", menu: [], local: true });
  scene.open({ FileSource: "STATION" });
  scene.wait(4999);
  assert.deepEqual(scene.words(), []);
  scene.wait(1);
  assert.equal(scene.session.wantsLocal(), null);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
  scene.session.receiveLocal("d", { Command: "DIALOG", Objects: [] }, scene.now);
  assert.deepEqual(scene.words(), []);
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

test("session: a refused entry leaves what is shown, and the files that come behind it", () => {
  const scene = new Scene().show();
  for (const dialog of ["bad", "d"]) {
    scene.session.enter(dialog, scene.now);
    scene.sent();
    scene.tell({ t: "refused", why: "no", n: dialog === "bad" ? 3 : 4 });
    assert.equal(scene.session.state, "showing");
    assert.equal(scene.session.dialog, "d");
    assert.equal(scene.session.message, "no");
  }
  scene.command({ Command: "UPDATE", Objects: [{ Name: "a", Value: "5" }] });
  assert.equal(scene.shown(), "5");
  scene.wait(5000);
  assert.equal(scene.session.getCause(), "none");
  scene.session.getFile("a.png", scene.now);
  scene.fence(7);
  scene.command({ Command: "PUTFILE", File: "a.png", Status: "ERROR" });
  assert.deepEqual(scene.session.takeFiles(), [{ name: "a.png", bytes: null }]);
  assert.equal(scene.shown(), "5");
  assert.ok(scene.act("6"));
});

test("session: of two entries a refused one leaves the other", () => {
  for (const [n, dialog] of [
    [3, "y"],
    [4, "x"],
  ] as const) {
    const scene = new Scene().show();
    scene.session.enter("x", scene.now);
    scene.session.enter("y", scene.now);
    scene.tell({ t: "refused", why: "no", n });
    assert.equal(scene.session.dialog, dialog);
    scene.sent();
    scene.fence(n === 3 ? 5 : 3);
    if (n === 4) {
      // The host is in it already, and what is kept of it is not all: it is entered once more.
      scene.tree({ Name: "x", Objects: [{ Name: "a", Value: "7" }] });
      scene.fence(4);
      scene.fence(7);
    }
    scene.tree({ Name: dialog, Objects: [{ Name: "a", Value: "8" }] });
    assert.equal(scene.session.state, "showing");
    assert.equal(scene.session.shown, dialog);
    assert.equal(scene.shown(), "8");
  }
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
