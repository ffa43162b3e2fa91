// SLIDER: a number between Min and Max. It is sent when it is let go of.

import { make, setAttribute, setText } from "../dom";
import type { Item } from "../screen";
import { formattedValue } from "../values";
import { Gauge } from "./gauge";
import { ObjectElement } from "./object";

export class SliderElement extends ObjectElement {
  private readonly input = make("input", "slider");
  private readonly text = make("span", "text");
  private readonly unit = make("span", "unit");
  private readonly gauge = new Gauge(this);
  private isHeld = false;
  private isKeyDown = false;

  protected build(): void {
    this.input.type = "range";
    this.setUpControl(this.input);
    this.unit.dataset["part"] = "unit";
    const reading = make("span", "reading");
    reading.setAttribute("aria-hidden", "true");
    reading.append(this.text, this.unit);
    this.append(this.makeCaption(), reading, this.input);
    this.input.addEventListener("input", () => {
      this.isHeld = this.mayTouch;
      if (this.isHeld) this.showReading(this.input.value);
      else this.input.value = this.item.raw;
    });
    // Held, an arrow key moves it on and on, and each step is a change.
    this.input.addEventListener("keydown", () => (this.isKeyDown = true));
    this.input.addEventListener("change", () => {
      if (!this.isKeyDown) this.letGo();
    });
    // Back where it was when it is let go of, it has not changed.
    for (const type of ["pointerup", "keyup", "blur"]) {
      this.input.addEventListener(type, () => {
        this.isKeyDown = false;
        setTimeout(() => this.letGo());
      });
    }
  }

  protected patch(item: Item, old: Item | undefined): void {
    setAttribute(this.input, "min", String(item.min));
    setAttribute(this.input, "max", String(item.max));
    setAttribute(this.input, "step", String(Math.max(1, item.step ?? 1)));
    this.input.disabled = !item.isEnabled || item.isReadOnly;
    if (old?.unit !== item.unit) {
      setText(this.unit, item.unit);
      this.unit.hidden = item.unit === "";
    }
    this.gauge.show(item, old, this.page);
    if (!this.isHeld) this.showValue();
  }

  private showValue(): void {
    if (this.input.value !== this.item.raw) this.input.value = this.item.raw;
    this.showReading(this.item.raw);
  }

  private showReading(raw: string): void {
    const text = formattedValue(this.item, raw);
    setText(this.text, text);
    setAttribute(this.input, "aria-valuetext", `${text} ${this.item.unit}`.trim());
    const { min = 0, max = 100 } = this.item;
    const fraction = max > min ? (Number(this.input.value) - min) / (max - min) : 0;
    this.input.style.setProperty("--fill", `${(fraction * 100).toFixed(1)}%`);
  }

  private letGo(): void {
    if (!this.isHeld) return;
    this.isHeld = false;
    const value = this.input.value;
    if (this.mayTouch && value !== this.item.raw) this.act({ Value: value });
    this.showValue();
  }
}
