// The form that lets a user in.

import { make, newId, setAttribute, setText } from "../dom";
import type { Cause } from "../session";
import type { Texts } from "../texts";

export interface LoginState {
  readonly isBusy: boolean;
  readonly cause: Cause;
  readonly message: string; // The host's own words.
}

const causeText = (state: LoginState, texts: Texts): string => {
  switch (state.cause) {
    case "wrongPassword":
    case "cannotConnect":
    case "refused":
    case "sessionEnded":
    case "idle":
      return texts[state.cause];
    default:
      return "";
  }
};

export class Login {
  readonly element = make("form", "login card");
  private readonly title = make("h1");
  private readonly host = make("p", "host");
  private readonly user = make("input");
  private readonly userLabel = make("label");
  private readonly password = make("input");
  private readonly passwordLabel = make("label");
  private readonly button = make("button", "push yes");
  private readonly alert = make("p", "alert");

  constructor(onSubmit: (user: string, password: string) => void) {
    this.alert.setAttribute("role", "alert");
    this.user.name = "user";
    this.user.type = "text";
    this.user.autocomplete = "username";
    this.user.spellcheck = false;
    this.user.setAttribute("autocapitalize", "none");
    this.password.name = "password";
    this.password.type = "password";
    this.password.autocomplete = "current-password";
    this.button.type = "submit";
    this.element.append(
      this.title,
      this.host,
      ...labelled(this.userLabel, this.user),
      ...labelled(this.passwordLabel, this.password),
      this.alert,
      this.button,
    );
    this.element.addEventListener("submit", (event) => {
      event.preventDefault();
      if (this.user.value === "") this.user.focus();
      else onSubmit(this.user.value, this.password.value);
    });
  }

  show(state: LoginState, texts: Texts): void {
    setText(this.title, texts.logIn);
    setText(this.host, location.host);
    setText(this.userLabel, texts.user);
    setText(this.passwordLabel, texts.password);
    setText(this.button, state.isBusy ? texts.loggingIn : texts.logIn);
    setAttribute(this.button, "aria-disabled", state.isBusy ? "true" : null);
    const cause = causeText(state, texts);
    const isMore = state.message !== "" && state.message !== cause;
    setText(this.alert, isMore && cause !== "" ? `${cause} (${state.message})` : cause);
    this.alert.hidden = cause === "";
  }

  /** A new attempt begins where the last one went wrong. */
  begin(user: string): void {
    this.password.value = "";
    if (this.user.value === "") this.user.value = user;
    (this.user.value === "" ? this.user : this.password).focus();
  }
}

function labelled(label: HTMLLabelElement, field: HTMLInputElement): HTMLElement[] {
  field.id = newId();
  label.htmlFor = field.id;
  return [label, field];
}
