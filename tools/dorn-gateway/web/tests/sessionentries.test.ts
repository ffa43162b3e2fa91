// Which dialog is entered, and when it is entered again.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Scene } from "./scene";

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
  const scene = new Scene().openLeftToStation(true);
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
  const scene = new Scene().openLeftToStation(true);
  scene.session.receiveLocal("d", null, scene.now);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: a gateway without such files is not asked", () => {
  const scene = new Scene().openLeftToStation(false);
  assert.equal(scene.session.wantsLocal(), null);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
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
  const scene = new Scene().openLeftToStation(true);
  assert.equal(scene.session.wantsLocal(), "d");
  scene.sent();
  scene.command({ Command: "OPEN", SessionId: "s1", Menu: ["d"] });
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
});

test("session: a gateway that does not bring its file is not waited for", () => {
  const scene = new Scene().openLeftToStation(true);
  scene.wait(4999);
  assert.deepEqual(scene.words(), []);
  scene.wait(1);
  assert.equal(scene.session.wantsLocal(), null);
  assert.deepEqual(scene.words(), [["?", "CHANGE", "GETFILE", "?"]]);
  scene.session.receiveLocal("d", { Command: "DIALOG", Objects: [] }, scene.now);
  assert.deepEqual(scene.words(), []);
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
