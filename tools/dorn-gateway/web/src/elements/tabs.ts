// The tabs of a GROUP with Layout TABS: one for each group in it, of which one is in view.

import { make, makeButton, setAttribute, setText } from "../dom";
import type { Item } from "../screen";
import type { GroupElement } from "./group";
import { moveFocus, setTabStop } from "./radio";

export class Tabs {
  private readonly list = make("div", "tabs");
  private chosen = "";

  constructor(private readonly body: HTMLElement) {
    this.list.setAttribute("role", "tablist");
    this.list.addEventListener("keydown", (event) => {
      const tabs = this.tabs().filter((tab) => !tab.hidden);
      if (moveFocus(event, tabs)) (document.activeElement as HTMLElement).click();
    });
    body.before(this.list);
  }

  show(item: Item): void {
    setAttribute(this.list, "aria-label", item.caption);
    const groups = item.children.filter((child) => child.widget === "group");
    const visible = groups.filter((child) => child.isVisible);
    if (!visible.some((child) => child.name === this.chosen)) this.chosen = visible[0]?.name ?? "";
    const tabs = this.tabs();
    const panels = new Map<string, GroupElement>();
    for (const panel of this.panels().reverse()) panels.set(panel.item.name, panel);
    groups.forEach((child, i) => {
      const panel = panels.get(child.name);
      if (panel) this.showTab(tabs[i] ?? this.makeTab(), panel, child);
    });
    for (const tab of tabs.slice(groups.length)) tab.remove();
    this.choose(this.chosen);
  }

  end(): void {
    this.list.remove();
    for (const panel of this.panels()) {
      panel.classList.remove("tab", "away");
      panel.removeAttribute("aria-labelledby");
      panel.showRole();
    }
  }

  private tabs(): HTMLButtonElement[] {
    return [...this.list.children] as HTMLButtonElement[];
  }

  private panels(): GroupElement[] {
    return [...this.body.children].filter(
      (child): child is GroupElement => child.getAttribute("data-layout") !== null,
    );
  }

  private makeTab(): HTMLButtonElement {
    const tab = makeButton("", "", () => this.choose(tab.dataset["tab"] ?? ""));
    tab.setAttribute("role", "tab");
    this.list.append(tab);
    return tab;
  }

  private showTab(tab: HTMLButtonElement, panel: GroupElement, item: Item): void {
    setAttribute(tab, "data-tab", item.name);
    setAttribute(tab, "data-state", item.state);
    setText(tab, item.caption);
    tab.id = `${panel.id}tab`;
    tab.hidden = !item.isVisible;
    setAttribute(tab, "aria-controls", panel.id);
    panel.classList.add("tab");
    setAttribute(panel, "role", "tabpanel");
    setAttribute(panel, "aria-label", null);
    setAttribute(panel, "aria-labelledby", tab.id);
  }

  private choose(name: string): void {
    this.chosen = name;
    let on: HTMLElement | undefined;
    for (const tab of this.tabs()) {
      const isOn = tab.dataset["tab"] === name;
      if (isOn) on = tab;
      setAttribute(tab, "aria-selected", String(isOn));
    }
    for (const panel of this.panels()) {
      panel.classList.toggle("away", panel.dataset["name"] !== name);
    }
    setTabStop(this.tabs(), on);
  }
}
