// Puts the parts together: the socket tells the session what happens, the session tells what is
// wanted and shown, and what has changed is drawn once for each frame of the screen.

import { Claim } from "./claim";
import { fileOfDialog } from "./commands";
import { Drafts } from "./drafts";
import { ask, dismissAll } from "./frame/confirm";
import { Frame, FrameActions } from "./frame/frame";
import { Language } from "./frame/language";
import { askNumber } from "./frame/numberpad";
import { Theme } from "./frame/theme";
import { withNextFrame } from "./frames";
import { isObject, Json, JsonObject } from "./json";
import { Memory, readTicket } from "./memory";
import type { DialogElement, Page } from "./page";
import { Past } from "./past";
import { Pictures } from "./pictures";
import type { AlarmLine, Item } from "./screen";
import { Session } from "./session";
import { Socket } from "./socket";
import { storageOf } from "./storage";
import { Texts, textsIn } from "./texts";
import { Trends } from "./trends";
import type { TreeObject } from "./tree";
import { View } from "./view";
import { kLanguageWords } from "./vocabulary";
import { Wakeup } from "./wakeup";

const kStorage = storageOf(() => localStorage);
const kTabStorage = storageOf(() => sessionStorage);
const kSecond = 1000;
// Many values at a time are drawn 30 times a second: layout and paint cost the same for 10 as for
// 20.
const kMany = 8;
const kRestAfterMany = 30;
const kLongDraw = 50;

export class App implements Page, FrameActions {
  readonly isKiosk = new URLSearchParams(location.search).has("kiosk");
  readonly drafts = new Drafts(kTabStorage);
  readonly trends = new Trends();
  readonly pictures = new Pictures((name) => this.session.getFile(name, this.now));
  isOperable = false;

  private readonly session: Session;
  private readonly socket: Socket;
  private readonly view = new View(this);
  private readonly language = new Language(kStorage, navigator.language);
  private readonly memory = new Memory(kTabStorage);
  private readonly claim = new Claim();
  private readonly past = new Past((dialog) => this.enter(dialog));
  private readonly frame: Frame;
  private languages: readonly string[] = ["en", "ja"];
  private isBusy = false;
  private isDrawing = false;
  private drawnAt = 0;
  private restsUntil = 0;
  private readonly wakeup = new Wakeup(
    () => this.now,
    () => this.told(() => this.session.tick(this.now)),
  );
  private shownDialog = "";
  private fetching = "";

  constructor(body: HTMLElement) {
    this.session = new Session({
      station: { width: screen.width, height: screen.height },
      random: Math.random,
    });
    const scheme = location.protocol === "https:" ? "wss:" : "ws:";
    this.socket = new Socket(`${scheme}//${location.host}/station`, {
      connected: (line) => this.told(() => this.session.connected(line, this.now)),
      receivedText: (line, text) =>
        this.told(() => this.session.receivedText(line, text, this.now)),
      receivedBytes: (line, bytes) =>
        this.told(() => this.session.receivedBytes(line, bytes, this.now)),
      closed: (line) => this.told(() => this.session.closed(line, this.now)),
    });
    const theme = new Theme(kStorage);
    this.frame = new Frame(body, this.view.element, kStorage, theme, this.isKiosk, this);
  }

  start(): void {
    for (const type of ["pointerdown", "keydown"]) {
      addEventListener(type, () => this.session.touched(this.now), { capture: true });
    }
    document.addEventListener("visibilitychange", () => {
      this.told(() => this.session.setLooking(!document.hidden, this.now));
    });
    setInterval(() => this.redraw(), kSecond);
    void this.resume();
  }

  // What objects of the screen ask for.

  get texts(): Texts {
    return textsIn(this.language.current);
  }

  act(item: Item, attributes: Readonly<Record<string, Json>>): boolean {
    const objects = [{ name: item.name, attributes }];
    const isSent = this.session.act(item.name, item.actionType, objects, this.now);
    this.pump();
    // What is pending is marked in the task of the click.
    this.drawDialog();
    return isSent;
  }

  enter(dialog: string): void {
    this.told(() => this.session.enter(dialog, this.now));
  }

  ask(question: string): Promise<boolean> {
    return ask(question, this.texts);
  }

  askNumber(item: Item, typed: string): Promise<string | null> {
    return askNumber(item, typed, this.texts);
  }

  register(element: DialogElement): void {
    this.view.register(element);
  }

  // What the frame asks for.

  logIn(user: string, password: string): void {
    if (this.session.state === "loggingIn") return;
    this.told(() => this.session.logIn(user, password, this.now));
  }

  logOut(): void {
    this.drafts.setUser("");
    this.told(() => this.session.logOut());
  }

  refresh(): void {
    this.told(() => this.session.refresh(this.now));
  }

  setStays(stays: boolean): void {
    this.told(() => this.session.setStays(stays, this.now));
  }

  chooseLanguage(language: string): void {
    this.language.choose(language);
    this.redraw();
  }

  acknowledge(alarm: AlarmLine): void {
    this.view.acknowledge(alarm);
  }

  redraw(): void {
    if (this.isDrawing) return;
    this.isDrawing = true;
    const frame = (): void => {
      if (this.mayRest()) {
        withNextFrame(frame);
      } else {
        this.isDrawing = false;
        this.drawnAt = this.now;
        setTimeout(() => this.restAfterLong()); // Behind layout and paint.
        this.draw();
      }
    };
    withNextFrame(frame);
  }

  /** What takes long leaves the user as much time as it took; a page out of view is just late. */
  private restAfterLong(): void {
    const took = Math.min(kSecond, this.now - this.drawnAt);
    this.restsUntil = took > kLongDraw ? this.now + took : 0;
  }

  private mayRest(): boolean {
    const { all, isAwaited, names } = this.session.replica.changes;
    if (isAwaited) return false;
    if (this.now < this.restsUntil) return true;
    const isFlood = !all && names.size >= kMany;
    return isFlood && this.isOperable && this.now - this.drawnAt < kRestAfterMany;
  }

  private get now(): number {
    return performance.now();
  }

  /** A session that this tab had before its page was loaded anew, if no other tab has it now. */
  private async resume(): Promise<void> {
    const ticket = readTicket(kTabStorage);
    if (ticket && ticket.session !== "") {
      this.isBusy = true;
      if (await this.claim.take(ticket.session)) this.session.resume(ticket, this.now);
      this.isBusy = false;
    } else if (ticket) {
      this.session.rememberDialog(ticket.dialog, ticket.user);
    }
    this.pump();
    this.redraw();
  }

  private told(tell: () => void): void {
    tell();
    this.pump();
    this.redraw();
  }

  private pump(): void {
    const { session } = this;
    this.socket.follow(session.line);
    this.send();
    for (const file of session.takeFiles()) {
      if (this.pictures.receive(file.name, file.bytes)) session.replica.changes.all = true;
    }
    for (const name of session.takeLostFiles()) this.pictures.lose(name);
    for (const { names, why } of session.takeRefused()) {
      for (const name of names) this.view.find(name)?.showRefusal(why);
    }
    this.fetchLocal();
    this.wakeup.set(session.nextTick());
  }

  /** Dialogs that the host leaves to the station may lie at the gateway. */
  private fetchLocal(): void {
    const dialog = this.session.wantsLocal();
    if (dialog === null || dialog === this.fetching) return;
    this.fetching = dialog;
    void fetchDialog(dialog).then((tree) => {
      this.fetching = "";
      this.told(() => this.session.receiveLocal(dialog, tree, this.now));
    });
  }

  private send(): void {
    for (const text of this.session.takeOutput()) this.socket.send(text);
  }

  private remember(): void {
    const { session } = this;
    if (this.isBusy) return;
    this.memory.write(session);
    if (session.sessionId === "") {
      this.claim.drop();
    } else {
      this.drafts.setUser(session.user);
      void this.claim.take(session.sessionId);
    }
  }

  private draw(): void {
    const { session, view } = this;
    const isOther = this.language.follow(session.opened.language);
    if (isOther) view.clear();
    if (session.state === "loggedOut" || session.state === "loggingIn") this.closeDialog();
    else if (isOther) session.replica.changes.all = true;
    this.remember();
    this.drawOperable();
    this.drawDialog();
    this.frame.show({
      session,
      view,
      texts: this.texts,
      language: this.language.current,
      languages: this.languages,
      isBusy: this.isBusy,
      now: this.now,
    });
  }

  private closeDialog(): void {
    if (this.shownDialog === "") return;
    this.shownDialog = "";
    this.view.clear();
    dismissAll();
  }

  private drawOperable(): void {
    const { session } = this;
    const isIn = session.state === "showing" || session.state === "entering";
    const isOperable = isIn && session.staleSince() === null;
    if (isOperable === this.isOperable) return;
    this.isOperable = isOperable;
    this.view.showOperable();
  }

  private drawDialog(): void {
    const { replica, shown } = this.session;
    if (shown === "") return;
    if (shown !== this.shownDialog) this.openDialog(shown);
    const { changes } = replica;
    const language = this.language.current;
    if (changes.all) {
      this.languages = languagesOf(replica.tree.root);
      this.pictures.beginPass();
      this.view.showAll(replica, language);
      this.pictures.endPass();
    } else if (changes.names.size > 0) {
      this.view.showSome(replica, language, changes.names);
    }
    changes.clear();
    this.send(); // Pictures that were asked for.
  }

  private openDialog(dialog: string): void {
    this.shownDialog = dialog;
    this.view.clear();
    this.trends.clear();
    this.pictures.askAgain();
    this.drafts.setDialog(dialog);
    this.session.replica.changes.all = true;
    dismissAll();
    scrollTo(0, 0);
    this.past.visit(dialog);
  }
}

/** Null where the gateway has none, or does not answer. */
async function fetchDialog(dialog: string): Promise<JsonObject | null> {
  try {
    const answer = await fetch(`/local/${fileOfDialog(dialog)}`);
    const json = answer.ok ? ((await answer.json()) as Json) : null;
    return json !== null && isObject(json) ? json : null;
  } catch {
    return null;
  }
}

/** The page's own, and those that the dialog has words in. */
function languagesOf(root: TreeObject): string[] {
  const languages = new Set(["en", "ja"]);
  const open = [root];
  for (let object = open.pop(); object; object = open.pop()) {
    for (const key of object.attributes.keys()) {
      const language = key.includes(":") ? kLanguageWords.exec(key)?.[1] : undefined;
      if (language !== undefined) languages.add(language);
    }
    for (const child of object.children) open.push(child);
  }
  return [...languages];
}
