// CHECK: Value ON or OFF. What is shown is the model's alone, so it is no native box.

import { make, makeButton, setAttribute } from "../dom";
import type { Item } from "../screen";
import { ObjectElement } from "./object";

export class CheckElement extends ObjectElement {
  private readonly button = makeButton("check", "", () => this.touch());

  protected build(): void {
    this.button.setAttribute("role", "checkbox");
    this.button.append(make("span", "box"), this.makeCaption());
    this.setUpControl(this.button);
    this.append(this.button);
  }

  protected patch(item: Item): void {
    setAttribute(this.button, "aria-checked", String(item.isOn));
    setAttribute(this.button, "aria-readonly", item.isReadOnly ? "true" : null);
  }

  private touch(): void {
    if (this.mayTouch) this.act({ Value: this.item.isOn ? "OFF" : "ON" });
  }
}
