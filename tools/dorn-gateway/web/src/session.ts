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
import type { ReceivedFile } from "./files";
import { isObject, Json, JsonObject } from "./json";
import type { SetObject } from "./replica";
import type { Cause, Ticket } from "./sessionbase";
import { ReceivingSession } from "./sessionreceive";
import * as times from "./sessiontimes";
import { isSendable } from "./values";

export type { Cause, SessionOptions, SessionState, Ticket } from "./sessionbase";

const hasExtension = (name: string): boolean => /\.[^./]+$/.test(name);

export class Session extends ReceivingSession {
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

  // What is due.

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
}
