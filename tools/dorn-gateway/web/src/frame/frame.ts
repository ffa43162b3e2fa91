// Everything around the dialog, from the head of the page to its foot.

import { make, setFlag, setText } from "../dom";
import { AlarmLine, kMostItems } from "../screen";
import type { Session } from "../session";
import type { TextStorage } from "../storage";
import type { Texts } from "../texts";
import type { View } from "../view";
import { AlarmBar } from "./alarmbar";
import { Banner } from "./banner";
import { Keyboard } from "./keyboard";
import { Login } from "./login";
import { Menu } from "./menu";
import type { Theme } from "./theme";
import { ToolActions, Tools } from "./tools";

export interface FrameActions extends ToolActions {
  logIn(user: string, password: string): void;
  enter(dialog: string): void;
  acknowledge(alarm: AlarmLine): void;
  redraw(): void;
}

export interface FrameState {
  readonly session: Session;
  readonly view: View;
  readonly texts: Texts;
  readonly language: string;
  readonly languages: readonly string[];
  readonly isBusy: boolean; // Finding out whether a session can be gone on with.
  readonly now: number;
}

const kWarnBefore = 60_000;

const isLoggedIn = ({ session }: FrameState): boolean =>
  session.state !== "loggedOut" && session.state !== "loggingIn";

/** How long before its end a session is said to end; null: nothing to say yet. */
function endsIn({ session, now }: FrameState): number | null {
  const end = session.endsAt();
  if (end === null) return null;
  const warnBefore = Math.min(kWarnBefore, session.opened.intervalSeconds * 250);
  return end - now <= warnBefore ? end - now : null;
}

export class Frame {
  private readonly header = make("header");
  private readonly top = make("div", "top"); // Stays in view.
  private readonly title = make("h1");
  private readonly main = make("main");
  private readonly note = make("p", "note");
  private readonly menu: Menu;
  private readonly login: Login;
  private readonly alarmBar: AlarmBar;
  private readonly banner = new Banner();
  private readonly tools: Tools;
  private readonly keyboard: Keyboard | null;
  private isFormThere = false;

  constructor(
    body: HTMLElement,
    private readonly cards: HTMLElement,
    storage: TextStorage,
    theme: Theme,
    private readonly isKiosk: boolean,
    actions: FrameActions,
  ) {
    this.menu = new Menu((dialog) => actions.enter(dialog));
    this.login = new Login((user, password) => actions.logIn(user, password));
    this.alarmBar = new AlarmBar(storage, (alarm) => actions.acknowledge(alarm));
    this.alarmBar.onToggle = () => actions.redraw();
    this.tools = new Tools(actions, theme);
    this.keyboard = isKiosk ? new Keyboard() : null;
    this.header.append(this.title, this.menu.element);
    this.main.append(this.note, cards);
    this.top.append(this.alarmBar.element, this.banner.element);
    body.append(this.header, this.top, this.main);
    if (this.keyboard) this.addKeyboard(body, this.keyboard);
    else body.append(this.tools.element);
    document.documentElement.classList.toggle("kiosk", isKiosk);
  }

  private addKeyboard(body: HTMLElement, keyboard: Keyboard): void {
    body.append(keyboard.element);
    const follow = (): void => this.followFocus();
    addEventListener("focusin", follow);
    addEventListener("focusout", () => setTimeout(follow));
  }

  private followFocus(): void {
    this.keyboard?.follow(document.activeElement, this.login.element.isConnected);
  }

  show(state: FrameState): void {
    const { session, view, texts, now } = state;
    const isIn = isLoggedIn(state);
    const since = session.staleSince();
    this.header.hidden = !isIn;
    setText(this.title, view.title);
    if (this.isKiosk) this.menu.element.hidden = true;
    else this.menu.show(session.menu(), session.dialog, texts);
    this.alarmBar.show(isIn ? view.alarms : { isThere: false, open: [] }, since === null, texts);
    this.banner.show(
      {
        cause: session.getCause(),
        staleFor: since === null ? null : now - since,
        endsIn: endsIn(state),
        message: isIn ? session.message : "",
      },
      texts,
      state.language,
    );
    this.top.classList.toggle("stale", since !== null);
    this.showMain(state, since !== null);
    this.showTools(state, isIn);
    this.keyboard?.show(texts);
    this.followFocus();
    const title = view.title || texts.logIn;
    if (document.title !== title) document.title = title;
  }

  private showMain(state: FrameState, isStale: boolean): void {
    const { session, view, texts } = state;
    const isForm = !isLoggedIn(state) && !state.isBusy;
    setFlag(this.main, "data-stale", isStale);
    if (!isForm) this.login.element.remove();
    else if (!this.login.element.isConnected) this.main.prepend(this.login.element);
    this.login.show(
      {
        isBusy: session.state === "loggingIn",
        cause: session.state === "loggedOut" ? session.getCause() : "none",
        message: session.message,
      },
      texts,
    );
    if (isForm && !this.isFormThere) this.login.begin(session.user);
    this.isFormThere = isForm && session.state !== "loggingIn";
    const isNothing = session.state === "showing" && session.replica.state === "nothing";
    const isEmpty = !isForm && view.element.childElementCount === 0;
    const part = view.isPart ? texts.screenPart(kMostItems) : "";
    setText(this.note, isNothing ? texts.nothing : isEmpty ? texts.entering : part);
    this.note.hidden = this.note.textContent === "";
    this.cards.hidden = isForm || isNothing;
  }

  private showTools(state: FrameState, isIn: boolean): void {
    const { session, texts, language, languages } = state;
    this.tools.show(
      {
        isLoggedIn: isIn,
        user: session.user,
        language,
        languages,
        stays: session.stays,
        unreadable: session.unreadable,
        quality: session.quality,
      },
      texts,
    );
  }
}
