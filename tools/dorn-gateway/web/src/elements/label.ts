// LABEL: a name and a value; with limits, a bar or a sparkline where they are wanted.

import { make, setText } from "../dom";
import type { Item } from "../screen";
import { Gauge } from "./gauge";
import { ObjectElement } from "./object";
import { PictureView } from "./picture";

export class LabelElement extends ObjectElement {
  private readonly value = make("span", "value");
  private readonly unit = make("span", "unit");
  private readonly reading = make("span", "reading");
  private readonly gauge = new Gauge(this);
  private picture: PictureView | null = null;

  protected build(): void {
    this.value.dataset["part"] = "value";
    this.unit.dataset["part"] = "unit";
    this.reading.append(this.value);
    this.append(this.makeCaption(), this.reading);
  }

  protected patch(item: Item, old: Item | undefined): void {
    if (old?.value !== item.value) this.showValue(item);
    if (old?.unit !== item.unit) this.showUnit(item.unit);
    this.gauge.show(item, old, this.page);
    this.showPicture(item);
  }

  /** Texts of some length want a line of their own. */
  private showValue(item: Item): void {
    setText(this.value, item.value);
    this.classList.toggle("long", item.value.length > 28 || item.value.includes("\n"));
    this.classList.toggle("bare", item.value === "");
  }

  private showUnit(unit: string): void {
    setText(this.unit, unit);
    if (unit === "") this.unit.remove();
    else if (!this.unit.parentNode) this.reading.append(this.unit);
  }

  private showPicture(item: Item): void {
    if (item.image !== "") {
      if (!this.picture) this.prepend((this.picture = new PictureView()).element);
      this.picture.show(item, this.page);
    } else if (this.picture) {
      this.picture.element.remove();
      this.picture = null;
    }
  }
}
