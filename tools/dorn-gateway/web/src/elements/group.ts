// GROUP: objects that belong together, beside each other, as one choice of several, or as tabs.

import { make, newId, setAttribute } from "../dom";
import { reconcile } from "../reconcile";
import type { Item } from "../screen";
import { ObjectElement } from "./object";
import { moveFocus, RadioElement, setTabStop } from "./radio";
import { Tabs } from "./tabs";

const kRoles = { plain: "group", radio: "radiogroup", tabs: "group" } as const;

export class GroupElement extends ObjectElement {
  private readonly body = make("div", "body");
  private tabs: Tabs | null = null;

  protected build(): void {
    const title = this.makeCaption();
    title.classList.add("title");
    title.setAttribute("role", "heading");
    title.setAttribute("aria-level", String(Math.min(6, this.level + 2)));
    this.append(title, this.body);
    this.body.addEventListener("keydown", (event) => this.onKey(event));
    this.id = newId();
  }

  /** A tab has those of a tab. */
  showRole(): void {
    if (this.classList.contains("tab")) return;
    setAttribute(this, "role", kRoles[this.item.grouping]);
    setAttribute(this, "aria-label", this.item.caption);
  }

  protected patch(item: Item): void {
    this.showRole();
    setAttribute(this, "data-layout", item.grouping);
    setAttribute(this, "aria-disabled", item.isEnabled ? null : "true");
    reconcile(this.body, item.children, this.page, this.level + 1);
    if (item.grouping === "radio") this.showTabStop();
    this.showTabs(item);
  }

  private showTabs(item: Item): void {
    if (item.grouping === "tabs") {
      this.tabs ??= new Tabs(this.body);
      this.tabs.show(item);
    } else if (this.tabs) {
      this.tabs.end();
      this.tabs = null;
    }
  }

  private radios(): RadioElement[] {
    return [...this.body.children].filter(
      (child): child is RadioElement => child instanceof RadioElement && !child.hidden,
    );
  }

  /** Also after one of the buttons has changed by itself. */
  showTabStop(): void {
    const radios = this.radios();
    const on = radios.find((radio) => radio.item.isOn);
    setTabStop(
      radios.map((radio) => radio.button),
      on?.button,
    );
  }

  private onKey(event: KeyboardEvent): void {
    if (this.item.grouping !== "radio") return;
    const buttons = this.radios().map((radio) => radio.button);
    if (moveFocus(event, buttons.filter((button) => !button.disabled))) this.showTabStop();
  }
}
