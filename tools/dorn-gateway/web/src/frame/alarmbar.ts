// The alarms that nobody has acknowledged, on every page whose dialog has a list of them.

import { make, makeButton, setAttribute, setText } from "../dom";
import type { AlarmLine } from "../screen";
import type { TextStorage } from "../storage";
import type { Texts } from "../texts";
import type { ShownAlarms } from "../view";
import { Sound } from "./sound";

// Nobody reads more of them here: their number is told, and the list itself has all.
const kMostLines = 100;

export class AlarmBar {
  readonly element = make("section", "alarmbar");
  private readonly lines = make("ul");
  private readonly quiet = make("span", "quiet");
  private readonly count = make("span", "count");
  private readonly unfold: HTMLButtonElement;
  private readonly mute: HTMLButtonElement;
  private readonly sound: Sound;
  private isUnfolded = false;
  private shown = "";

  constructor(
    storage: TextStorage,
    private readonly onAcknowledge: (alarm: AlarmLine) => void,
  ) {
    this.sound = new Sound(storage);
    this.element.dataset["part"] = "alarmbar";
    this.element.setAttribute("role", "alert");
    this.element.setAttribute("aria-atomic", "false");
    this.unfold = makeButton("unfold", "", () => this.toggle());
    this.mute = makeButton("sound", "", () => this.turnSound());
    this.mute.dataset["part"] = "sound";
    const tools = make("span", "tools");
    tools.append(this.count, this.unfold, this.mute);
    this.element.append(this.quiet, this.lines, tools);
  }

  show(alarms: ShownAlarms, isFresh: boolean, texts: Texts): void {
    this.element.hidden = !alarms.isThere;
    const open = alarms.isThere ? alarms.open : [];
    this.sound.show(isFresh ? open : []);
    const key = JSON.stringify([alarms, this.isUnfolded, isFresh, texts.ack]);
    if (key === this.shown) return;
    this.shown = key;
    this.element.classList.toggle("open", open.length > 0);
    this.element.classList.toggle("unfolded", this.isUnfolded);
    setText(this.quiet, open.length === 0 ? texts.noAlarms : "");
    setText(this.count, open.length > 1 ? texts.moreAlarms(open.length) : "");
    setText(this.unfold, this.isUnfolded ? texts.hide : texts.show);
    this.unfold.hidden = open.length < 2;
    setAttribute(this.unfold, "aria-expanded", String(this.isUnfolded));
    setText(this.mute, texts.sound);
    setAttribute(this.mute, "aria-pressed", String(this.sound.isOn));
    this.showLines(open, isFresh, texts);
  }

  /** Those that stay are left alone: a reader of the screen tells what is new. */
  private showLines(open: readonly AlarmLine[], isFresh: boolean, texts: Texts): void {
    const lines = [...this.lines.children];
    const known = new Map(lines.map((line) => [line.getAttribute("data-key"), line]));
    const wanted = open.slice(0, kMostLines).map((alarm) => {
      const key = JSON.stringify([alarm.grid, alarm.key, alarm.text, texts.ack]);
      const line = known.get(key) ?? this.makeLine(alarm, key, texts);
      const button = line.querySelector("button");
      if (button) setAttribute(button, "aria-disabled", isFresh ? null : "true");
      line.setAttribute("data-state", alarm.state);
      return line;
    });
    const isSame = wanted.length === lines.length && wanted.every((line, i) => lines[i] === line);
    if (!isSame) this.lines.replaceChildren(...wanted);
  }

  private makeLine(alarm: AlarmLine, key: string, texts: Texts): HTMLElement {
    const line = make("li");
    line.dataset["key"] = key;
    const button = makeButton("ack", texts.ack, () => this.onAcknowledge(alarm));
    button.setAttribute("aria-label", `${texts.ack}: ${alarm.text || alarm.key}`);
    line.append(make("span", "text", alarm.text), button);
    return line;
  }

  private turnSound(): void {
    this.sound.turn(!this.sound.isOn);
    setAttribute(this.mute, "aria-pressed", String(this.sound.isOn));
  }

  private toggle(): void {
    this.isUnfolded = !this.isUnfolded;
    this.shown = "";
    this.element.classList.toggle("unfolded", this.isUnfolded);
    this.onToggle();
  }

  /** Told when it has to be shown anew. */
  onToggle: () => void = () => undefined;
}
