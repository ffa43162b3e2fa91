// One user's way through a host: log-in, the dialog that is shown, what is set, and coming back
// when the line was gone. A state machine that owns neither a socket nor a clock: whoever owns them
// tells it what happened and when, in milliseconds of any steady clock, and does what it wants.
//
//   loggedOut --logIn()--> loggingIn --OPEN--> entering --tree--> showing
//                                                 ^                  | line lost
//                                                 +---- waiting <----+
//
// `line` names the connection that shall be open: a new number asks for a new one, 0 for none. What
// is told of another line than that is ignored.

import * as commands from "./commands";
import { Fences } from "./fences";
import { Files, ReceivedFile } from "./files";
import { isObject, Json, JsonObject, memberList, memberText, textOf } from "./json";
import { kNothingOpened, Opened, readOpened } from "./opened";
import { Replica, SetObject } from "./replica";
import * as times from "./sessiontimes";
import { isSendable } from "./values";

export type SessionState = "loggedOut" | "loggingIn" | "entering" | "showing" | "waiting";

/**
 * Why there is no dialog, or why what is shown is stale. sessionEnded: the host does not know the
 * session any more. idle: the user did nothing for as long as the session lasts. refused: by the
 * gateway. lineLost: to the gateway; hostLost: from there to the host. noAnswer: the line is there
 * and the host says nothing.
 */
export type Cause =
  | "none"
  | "wrongPassword"
  | "cannotConnect"
  | "refused"
  | "sessionEnded"
  | "idle"
  | "lineLost"
  | "hostLost"
  | "noAnswer";

export interface SessionOptions {
  readonly station: commands.Station;
  /** 0 to 1, for the times between two attempts to come back. */
  readonly random: () => number;
}

/** What it takes to go on after a reload. */
export interface Ticket {
  readonly session: string;
  readonly dialog: string;
  readonly user: string;
  readonly opened: Opened;
  readonly stays: boolean;
}

const hasExtension = (name: string): boolean => /\.[^./]+$/.test(name);

export class Session {
  readonly replica = new Replica();
  state: SessionState = "loggedOut";
  /** The host's or the gateway's own words about the last error; empty without. */
  message = "";
  line = 0;
  user = "";
  sessionId = "";
  opened = kNothingOpened;
  dialog = ""; // Shown or being entered.
  shown = ""; // Of which the replica holds the tree.
  returnTo = ""; // Shown when the session ended.
  /** What the gateway offers where the host does not. */
  gatewayMenu: readonly string[] = [];
  /** Texts that nobody could read, on this line. */
  unreadable = 0;
  stays = false;
  isHostUp = false;

  private now = 0;
  private cause: Cause = "none";
  private lines = 0;
  private isConnected = false;
  private lineSince = 0;
  private output: string[] = [];
  private sentTexts = 0;
  private opening: string | null = null;
  private retryAt: number | null = null;
  private retries = 0;
  private lostAt: number | null = null;

  private readonly fences = new Fences();
  private readonly files = new Files();
  private refused: { names: readonly string[]; why: string }[] = [];

  private hasLocalFiles = false; // At the gateway.
  private readonly local = new Map<string, JsonObject | null>(); // By dialog; null: there is none.
  private entries: { ordinal: number; dialog: string; isNewLine: boolean }[] = []; // Under way.
  private localFence: number | null = null; // Behind which the station's own file is the tree.

  private isLooking = true;
  private touchedAt = 0;
  private enteredAt = 0;
  private aliveAt = 0; // When something that extends the session was sent last.
  private enterAgainAt: number | null = null;
  private askedAgainAt: number | null = null;

  constructor(private readonly options: SessionOptions) {}

  // What the user does.

  logIn(user: string, password: string, now: number): void {
    this.now = this.touchedAt = now;
    if (user !== this.user) this.returnTo = "";
    this.user = user;
    this.sessionId = "";
    this.cause = "none";
    this.message = "";
    this.state = "loggingIn";
    this.openLine();
    this.opening = commands.textOfAll([commands.hello(user, password, this.options.station)]);
  }

  /** Goes on with a session that this browser tab had before it was loaded anew. */
  resume(ticket: Ticket, now: number): void {
    this.now = this.touchedAt = now;
    this.user = ticket.user;
    this.sessionId = ticket.session;
    this.dialog = ticket.dialog;
    this.opened = ticket.opened;
    this.stays = ticket.stays;
    this.state = "entering";
    this.openLine();
  }

  ticket(): Ticket | null {
    if (this.sessionId === "") return null;
    const { sessionId: session, dialog, user, opened, stays } = this;
    return { session, dialog, user, opened, stays };
  }

  /** There is no such command: the host forgets the session in its time. */
  logOut(): void {
    this.endSession("none", "");
    this.returnTo = "";
    this.user = "";
  }

  /** Shows it after the next log-in of the same user. */
  rememberDialog(dialog: string, user: string): void {
    this.returnTo = dialog;
    this.user = user;
  }

  enter(dialog: string, now: number): void {
    this.now = this.touchedAt = now;
    if (this.state === "entering" || this.state === "showing") this.startEntry(dialog, false);
  }

  refresh(now: number): void {
    this.now = now;
    if (this.state === "showing" && this.dialog !== "") this.startEntry(this.dialog, false);
  }

  /** Any sign of life that sends nothing. */
  touched(now: number): void {
    this.touchedAt = now;
  }

  setLooking(isLooking: boolean, now: number): void {
    const comesBack = isLooking && !this.isLooking;
    this.isLooking = isLooking;
    this.now = now;
    if (comesBack && this.isAlive()) this.refresh(now);
  }

  setStays(stays: boolean, now: number): void {
    this.now = now;
    this.stays = stays;
    if (!stays) this.touchedAt = now; // The switch was touched.
  }

  /**
   * Sets attributes of objects, or touches one by its name alone. False when it cannot be sent: not
   * showing, too long, or no text that a host may get.
   */
  act(actionName: string, actionType: string, objects: readonly SetObject[], now: number): boolean {
    this.now = this.touchedAt = now;
    if (!this.isShowingDialog()) return false;
    const before = this.fences.following;
    const after = before + 1;
    const text = commands.textOfAll([
      commands.fence(before),
      commands.condition(actionName, actionType, objects),
      commands.fence(after),
    ]);
    if (new TextEncoder().encode(text).length > commands.kMaxSentText) return false;
    this.nextFence();
    this.nextFence();
    this.replica.act(objects, before, after);
    this.send(text);
    const names = objects.map((object) => object.name);
    this.fences.addAction({ ordinal: this.sentTexts, before, after, names });
    this.message = "";
    return true;
  }

  /** Asks for a file, which takeFiles() brings. Names without an extension are not asked for. */
  getFile(name: string, now: number): boolean {
    this.now = now;
    if (!hasExtension(name) || !isSendable(name)) return false;
    if (this.state !== "entering" && this.state !== "showing") return false;
    const behind = this.nextFence();
    const date = this.files.ask(name, this.sentTexts + 1);
    this.send(commands.textOfAll([commands.getFile(name, date), commands.fence(behind)]));
    return true;
  }

  /** The dialog whose own file at the gateway is waited for; null: none. */
  wantsLocal(): string | null {
    const { dialog, isFromStation } = this.opened;
    const isWanted = this.hasLocalFiles && isFromStation && this.state === "entering";
    return isWanted && dialog === this.dialog && !this.local.has(dialog) ? dialog : null;
  }

  /** Null: there is no such file. */
  receiveLocal(dialog: string, tree: JsonObject | null, now: number): void {
    if (this.local.has(dialog)) return;
    this.now = now;
    const isAwaited = this.wantsLocal() === dialog;
    this.local.set(dialog, tree);
    if (isAwaited) this.startEntry(dialog, false);
  }

  // What happened to a line.

  connected(line: number, now: number): void {
    if (line !== this.line || line === 0 || this.isConnected) return;
    this.now = this.lineSince = now;
    this.isConnected = true;
    if (this.opening !== null) {
      this.send(this.opening);
      this.opening = null;
    } else if (this.dialog === "") {
      this.send(commands.textOfAll([commands.helloAgain(this.sessionId, this.options.station)]));
    } else {
      this.state = "entering";
      this.startEntry(this.dialog, true);
    }
  }

  receivedText(line: number, text: string, now: number): void {
    if (line !== this.line || !this.isConnected) return;
    this.now = now;
    const frame = JSON.parse(text) as Json;
    if (isObject(frame)) this.receiveFrame(frame);
    if (!this.replica.takeWantsEntry() || this.enterAgainAt !== null) return;
    // Hosts answer an entry with updates to everybody: pages must not call each other in turn.
    const rested = this.askedAgainAt === null ? now : this.askedAgainAt + times.kEnterAgainRest;
    this.enterAgainAt = Math.max(now + times.kEnterAgain, rested);
  }

  receivedBytes(line: number, bytes: ArrayBuffer, now: number): void {
    if (line !== this.line || !this.isConnected) return;
    this.now = now;
    if (this.files.receiveBytes(bytes)) this.onTree(null, false);
  }

  closed(line: number, now: number): void {
    if (line !== this.line || line === 0) return;
    this.now = now;
    this.loseLine("lineLost");
  }

  tick(now: number): void {
    this.now = now;
    if (this.retryAt !== null && now >= this.retryAt) this.openLine();
    const limit = this.lineLimit();
    if (limit !== null && now >= limit) this.loseLine(this.isConnected ? "hostLost" : "lineLost");
    const waitsFor = this.wantsLocal();
    const isLate = now - this.enteredAt >= times.kLocalLimit;
    if (waitsFor !== null && isLate) this.receiveLocal(waitsFor, null, now);
    if (this.state === "showing" || this.state === "entering") this.tickIdle();
    if (this.state === "showing") this.tickEntries();
  }

  // What it wants: these texts on its line, and a tick() not later than that.

  takeOutput(): string[] {
    if (!this.isConnected || this.output.length === 0) return [];
    const output = this.output;
    this.output = [];
    return output;
  }

  nextTick(): number | null {
    const next: (number | null)[] = [this.retryAt, this.lineLimit()];
    if (this.state === "showing" || this.state === "entering") {
      const since = this.fences.awaitedSince;
      if (since !== null && this.getCause() !== "noAnswer") next.push(since + times.kAnswerLimit);
      if (this.opened.intervalSeconds > 0) {
        const interval = this.idleAfter();
        next.push(this.stays ? this.aliveAt + interval / 3 : this.touchedAt + interval);
      }
      if (this.isHeartbeatWanted()) next.push(this.fences.at + times.kHeartbeat);
      if (this.wantsLocal() !== null) next.push(this.enteredAt + times.kLocalLimit);
    }
    if (this.state === "showing") {
      next.push(this.enterAgainAt);
      if (this.isEnteredAgain()) next.push(this.enteredAt + times.kRefetch);
    }
    const known = next.filter((time): time is number => time !== null);
    return known.length > 0 ? Math.min(...known) : null;
  }

  // What it tells.

  getCause(): Cause {
    const since = this.fences.awaitedSince;
    if (this.cause !== "none" || since === null) return this.cause;
    return this.now - since >= times.kAnswerLimit ? "noAnswer" : "none";
  }

  /** Since when what is shown has been stale; null while it is fresh. */
  staleSince(): number | null {
    if (this.state === "waiting" || this.state === "entering") {
      if (this.lostAt !== null) return this.lostAt;
    }
    return this.getCause() === "noAnswer" ? this.fences.awaitedSince : null;
  }

  /** How long the host took for the last change, in milliseconds; null before the first. */
  get quality(): number | null {
    return this.fences.quality;
  }

  /** When the session ends for want of a touch; null when it does not, or nobody knows. */
  endsAt(): number | null {
    const isTold = this.opened.intervalSeconds > 0 && !this.stays;
    const isThere = this.state === "showing" || this.state === "entering";
    return isTold && isThere ? this.touchedAt + this.idleAfter() : null;
  }

  menu(): readonly string[] {
    return this.opened.menu.length > 0 ? this.opened.menu : this.gatewayMenu;
  }

  takeFiles(): ReceivedFile[] {
    return this.files.take();
  }

  takeLostFiles(): string[] {
    return this.files.takeLost();
  }

  /** Texts that the gateway did not pass on: which objects they were about, and why. */
  takeRefused(): { names: readonly string[]; why: string }[] {
    const refused = this.refused;
    this.refused = [];
    return refused;
  }

  // Lines and log-in.

  private openLine(): void {
    this.dropLine();
    this.line = ++this.lines;
    this.lineSince = this.now;
  }

  private dropLine(): void {
    this.line = 0;
    this.isConnected = false;
    this.isHostUp = false;
    this.output = [];
    this.opening = null;
    this.sentTexts = 0;
    this.retryAt = null;
    this.fences.forget();
    this.files.forget();
    this.entries = [];
    this.localFence = null;
    this.enterAgainAt = null;
    this.unreadable = 0;
    this.replica.forgetActions();
  }

  private loseLine(cause: "lineLost" | "hostLost"): void {
    if (this.state === "loggingIn" && this.sessionId === "") {
      this.endSession("cannotConnect", this.message);
      return;
    }
    this.dropLine();
    if (this.state !== "waiting") this.lostAt ??= this.now;
    this.state = "waiting";
    this.cause = cause;
    this.retryAt = this.now + times.pauseBefore(this.retries++, this.options.random());
  }

  /** The dialog is remembered for the same user. */
  private endSession(cause: Cause, message: string): void {
    this.dropLine();
    this.state = "loggedOut";
    this.cause = cause;
    this.message = message;
    if (this.dialog !== "") this.returnTo = this.dialog;
    this.dialog = this.shown = "";
    this.sessionId = "";
    this.retries = 0;
    this.lostAt = null;
    this.fences.quality = null;
    this.stays = false;
  }

  private send(text: string): void {
    this.output.push(text);
    ++this.sentTexts;
  }

  /** For the text that is sent next. */
  private nextFence(): number {
    this.aliveAt = this.now;
    return this.fences.next(this.sentTexts + 1, this.now);
  }

  /** The fence behind it makes sure that something follows the file, even where nothing does. */
  private startEntry(dialog: string, isNewLine: boolean): void {
    this.dialog = dialog;
    this.state = "entering";
    this.enteredAt = this.now;
    this.enterAgainAt = null;
    this.localFence = null;
    if (!isNewLine && this.wantsLocal() !== null) return;
    const isLocal = this.localTree() !== null;
    const fence = isNewLine ? null : this.nextFence();
    const behind = this.nextFence();
    const file = commands.fileOfDialog(dialog);
    this.replica.enter(dialog, fence);
    if (isLocal) this.localFence = behind;
    else this.files.askForTree(file, this.sentTexts + 1);
    this.entries.push({ ordinal: this.sentTexts + 1, dialog, isNewLine });
    const first =
      fence === null
        ? [commands.changeAgain(this.sessionId, dialog)]
        : [commands.fence(fence), commands.change(dialog)];
    const getFile = isLocal ? [] : [commands.getFile(file)];
    this.send(commands.textOfAll([...first, ...getFile, commands.fence(behind)]));
  }

  /** The station's own file of the dialog, where the host leaves it to the station. */
  private localTree(): JsonObject | null {
    const isLeft = this.opened.isFromStation && this.opened.dialog === this.dialog;
    return isLeft ? this.local.get(this.dialog) ?? null : null;
  }

  /** Entering the same dialog again is no hindrance: what is sent then comes behind it. */
  private isShowingDialog(): boolean {
    if (this.state === "showing") return true;
    return this.state === "entering" && this.isConnected && this.shown === this.dialog;
  }

  private idleAfter(): number {
    const told = this.opened.intervalSeconds * 1000;
    return told > 0 ? told : times.kAssumedInterval;
  }

  /** Whether what extends the session may be sent without a touch. */
  private isAlive(): boolean {
    return this.stays || this.now - this.touchedAt < this.idleAfter();
  }

  private lineLimit(): number | null {
    if (this.line === 0) return null;
    if (!this.isConnected) return this.lineSince + times.kConnectLimit;
    if (this.state === "loggingIn") return this.lineSince + times.kLogInLimit;
    return this.isHostUp ? null : this.lineSince + times.kHostLimit;
  }

  private isHeartbeatWanted(): boolean {
    const isTouched = this.now - this.touchedAt < this.idleAfter();
    return !this.fences.isAnyAwaited && this.isLooking && isTouched;
  }

  private tickIdle(): void {
    const isTold = this.opened.intervalSeconds > 0;
    if (isTold && !this.isAlive()) {
      this.endSession("idle", "");
      return;
    }
    if (isTold && this.stays && this.now - this.aliveAt >= this.idleAfter() / 3) {
      this.send(commands.textOfAll([commands.keepalive()]));
      this.aliveAt = this.now;
    }
    const isDue = this.now - this.fences.at >= times.kHeartbeat;
    if (isDue && this.isHeartbeatWanted()) {
      this.send(commands.textOfAll([commands.fence(this.nextFence())]));
    }
  }

  /** While somebody looks, a dialog is entered again after a while. */
  private isEnteredAgain(): boolean {
    return this.dialog !== "" && this.isLooking && this.isAlive();
  }

  private tickEntries(): void {
    const isOld = this.isEnteredAgain() && this.now - this.enteredAt >= times.kRefetch;
    const isAsked = this.enterAgainAt !== null && this.now >= this.enterAgainAt;
    if (isAsked) this.askedAgainAt = this.now;
    if (isAsked || isOld) this.startEntry(this.dialog, false);
  }

  // What arrives.

  private receiveFrame(frame: JsonObject): void {
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

  private execute(command: JsonObject): void {
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
        break;
    }
  }

  /** May come at any time, and is followed. */
  private onOpen(command: JsonObject): void {
    this.isHostUp = true;
    const id = memberText(command, "SessionId");
    if (id !== "") this.sessionId = id;
    const isHeld = this.wantsLocal() !== null; // Nothing was sent of the entry yet.
    this.opened = readOpened(command);
    this.local.clear();
    const isReturn = this.state === "loggingIn" && this.returnTo !== "";
    const dialog = isReturn ? this.returnTo : this.opened.dialog;
    this.aliveAt = this.now;
    if (dialog !== "") this.startEntry(dialog, false);
    else if (this.dialog === "") this.showNothing();
    else if (isHeld) this.startEntry(this.dialog, false);
    // Else what is shown stays: hosts may tell of a new menu alone.
  }

  /** No dialog yet: the menu is all there is. */
  private showNothing(): void {
    this.replica.enter("", null);
    this.onTree(null, false);
  }

  private onError(command: JsonObject): void {
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
  private onPutfile(command: JsonObject): void {
    const fence = commands.fenceOf(memberText(command, "File"));
    if (fence !== null) {
      this.onFence(fence);
      return;
    }
    if (this.files.receiveAnswer(command)) this.onTree(null, false);
  }

  private onFence(fence: number): void {
    this.fences.answer(fence, this.now);
    this.replica.receiveFence(fence);
    if (this.localFence === fence) {
      this.localFence = null;
      this.onTree(this.localTree(), false);
    }
  }

  private onFile(frame: JsonObject): void {
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
  private onTree(tree: JsonObject | null, isLive: boolean): void {
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
  }

  /** The gateway did not pass a text on; its fences will not be answered. */
  private onRefused(frame: JsonObject): void {
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
  private leaveEntry(ordinal: number): void {
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
