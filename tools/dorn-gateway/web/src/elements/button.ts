// BUTTON: a touch, told by name alone; or the way to another dialog.

import { makeButton } from "../dom";
import { ObjectElement } from "./object";

export class ButtonElement extends ObjectElement {
  private readonly button = makeButton("push", "", () => void this.touch());

  protected override get isPush(): boolean {
    return true;
  }

  protected build(): void {
    this.setUpControl(this.button);
    delete this.button.dataset["part"];
    this.button.append(this.makeCaption());
    this.append(this.button);
  }

  protected patch(): void {
    // The caption is all.
  }

  private async touch(): Promise<void> {
    if (!this.mayTouch) return;
    if (this.item.confirm !== "" && !(await this.page.ask(this.item.confirm))) return;
    // The host may have changed its mind meanwhile.
    if (!this.mayTouch || !this.isConnected) return;
    if (this.item.goto !== "") this.page.enter(this.item.goto);
    else this.act({});
  }
}
