// LIST and COMBO: one of Options, all in view or unfolded to choose. The arrow keys go through the
// choices; Enter, the space bar or leaving sends the one that was reached, Escape goes back.

import { make, setAttribute, setFlag } from "../dom";
import type { Item } from "../screen";
import { ObjectElement } from "./object";

const kMostRows = 6;
const kMostOptions = 5000; // More are no choice, and cost a second.

const areSame = (a: readonly string[], b: readonly string[]): boolean =>
  a === b || (a.length === b.length && a.every((text, i) => text === b[i]));

abstract class ChoiceElement extends ObjectElement {
  protected readonly select = make("select");
  private isByKeys = false;
  private isReached = false; // By keys, and not sent.

  protected build(): void {
    this.setUpControl(this.select);
    this.append(this.makeCaption(), this.select);
    this.select.addEventListener("keydown", (event) => this.onKey(event));
    this.select.addEventListener("pointerdown", () => (this.isByKeys = false));
    this.select.addEventListener("change", () => this.onChange());
    this.select.addEventListener("blur", () => {
      this.isByKeys = false;
      this.send();
    });
  }

  protected patch(item: Item, old: Item | undefined): void {
    const isSame =
      old !== undefined &&
      areSame(old.options, item.options) &&
      areSame(old.optionTexts, item.optionTexts);
    if (!isSame) this.showOptions(item);
    this.select.disabled = !item.isEnabled || item.isReadOnly;
    if (!this.isReached) this.showChosen();
    else if (!isSame) this.markChosen();
  }

  /** What was reached by keys stays while it can still be chosen. */
  protected showOptions(item: Item): void {
    const reached = this.isReached ? item.options.indexOf(this.select.value) : -1;
    const options = new DocumentFragment();
    item.options.slice(0, kMostOptions).forEach((value, i) => {
      const option = make("option", "", item.optionTexts[i]);
      option.value = value;
      options.append(option);
    });
    if (item.options.length > kMostOptions) options.append(this.makeRest(item.options.length));
    this.select.replaceChildren(options);
    this.isReached = reached >= 0;
    if (this.isReached) this.select.selectedIndex = reached;
  }

  /** Stands for the ones that are not shown; chosen where the value is one of them. */
  private makeRest(count: number): HTMLOptionElement {
    const rest = make("option", "", `${kMostOptions} / ${count} …`);
    rest.disabled = true;
    return rest;
  }

  private showChosen(): void {
    const index = Math.min(this.item.options.indexOf(this.item.raw), kMostOptions);
    if (this.select.selectedIndex !== index) this.select.selectedIndex = index;
    this.markChosen();
  }

  private markChosen(): void {
    let i = 0;
    for (const element of this.select.children) {
      setFlag(element, "data-on", this.item.options[i++] === this.item.raw);
    }
  }

  private onKey(event: KeyboardEvent): void {
    this.isByKeys = event.key !== "Enter" && event.key !== " ";
    if (event.key === "Escape") {
      this.isReached = false;
      this.showChosen();
    } else if (!this.isByKeys && this.isReached) {
      event.preventDefault();
      this.send();
    }
  }

  private onChange(): void {
    this.isReached = true;
    if (!this.mayTouch) {
      this.isReached = false;
      this.showChosen();
    } else if (!this.isByKeys) {
      this.send();
    }
  }

  private send(): void {
    if (!this.isReached) return;
    this.isReached = false;
    const value = this.item.options[this.select.selectedIndex];
    if (this.mayTouch && value !== undefined && value !== this.item.raw) this.act({ Value: value });
    this.showChosen();
  }
}

export class ListElement extends ChoiceElement {
  protected override showOptions(item: Item): void {
    super.showOptions(item);
    const rows = Math.min(kMostRows, Math.max(2, item.options.length));
    setAttribute(this.select, "size", String(rows));
  }
}

export class ComboElement extends ChoiceElement {}
