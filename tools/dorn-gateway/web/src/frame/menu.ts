// The dialogs that the host, or else the gateway, offers.

import { make, makeButton, setAttribute } from "../dom";
import type { Texts } from "../texts";

export class Menu {
  readonly element = make("nav", "menu");
  private dialogs: readonly string[] = [];
  private shown = "[]";
  private current = "";

  constructor(private readonly onEnter: (dialog: string) => void) {}

  show(dialogs: readonly string[], current: string, texts: Texts): void {
    setAttribute(this.element, "aria-label", texts.menu);
    this.element.hidden = dialogs.length === 0;
    if (dialogs !== this.dialogs) {
      this.dialogs = dialogs;
      const key = JSON.stringify(dialogs);
      if (key !== this.shown) this.showEntries(dialogs);
      this.shown = key;
    } else if (current === this.current) {
      return;
    }
    this.current = current;
    for (const entry of this.element.children) {
      const isCurrent = (entry as HTMLElement).dataset["dialog"] === current;
      setAttribute(entry, "aria-current", isCurrent ? "page" : null);
    }
  }

  private showEntries(dialogs: readonly string[]): void {
    const entries = new DocumentFragment();
    for (const each of dialogs) entries.append(this.entry(each));
    this.element.replaceChildren(entries);
  }

  private entry(dialog: string): HTMLElement {
    const entry = makeButton("", dialog.replace(/_/g, " "), () => this.onEnter(dialog));
    entry.dataset["dialog"] = dialog;
    return entry;
  }
}
