// The foot of the page: language, theme, staying logged in, refreshing and leaving.

import { make, makeButton, setAttribute, setText } from "../dom";
import type { Texts } from "../texts";
import { kThemes, Theme, ThemeName } from "./theme";

export interface ToolState {
  readonly isLoggedIn: boolean;
  readonly user: string;
  readonly language: string;
  readonly languages: readonly string[];
  readonly stays: boolean;
  readonly unreadable: number;
  readonly quality: number | null;
}

export interface ToolActions {
  chooseLanguage(language: string): void;
  setStays(stays: boolean): void;
  refresh(): void;
  logOut(): void;
}

const kLanguageNames: ReadonlyMap<string, string> = new Map([
  ["en", "English"],
  ["ja", "日本語"],
]);

export class Tools {
  readonly element = make("footer", "tools");
  private readonly language = make("select");
  private readonly languageLabel = make("span", "name");
  private readonly theme = make("select");
  private readonly themeLabel = make("span", "name");
  private readonly stay = make("input");
  private readonly stayLabel = make("span");
  private readonly staySwitch = make("label", "switch");
  private readonly refresh: HTMLButtonElement;
  private readonly logout: HTMLButtonElement;
  private readonly user = make("span", "user");
  private readonly quality = make("span", "quality");
  private readonly unreadable = make("span", "unreadable");

  constructor(actions: ToolActions, private readonly themes: Theme) {
    this.language.dataset["part"] = "language";
    this.language.addEventListener("change", () => actions.chooseLanguage(this.language.value));
    this.theme.dataset["part"] = "theme";
    this.theme.addEventListener("change", () => themes.choose(this.theme.value as ThemeName));
    this.stay.type = "checkbox";
    this.stay.setAttribute("role", "switch");
    this.stay.dataset["part"] = "stay";
    this.stay.addEventListener("change", () => actions.setStays(this.stay.checked));
    this.staySwitch.append(this.stay, this.stayLabel);
    this.refresh = makeButton("", "", () => actions.refresh());
    this.refresh.dataset["part"] = "refresh";
    this.logout = makeButton("", "", () => actions.logOut());
    this.logout.dataset["part"] = "logout";
    this.unreadable.dataset["part"] = "unreadable";
    this.quality.dataset["part"] = "quality";
    this.element.append(
      labelled(this.languageLabel, this.language),
      labelled(this.themeLabel, this.theme),
      this.staySwitch,
      this.unreadable,
      this.quality,
      this.user,
      this.refresh,
      this.logout,
    );
  }

  show(state: ToolState, texts: Texts): void {
    this.showChoices(state, texts);
    setText(this.stayLabel, texts.stay);
    this.stay.checked = state.stays;
    setText(this.refresh, texts.refresh);
    setText(this.logout, texts.logOut);
    setText(this.user, state.user);
    setText(this.quality, state.quality === null ? "" : texts.quality(Math.round(state.quality)));
    setText(this.unreadable, state.unreadable > 0 ? texts.unreadable(state.unreadable) : "");
    for (const part of [this.staySwitch, this.refresh, this.logout, this.user, this.quality]) {
      part.hidden = !state.isLoggedIn;
    }
    this.unreadable.hidden = state.unreadable === 0;
  }

  private showChoices(state: ToolState, texts: Texts): void {
    setText(this.languageLabel, texts.language);
    setAttribute(this.language, "aria-label", texts.language);
    showOptions(
      this.language,
      state.languages.map((each) => [each, kLanguageNames.get(each) ?? each]),
      state.language,
    );
    setText(this.themeLabel, texts.theme);
    setAttribute(this.theme, "aria-label", texts.theme);
    showOptions(this.theme, kThemes.map((each) => [each, texts.themes[each]]), this.themes.chosen);
  }
}

function labelled(name: HTMLElement, select: HTMLSelectElement): HTMLElement {
  const label = make("label", "choice");
  label.append(name, select);
  return label;
}

function showOptions(
  select: HTMLSelectElement,
  options: readonly (readonly [string, string])[],
  chosen: string,
): void {
  const key = JSON.stringify(options);
  if (select.dataset["options"] !== key) {
    select.dataset["options"] = key;
    select.replaceChildren(
      ...options.map(([value, text]) => {
        const option = make("option", "", text);
        option.value = value;
        return option;
      }),
    );
  }
  if (select.value !== chosen) select.value = chosen;
}
