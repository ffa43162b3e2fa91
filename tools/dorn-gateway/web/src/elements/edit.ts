// EDIT: a text or number to type. Enter or leaving sends it, Escape goes back. What is typed and
// not sent stays, whatever happens to the line.

import { make, makeButton, setAttribute, setText } from "../dom";
import { writtenDecimal } from "../numbers";
import type { Item } from "../screen";
import { checkTyped, Refusal } from "../values";
import { Gauge } from "./gauge";
import { ObjectElement } from "./object";

type Field = HTMLInputElement | HTMLTextAreaElement;

/** As the user types it: a number is written as it is shown. */
const typedForm = (item: Item): string => (item.isNumeric ? item.value : item.raw);

/** Times are typed as the seconds that they are. */
const isReadOtherwise = (item: Item): boolean =>
  !item.isNumeric && (item.format === "time" || item.format === "datetime");

// A field with more of it does not answer for seconds.
const kMostTyped = 50_000;

/** It cannot be typed into: what is cut off would be lost. */
const isTooLong = (item: Item): boolean => item.raw.length > kMostTyped;

const shownForm = (item: Item, text: string): string =>
  isTooLong(item) ? `${text.slice(0, kMostTyped)} …` : text;

/** A limit as the user would type it. */
function limitText(item: Item, limit: number | undefined): string {
  if (limit === undefined) return "";
  const decimals = item.scale > 1 ? item.decimals : 0;
  return writtenDecimal({ digits: BigInt(limit), decimals: 0 }, item.scale, decimals);
}

export class EditElement extends ObjectElement {
  private field!: Field;
  private readonly unit = make("span", "unit");
  private readonly row = make("span", "field");
  private readonly gauge = new Gauge(this);
  private pad: HTMLButtonElement | null = null;
  private password: string | null = null; // Typed, and not sent: kept nowhere else.
  private sent: string | null = null; // As it was typed, until the host has confirmed it.

  protected build(): void {
    this.unit.dataset["part"] = "unit";
    this.append(this.makeCaption(), this.row);
    this.makeField();
  }

  private makeField(): void {
    this.field = make(this.item.format === "lines" ? "textarea" : "input");
    this.field.spellcheck = false;
    this.replaceControl(this.field);
    this.field.addEventListener("input", () => this.onInput());
    this.field.addEventListener("keydown", (event) => this.onKey(event as KeyboardEvent));
    this.field.addEventListener("focus", () => this.showTyped());
    this.field.addEventListener("blur", () => {
      this.commit();
      this.showTyped();
    });
    this.row.replaceChildren(this.field, this.unit);
    this.pad = null;
  }

  protected patch(item: Item, old: Item | undefined): void {
    if (old && (old.format === "lines") !== (item.format === "lines")) this.makeField();
    this.showSecret(item.format === "password", old?.format === "password");
    if (this.field instanceof HTMLTextAreaElement) this.field.rows = item.lines;
    const mode = item.keyboard === "none" ? "none" : item.isNumeric ? "decimal" : null;
    setAttribute(this.field, "inputmode", mode);
    this.classList.toggle("numeric", item.isNumeric);
    setText(this.unit, item.unit);
    this.unit.hidden = item.unit === "";
    this.field.disabled = !item.isEnabled;
    this.gauge.show(item, old, this.page);
    this.showPad(item);
    this.showReadOnly();
    if (this.sent !== null && !item.isPending) this.endSending(this.sent);
    if (old && old.raw !== item.raw) this.dropKnown();
    this.showTyped();
  }

  /** What was typed until then is kept as the other kind is, or not at all. */
  private showSecret(isSecret: boolean, wasSecret: boolean): void {
    if (this.field instanceof HTMLInputElement) this.field.type = isSecret ? "password" : "text";
    this.field.autocomplete = isSecret ? "new-password" : "off";
    const { drafts } = this.page;
    const { name } = this.item;
    if (isSecret && !wasSecret) {
      this.password = drafts.get(name) ?? null;
      drafts.delete(name);
    } else if (wasSecret && !isSecret) {
      this.password = this.sent = null;
    }
  }

  override showOperable(): void {
    super.showOperable();
    if (this.field) this.showReadOnly();
  }

  /** The text stays where it is, and the focus, too. */
  private showReadOnly(): void {
    const { isReadOnly } = this.item;
    this.field.readOnly = isReadOnly || isTooLong(this.item) || !this.page.isOperable;
  }

  private showPad(item: Item): void {
    const isWanted =
      item.keyboard === "number" && !item.isReadOnly && item.isEnabled && !isTooLong(item);
    if (isWanted && !this.pad) {
      this.pad = makeButton("pad", "", () => void this.usePad());
      this.row.append(this.pad);
    } else if (!isWanted && this.pad) {
      this.pad.remove();
      this.pad = null;
    }
    if (this.pad) setAttribute(this.pad, "aria-label", `${this.page.texts.pad}: ${item.caption}`);
  }

  private get draft(): string | undefined {
    return this.item.format === "password"
      ? this.password ?? undefined
      : this.page.drafts.get(this.item.name);
  }

  private setDraft(text: string | null): void {
    if (this.item.format === "password") this.password = text;
    else if (text === null) this.page.drafts.delete(this.item.name);
    else this.page.drafts.set(this.item.name, text);
  }

  private showTyped(): void {
    const draft = this.draft;
    const isRead = isReadOtherwise(this.item) && document.activeElement !== this.field;
    const text = draft ?? shownForm(this.item, isRead ? this.item.value : typedForm(this.item));
    if (this.field.value !== text) this.field.value = text;
    this.classList.toggle("unsent", draft !== undefined);
    if (draft !== undefined) this.row.dataset["unsent"] = this.page.texts.unsent;
    else delete this.row.dataset["unsent"];
  }

  /** Nobody knows whether a line that was lost has taken along what was sent. */
  private endSending(text: string): void {
    this.sent = null;
    if (!this.page.isOperable && this.draft === undefined) this.setDraft(text);
  }

  /** What the host turns out to have needs not be sent. */
  private dropKnown(): void {
    const draft = this.draft;
    if (draft === undefined || document.activeElement === this.field) return;
    if (checkTyped(this.item, draft).value === this.item.raw) this.setDraft(null);
  }

  private onInput(): void {
    this.showRefusal("");
    setAttribute(this.field, "aria-invalid", null);
    this.setDraft(this.field.value === typedForm(this.item) ? null : this.field.value);
    this.showTyped();
  }

  private onKey(event: KeyboardEvent): void {
    // An input method confirms its own choices with Enter.
    if (event.isComposing) return;
    if (event.key === "Enter" && (event.ctrlKey || this.field instanceof HTMLInputElement)) {
      event.preventDefault();
      this.commit();
    } else if (event.key === "Escape") {
      this.forget();
    }
  }

  private forget(): void {
    this.setDraft(null);
    this.showRefusal("");
    setAttribute(this.field, "aria-invalid", null);
    this.showTyped();
  }

  private commit(): void {
    const draft = this.draft;
    if (draft === undefined || !this.mayTouch) return;
    const typed = checkTyped(this.item, draft);
    setAttribute(this.field, "aria-invalid", typed.refused === undefined ? null : "true");
    if (typed.refused !== undefined) {
      this.showRefusal(this.refusalText(typed.refused));
      return;
    }
    this.setDraft(null);
    if (typed.value !== this.item.raw) {
      this.sent = draft;
      if (!this.act({ Value: typed.value })) {
        this.sent = null;
        this.setDraft(draft);
      }
    }
    this.showTyped();
  }

  private refusalText(refusal: Refusal): string {
    const { item } = this;
    const limits = {
      noNumber: "",
      tooLow: limitText(item, item.min),
      tooHigh: limitText(item, item.max),
      tooLong: String(item.maxLength),
      notSendable: "",
    };
    return this.page.texts.refusals[refusal](limits[refusal]);
  }

  private async usePad(): Promise<void> {
    if (!this.mayTouch) return;
    const typed = await this.page.askNumber(this.item, this.field.value);
    if (typed === null) return;
    this.field.value = typed;
    this.onInput();
    this.commit();
  }
}
