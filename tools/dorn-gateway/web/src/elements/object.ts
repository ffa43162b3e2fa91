// What the elements of all objects have in common. Each keeps what it shows and touches the
// document only where that has changed.

import { make, newId, setAttribute, setFlag, setText, shownText } from "../dom";
import type { DialogElement, Page } from "../page";
import { setPlace } from "../reconcile";
import type { Item, Place } from "../screen";

const isSamePlace = (a: Place | null, b: Place | null): boolean =>
  a === b || (!!a && !!b && a.x === b.x && a.y === b.y && a.w === b.w && a.h === b.h);

export abstract class ObjectElement extends HTMLElement implements DialogElement {
  item!: Item;
  protected page!: Page;
  level = 0;
  /** What the user touches, if anything. */
  protected control: HTMLElement | null = null;
  protected caption: HTMLElement | null = null;
  private mark: HTMLElement | null = null;
  private hint: HTMLElement | null = null;
  private error: HTMLElement | null = null;
  private refusal = "";

  show(item: Item, page: Page, level: number): void {
    const old = this.item as Item | undefined;
    this.item = item;
    this.page = page;
    this.level = level;
    page.register(this);
    if (!old) this.build();
    this.showFrame(old);
    this.patch(item, old);
    this.showError();
  }

  showRefusal(why: string): void {
    this.refusal = why;
    this.showError();
  }

  showOperable(): void {
    if (!this.control) return;
    const isOff = !this.page.isOperable || (this.item.isReadOnly && this.isPush);
    setAttribute(this.control, "aria-disabled", isOff ? "true" : null);
  }

  /** Makes what stays for the life of the element. */
  protected abstract build(): void;

  /** Shows what is different from before; `old` is undefined at first. */
  protected abstract patch(item: Item, old: Item | undefined): void;

  protected get mayTouch(): boolean {
    return this.item.isEnabled && !this.item.isReadOnly && this.page.isOperable;
  }

  /** What is pushed has no way of its own to be for reading alone. */
  protected get isPush(): boolean {
    return false;
  }

  /** A line with the caption, and behind it what is wrong with the object. */
  protected makeCaption(): HTMLElement {
    this.caption = make("span", "caption");
    this.caption.append("");
    return this.caption;
  }

  protected setUpControl(control: HTMLElement): void {
    this.control = control;
    control.dataset["part"] = "value";
  }

  /** Another one than before, of the same object. */
  protected replaceControl(control: HTMLElement): void {
    this.setUpControl(control);
    this.showControl(undefined);
    this.describe();
  }

  protected act(attributes: Readonly<Record<string, string>>): boolean {
    this.showRefusal("");
    const isSent = this.page.act(this.item, attributes);
    if (!isSent && this.page.isOperable) this.showRefusal(this.page.texts.notSent);
    return isSent;
  }

  private showFrame(old: Item | undefined): void {
    const { item } = this;
    if (!old) this.dataset["name"] = item.name;
    if (old?.type !== item.type) this.dataset["type"] = item.type;
    if (old?.state !== item.state) this.dataset["state"] = item.state;
    if (old?.isVisible !== item.isVisible) this.hidden = !item.isVisible;
    if (old?.isPending !== item.isPending) {
      setAttribute(this, "aria-busy", item.isPending ? "true" : null);
    }
    if (old?.color !== item.color) {
      setAttribute(this, "data-color", item.color === "none" ? null : item.color);
    }
    if (!old || old.isWide !== item.isWide) this.classList.toggle("wide", item.isWide);
    if (!old || !isSamePlace(old.place, item.place)) setPlace(this, item.place);
    if (this.caption && old?.caption !== item.caption) this.showCaption(item.caption);
    if (this.caption && old?.state !== item.state) this.showMark();
    if (old?.hint !== item.hint) this.showHint();
    if (this.control) this.showControl(old);
  }

  private showControl(old: Item | undefined): void {
    const { item, control } = this;
    if (!control) return;
    if (old?.caption !== item.caption) setAttribute(control, "aria-label", item.caption);
    if (old?.isEnabled !== item.isEnabled) setFlag(control, "disabled", !item.isEnabled);
    if (old?.isReadOnly !== item.isReadOnly) this.showOperable();
  }

  private showCaption(caption: string): void {
    const text = this.caption?.firstChild;
    if (text instanceof Text) text.data = shownText(caption);
  }

  private showMark(): void {
    const word = this.page.texts.states[this.item.state];
    if (word === "") {
      this.mark?.remove();
      this.mark = null;
      return;
    }
    this.mark ??= make("span");
    this.mark.className = `mark ${this.item.state.toLowerCase()}`;
    setText(this.mark, word);
    if (!this.mark.parentNode) this.caption?.append(this.mark);
  }

  private showHint(): void {
    if (this.item.hint === "") {
      this.hint?.remove();
      this.hint = null;
    } else {
      this.hint ??= make("span", "hint");
      this.hint.id ||= newId();
      setText(this.hint, this.item.hint);
      if (!this.hint.parentNode) this.placeNote(this.hint);
    }
    this.describe();
  }

  private showError(): void {
    const text = this.refusal || this.item.error;
    if (text === "") {
      if (!this.error) return;
      this.error.remove();
      this.error = null;
    } else {
      this.error ??= make("span", "error");
      this.error.dataset["part"] = "error";
      this.error.id ||= newId();
      setText(this.error, text);
      if (!this.error.parentNode) this.placeNote(this.error);
    }
    this.describe();
  }

  protected placeNote(note: HTMLElement): void {
    this.append(note);
  }

  private describe(): void {
    const described = this.control ?? this;
    const ids = [this.hint, this.error].flatMap((note) => (note ? [note.id] : []));
    setAttribute(described, "aria-describedby", ids.length > 0 ? ids.join(" ") : null);
  }
}
