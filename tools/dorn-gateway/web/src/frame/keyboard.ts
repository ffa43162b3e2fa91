// A keyboard for panels that have none: it types into the field that has the focus.

import { make, makeButton, setAttribute, setText } from "../dom";
import type { Texts } from "../texts";

const kRows = ["1234567890", "qwertyuiop", "asdfghjkl", "zxcvbnm-_.@"];

const isField = (element: Element | null): element is HTMLInputElement | HTMLTextAreaElement =>
  (element instanceof HTMLInputElement && /^(text|password)$/.test(element.type)) ||
  element instanceof HTMLTextAreaElement;

export class Keyboard {
  readonly element = make("section", "keyboard");
  private readonly letters: HTMLButtonElement[] = [];
  private readonly named: { button: HTMLButtonElement; text: (texts: Texts) => string }[] = [];
  private isShifted = false;

  constructor() {
    // A touch must not take the focus away from the field that is typed into.
    this.element.addEventListener("pointerdown", (event) => event.preventDefault());
    this.element.addEventListener("mousedown", (event) => event.preventDefault());
    for (const row of kRows) this.addRow([...row]);
    const last = make("div", "row");
    last.append(
      this.special("shift", "⇧", (texts) => texts.shift, () => this.shift(!this.isShifted)),
      this.special("space", " ", (texts) => texts.space, () => this.type(" ")),
      this.special("erase", "⌫", (texts) => texts.erase, () => this.erase()),
      this.special("enter", "⏎", (texts) => texts.enter, () => this.enter()),
    );
    this.element.append(last);
  }

  /** It is there while something can be typed with it, and as long as a form asks for it. */
  follow(focused: Element | null, isAskedFor: boolean): void {
    const isFocused = isField(focused) && focused.inputMode !== "none";
    const comes = this.element.hidden;
    this.element.hidden = !isFocused && !isAskedFor;
    if (isFocused && comes) focused.scrollIntoView({ block: "center" });
  }

  show(texts: Texts): void {
    setAttribute(this.element, "aria-label", texts.keyboard);
    for (const { button, text } of this.named) setAttribute(button, "aria-label", text(texts));
  }

  private addRow(keys: readonly string[]): void {
    const row = make("div", "row");
    for (const key of keys) {
      const button = makeButton("key", key, () => this.type(button.textContent ?? ""));
      button.tabIndex = -1;
      if (/[a-z]/.test(key)) this.letters.push(button);
      row.append(button);
    }
    this.element.append(row);
  }

  private special(
    className: string,
    sign: string,
    text: (texts: Texts) => string,
    onClick: () => void,
  ): HTMLButtonElement {
    const button = makeButton(`key ${className}`, sign, onClick);
    button.tabIndex = -1;
    this.named.push({ button, text });
    return button;
  }

  private shift(isShifted: boolean): void {
    this.isShifted = isShifted;
    for (const letter of this.letters) {
      const key = letter.textContent ?? "";
      setText(letter, isShifted ? key.toUpperCase() : key.toLowerCase());
    }
  }

  private type(text: string): void {
    this.replace(text, false);
    if (this.isShifted) this.shift(false);
  }

  private erase(): void {
    this.replace("", true);
  }

  private replace(text: string, takesOneBefore: boolean): void {
    const field = document.activeElement;
    if (!isField(field) || field.readOnly || field.disabled) return;
    const end = field.selectionEnd ?? field.value.length;
    let start = field.selectionStart ?? end;
    if (takesOneBefore && start === end) start = Math.max(0, start - 1);
    field.setRangeText(text, start, end, "end");
    field.dispatchEvent(new Event("input", { bubbles: true }));
  }

  private enter(): void {
    const field = document.activeElement;
    if (!isField(field)) return;
    if (field.form) field.form.requestSubmit();
    else field.dispatchEvent(new KeyboardEvent("keydown", { key: "Enter", ctrlKey: true }));
  }
}
