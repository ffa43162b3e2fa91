// What one session knows, the lines that it wants, and the entries into its dialogs. What it does
// stands in session.ts.

import * as commands from "./commands";
import { Fences } from "./fences";
import { Files } from "./files";
import type { JsonObject } from "./json";
import { kNothingOpened, Opened } from "./opened";
import { Replica } from "./replica";
import * as times from "./sessiontimes";

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

export abstract class SessionBase {
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

  protected now = 0;
  protected cause: Cause = "none";
  protected lines = 0;
  protected isConnected = false;
  protected lineSince = 0;
  protected output: string[] = [];
  protected sentTexts = 0;
  protected opening: string | null = null;
  protected retryAt: number | null = null;
  protected retries = 0;
  protected lostAt: number | null = null;

  protected readonly fences = new Fences();
  protected readonly files = new Files();
  protected refused: { names: readonly string[]; why: string }[] = [];

  protected hasLocalFiles = false; // At the gateway.
  protected readonly local = new Map<string, JsonObject | null>(); // By dialog; null: there is none.
  protected entries: { ordinal: number; dialog: string; isNewLine: boolean }[] = []; // Under way.
  protected awaiting: string | null = null; // A dialog to enter when these have ended.
  protected localFence: number | null = null; // Behind which the station's own file is the tree.

  protected isLooking = true;
  protected touchedAt = 0;
  protected enteredAt = 0;
  protected aliveAt = 0; // When something that extends the session was sent last.
  protected enterAgainAt: number | null = null;
  protected askedAgainAt: number | null = null;

  constructor(protected readonly options: SessionOptions) {}

  /** The dialog whose own file at the gateway is waited for; null: none. */
  wantsLocal(): string | null {
    const { dialog, isFromStation } = this.opened;
    const isWanted = this.hasLocalFiles && isFromStation && this.state === "entering";
    return isWanted && dialog === this.dialog && !this.local.has(dialog) ? dialog : null;
  }

  // Lines and log-in.

  protected openLine(): void {
    this.dropLine();
    this.line = ++this.lines;
    this.lineSince = this.now;
  }

  protected dropLine(): void {
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
    this.awaiting = null;
    this.localFence = null;
    this.enterAgainAt = null;
    this.unreadable = 0;
    this.replica.forgetActions();
  }

  protected loseLine(cause: "lineLost" | "hostLost"): void {
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
  protected endSession(cause: Cause, message: string): void {
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

  protected send(text: string): void {
    this.output.push(text);
    ++this.sentTexts;
  }

  /** For the text that is sent next. */
  protected nextFence(): number {
    this.aliveAt = this.now;
    return this.fences.next(this.sentTexts + 1, this.now);
  }

  /** The fence behind it makes sure that something follows the file, even where nothing does. */
  protected startEntry(dialog: string, isNewLine: boolean): void {
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
  protected localTree(): JsonObject | null {
    const isLeft = this.opened.isFromStation && this.opened.dialog === this.dialog;
    return isLeft ? this.local.get(this.dialog) ?? null : null;
  }

  /** Entering the same dialog again is no hindrance: what is sent then comes behind it. */
  protected isShowingDialog(): boolean {
    if (this.state === "showing") return true;
    return this.state === "entering" && this.isConnected && this.shown === this.dialog;
  }

  protected idleAfter(): number {
    const told = this.opened.intervalSeconds * 1000;
    return told > 0 ? told : times.kAssumedInterval;
  }

  /** Whether what extends the session may be sent without a touch. */
  protected isAlive(): boolean {
    return this.stays || this.now - this.touchedAt < this.idleAfter();
  }
}
