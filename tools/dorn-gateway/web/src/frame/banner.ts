// What is wrong with the line or the session, and since when. It goes away by itself.

import { make, setText } from "../dom";
import type { Cause } from "../session";
import { durationText, Texts } from "../texts";

export interface BannerState {
  readonly cause: Cause;
  readonly staleFor: number | null; // Milliseconds.
  readonly endsIn: number | null; // Until the session ends; null: no need to say.
  readonly message: string;
}

function causeText(cause: Cause, texts: Texts): string {
  if (cause === "noAnswer") return texts.noAnswer;
  return cause === "hostLost" ? texts.hostLost : texts.lineLost;
}

export class Banner {
  readonly element = make("div", "banner");
  private readonly words = make("span");
  // A reader of the screen is told what is wrong once, and not each second.
  private readonly age = make("span", "age");

  constructor() {
    this.element.dataset["part"] = "banner";
    this.element.setAttribute("role", "status");
    this.age.setAttribute("aria-hidden", "true");
    this.element.append(this.words, this.age);
  }

  show(state: BannerState, texts: Texts, language: string): void {
    const [words, age] = this.wordsOf(state, texts, language);
    setText(this.words, words);
    setText(this.age, age);
    this.element.classList.toggle("empty", words === "");
    this.element.classList.toggle("mild", state.staleFor === null);
  }

  private wordsOf(state: BannerState, texts: Texts, language: string): [string, string] {
    if (state.staleFor !== null) {
      const cause = causeText(state.cause, texts);
      const words = state.message === "" ? cause : `${cause} (${state.message})`;
      return [words, texts.since(durationText(state.staleFor, language))];
    }
    if (state.endsIn !== null) return [texts.endsSoon, durationText(state.endsIn, language)];
    return [state.message, ""];
  }
}
