// The dialogs that the host, or else the gateway, offers.

import { make, makeButton, setAttribute } from "../dom";
import type { Texts } from "../texts";

export class Menu {
  readonly element = make("nav", "menu");
  private shown = "";

  constructor(private readonly onEnter: (dialog: string) => void) {}

  show(dialogs: readonly string[], current: string, texts: Texts): void {
    setAttribute(this.element, "aria-label", texts.menu);
    this.element.hidden = dialogs.length === 0;
    const key = JSON.stringify(dialogs);
    if (key !== this.shown) {
      this.shown = key;
      this.element.replaceChildren(...dialogs.map((each) => this.entry(each)));
    }
    for (const entry of this.element.children) {
      const isCurrent = (entry as HTMLElement).dataset["dialog"] === current;
      setAttribute(entry, "aria-current", isCurrent ? "page" : null);
    }
  }

  private entry(dialog: string): HTMLElement {
    const entry = makeButton("", dialog.replace(/_/g, " "), () => this.onEnter(dialog));
    entry.dataset["dialog"] = dialog;
    return entry;
  }
}
