// RADIOBTN: one choice of a RADIO group. Its group moves the focus; a touch chooses.

import { makeButton, setAttribute } from "../dom";
import type { Item } from "../screen";
import { ObjectElement } from "./object";

export class RadioElement extends ObjectElement {
  readonly button = makeButton("radio", "", () => this.touch());

  protected override get isPush(): boolean {
    return true;
  }

  protected build(): void {
    this.button.setAttribute("role", "radio");
    this.setUpControl(this.button);
    delete this.button.dataset["part"];
    this.button.append(this.makeCaption());
    this.append(this.button);
  }

  protected patch(item: Item): void {
    setAttribute(this.button, "aria-checked", String(item.isOn));
  }

  private touch(): void {
    if (this.mayTouch) this.act({ Attr: "ON" });
  }
}

/** The arrow keys move the focus between the buttons of a group, and nothing else. */
export function moveFocus(event: KeyboardEvent, buttons: readonly HTMLElement[]): boolean {
  const at = buttons.indexOf(document.activeElement as HTMLElement);
  const to =
    event.key === "ArrowRight" || event.key === "ArrowDown"
      ? at + 1
      : event.key === "ArrowLeft" || event.key === "ArrowUp"
        ? at - 1
        : event.key === "Home"
          ? 0
          : event.key === "End"
            ? buttons.length - 1
            : null;
  if (at < 0 || to === null) return false;
  buttons[(to + buttons.length) % buttons.length]?.focus();
  event.preventDefault();
  return true;
}

/** One button of a group can be reached by the tabulator: what is on, else the first. */
export function setTabStop(buttons: readonly HTMLElement[], on: HTMLElement | undefined): void {
  const { activeElement } = document;
  const focused = buttons.find((button) => button === activeElement);
  const stop = focused ?? on ?? buttons.find((button) => !button.hasAttribute("disabled"));
  for (const button of buttons) setAttribute(button, "tabindex", button === stop ? "0" : "-1");
}
