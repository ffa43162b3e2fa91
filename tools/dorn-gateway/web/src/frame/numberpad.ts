// A pad to type a number without a keyboard.

import { make, makeButton, newId, setText } from "../dom";
import { multipliedDecimal, readDecimal, writtenDecimal } from "../numbers";
import type { Item } from "../screen";
import type { Texts } from "../texts";

const kKeys = ["7", "8", "9", "4", "5", "6", "1", "2", "3"];

class NumberPad {
  readonly dialog = make("dialog", "numberpad");
  private readonly shown = make("output", "typed");
  private isFresh = true; // The first digit takes the place of what was there.

  constructor(
    private readonly item: Item,
    private text: string,
    private readonly texts: Texts,
  ) {
    const title = make("h2", "title", item.caption);
    title.id = newId();
    this.dialog.setAttribute("aria-labelledby", title.id);
    this.dialog.append(title, this.shown, this.range(), this.keys(), this.answers());
    this.dialog.addEventListener("keydown", (event) => this.onKey(event));
    this.show();
  }

  private written(limit: number | undefined): string {
    if (limit === undefined) return "";
    const { scale, decimals } = this.item;
    const number = { digits: BigInt(limit), decimals: 0 };
    return writtenDecimal(number, scale, scale > 1 ? decimals : 0);
  }

  private range(): HTMLElement {
    const [min, max] = [this.written(this.item.min), this.written(this.item.max)];
    const text = min === "" && max === "" ? "" : `${min} … ${max} ${this.item.unit}`;
    return make("p", "range", text.trim());
  }

  private key(text: string, onClick: () => void, name = text): HTMLButtonElement {
    const button = makeButton("key", text, () => {
      onClick();
      this.show();
    });
    button.setAttribute("aria-label", name);
    return button;
  }

  private keys(): HTMLElement {
    const keys = make("div", "keys");
    for (const digit of kKeys) keys.append(this.key(digit, () => this.type(digit)));
    keys.append(
      this.key("±", () => this.changeSign(), this.texts.sign),
      this.key("0", () => this.type("0")),
      this.key(".", () => this.type(".")),
    );
    const { step } = this.item;
    if (step !== undefined && step > 0) {
      const by = this.written(step);
      keys.append(this.key(`−${by}`, () => this.move(-step)));
      keys.append(this.key("⌫", () => this.erase(), this.texts.erase));
      keys.append(this.key(`+${by}`, () => this.move(step)));
    } else {
      const erase = this.key("⌫", () => this.erase(), this.texts.erase);
      erase.classList.add("across");
      keys.append(erase);
    }
    return keys;
  }

  private answers(): HTMLElement {
    const row = make("div", "answers");
    row.append(
      makeButton("push", this.texts.cancel, () => this.dialog.close("")),
      makeButton("push yes", this.texts.ok, () => this.finish()),
    );
    return row;
  }

  private type(key: string): void {
    if (this.isFresh) this.text = "";
    this.isFresh = false;
    if (key === "." && this.text.includes(".")) return;
    const isFirst = this.text === "" || this.text === "-";
    if (this.text.length < 15) this.text += key === "." && isFirst ? "0." : key;
  }

  private erase(): void {
    this.isFresh = false;
    this.text = this.text.slice(0, -1);
  }

  private changeSign(): void {
    this.isFresh = false;
    this.text = this.text.startsWith("-") ? this.text.slice(1) : `-${this.text}`;
  }

  /** By steps as the host counts them, and no further than to the limits. */
  private move(step: number): void {
    const { scale, decimals, min = -Infinity, max = Infinity } = this.item;
    const typed = readDecimal(this.text) ?? { digits: 0n, decimals: 0 };
    const places = scale > 1 ? 0 : typed.decimals;
    const raw = Number(multipliedDecimal(typed, scale, places)) + step;
    const within = Math.min(max, Math.max(min, raw));
    const number = readDecimal(within.toFixed(places));
    if (number) this.text = writtenDecimal(number, scale, scale > 1 ? decimals : places);
    this.isFresh = true;
  }

  private onKey(event: KeyboardEvent): void {
    if (/^[\d.]$/.test(event.key)) this.type(event.key);
    else if (event.key === "-") this.changeSign();
    else if (event.key === "Backspace") this.erase();
    else if (event.key === "Enter" && !(event.target instanceof HTMLButtonElement)) this.finish();
    else return;
    event.preventDefault();
    this.show();
  }

  private show(): void {
    setText(this.shown, this.text === "" ? "\u2007" : this.text);
  }

  private finish(): void {
    this.dialog.close(`=${this.text}`);
  }
}

/** What was typed; null when it was cancelled. */
export function askNumber(item: Item, typed: string, texts: Texts): Promise<string | null> {
  const { dialog } = new NumberPad(item, typed, texts);
  document.body.append(dialog);
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue.startsWith("=") ? dialog.returnValue.slice(1) : null);
    });
  });
}
