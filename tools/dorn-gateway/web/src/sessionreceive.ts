// What arrives at a session, by way of the gateway.

import * as commands from "./commands";
import { isObject, JsonObject, memberList, memberText, textOf } from "./json";
import { readOpened } from "./opened";
import { SessionBase } from "./sessionbase";

const kMostEntries = 16; // Under way at a time, as far as the host asks for them.

export abstract class ReceivingSession extends SessionBase {
  protected receiveFrame(frame: JsonObject): void {
    switch (frame["t"]) {
      case "hello":
        this.gatewayMenu = memberList(frame, "menu").map(textOf);
        this.hasLocalFiles = frame["local"] === true;
        break;
      case "up":
        this.isHostUp = true;
        break;
      case "down":
        this.message = memberText(frame, "why");
        this.loseLine("hostLost");
        break;
      case "bad":
        this.unreadable = Number(frame["n"]);
        break;
      case "cmd":
        if (isObject(frame["c"])) this.execute(frame["c"]);
        break;
      case "file":
        this.onFile(frame);
        break;
      case "refused":
        this.onRefused(frame);
        break;
    }
  }

  protected execute(command: JsonObject): void {
    switch (memberText(command, "Command")) {
      case "OPEN":
        this.onOpen(command);
        break;
      case "ERROR":
        this.onError(command);
        break;
      case "PUTFILE":
        this.onPutfile(command);
        break;
      default:
        this.replica.receive(command);
        if (this.replica.isFlooded) this.loseLine("hostLost");
        break;
    }
  }

  /** May come at any time, and is followed. */
  protected onOpen(command: JsonObject): void {
    this.isHostUp = true;
    const id = memberText(command, "SessionId");
    if (id !== "") this.sessionId = id;
    const isHeld = this.wantsLocal() !== null; // Nothing was sent of the entry yet.
    this.opened = readOpened(command);
    this.local.clear();
    const isReturn = this.state === "loggingIn" && this.returnTo !== "";
    const dialog = isReturn ? this.returnTo : this.opened.dialog;
    this.aliveAt = this.now;
    if (dialog !== "") this.followTo(dialog);
    else if (this.dialog === "") this.showNothing();
    else if (isHeld) this.startEntry(this.dialog, false);
    // Else what is shown stays: hosts may tell of a new menu alone.
  }

  /** Only the last of very many is entered: each asks the host for more than it has said. */
  protected followTo(dialog: string): void {
    if (this.entries.length >= kMostEntries) this.awaiting = dialog;
    else this.startEntry(dialog, false);
  }

  /** No dialog yet: the menu is all there is. */
  protected showNothing(): void {
    this.replica.enter("", null);
    this.onTree(null, false);
  }

  protected onError(command: JsonObject): void {
    const status = memberText(command, "Status");
    const message = memberText(command, "Message");
    if (status === "InvalidSessionId") {
      this.endSession("sessionEnded", message);
    } else if (status === "Authentication" && this.state === "loggingIn") {
      this.endSession("wrongPassword", message);
    } else {
      this.message = message;
    }
  }

  /** Without bytes behind it: a fence, or a file that is not sent. */
  protected onPutfile(command: JsonObject): void {
    const fence = commands.fenceOf(memberText(command, "File"));
    if (fence !== null) {
      this.onFence(fence);
      return;
    }
    if (this.files.receiveAnswer(command)) this.onTree(null, false);
  }

  protected onFence(fence: number): void {
    this.fences.answer(fence, this.now);
    this.replica.receiveFence(fence);
    if (this.localFence === fence) {
      this.localFence = null;
      this.onTree(this.localTree(), false);
    }
  }

  protected onFile(frame: JsonObject): void {
    const head = isObject(frame["head"]) ? frame["head"] : {};
    const { tree } = frame;
    if (isObject(tree)) {
      if (this.files.receiveTree(head, tree)) this.onTree(tree, frame["live"] === true);
    } else if (frame["missing"] === true) {
      if (this.files.receiveAnswer(head)) this.onTree(null, false);
    } else {
      this.files.announce(head);
    }
  }

  /** Only the last of several entries ends in a tree. */
  protected onTree(tree: JsonObject | null, isLive: boolean): void {
    if (tree) {
      this.replica.receiveTree(tree, isLive);
    } else {
      this.replica.receiveNoTree();
    }
    const { state } = this.replica;
    if (state !== "live" && state !== "nothing") return;
    this.entries = [];
    this.state = "showing";
    this.shown = this.dialog;
    this.cause = "none";
    this.message = "";
    this.retries = 0;
    this.lostAt = null;
    const { awaiting } = this;
    this.awaiting = null;
    if (awaiting !== null) this.startEntry(awaiting, false);
  }

  /** The gateway did not pass a text on; its fences will not be answered. */
  protected onRefused(frame: JsonObject): void {
    const why = memberText(frame, "why");
    if (this.state === "loggingIn") {
      this.endSession("refused", why);
      return;
    }
    const { n } = frame;
    const ordinal = typeof n === "number" ? n : this.fences.lastAction ?? 0;
    const action = this.fences.takeRefused(ordinal);
    this.files.refuse(ordinal);
    if (action) {
      this.replica.takeBack(action.after);
      this.refused.push({ names: action.names, why });
    } else {
      this.leaveEntry(ordinal);
      this.message = why;
    }
  }

  /** The host is where it was before the entry: so is the page. */
  protected leaveEntry(ordinal: number): void {
    const last = this.entries[this.entries.length - 1];
    const refused = this.entries.find((entry) => entry.ordinal === ordinal);
    this.entries = this.entries.filter((entry) => entry !== refused);
    if (!refused || refused !== last) return;
    if (refused.isNewLine) return this.loseLine("hostLost");
    const before = this.entries.pop();
    this.entries = [];
    this.localFence = null;
    if (before) return this.startEntry(before.dialog, false);
    this.dialog = this.shown;
    if (this.shown === "") return this.showNothing();
    this.replica.leaveEntry();
    this.state = "showing";
  }
}
