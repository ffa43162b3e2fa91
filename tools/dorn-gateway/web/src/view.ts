// The dialog on the page: its cards, and the element of each object by name.

import { make } from "./dom";
import { GridElement } from "./elements/grid";
import { GroupElement } from "./elements/group";
import { RadioElement } from "./elements/radio";
import type { DialogElement, Page } from "./page";
import { Matches, place, reconcile, setPlace } from "./reconcile";
import type { Replica } from "./replica";
import { AlarmLine, alarmLines, Card, Item, makeItem, makeScreen } from "./screen";

export interface ShownAlarms {
  readonly isThere: boolean; // The dialog has a list of them.
  readonly open: readonly AlarmLine[];
}

export class View {
  readonly element = make("div", "cards");
  title = "";
  isPart = false; // There is more than is shown.
  alarms: ShownAlarms = { isThere: false, open: [] };
  private readonly elements = new Map<string, DialogElement>();

  constructor(private readonly page: Page) {}

  /** Objects of one name: the first is the one that updates mean. */
  register(element: DialogElement): void {
    const { name } = element.item;
    if (!this.elements.has(name)) this.elements.set(name, element);
  }

  find(name: string): DialogElement | undefined {
    return this.elements.get(name);
  }

  /** Nothing stays, not even the elements. */
  clear(): void {
    this.elements.clear();
    this.element.replaceChildren();
    this.title = "";
    this.isPart = false;
    this.alarms = { isThere: false, open: [] };
  }

  showAll(replica: Replica, language: string): void {
    const screen = makeScreen(replica, language);
    this.title = screen.title;
    this.isPart = screen.isPart;
    this.elements.clear();
    this.showCards(screen.cards);
    this.alarms = { isThere: screen.hasAlarms, open: screen.alarmBar };
  }

  showSome(replica: Replica, language: string, names: ReadonlySet<string>): void {
    let hasAlarms = false;
    // What depends on many is brought in line once, behind all of them.
    const cards = new Set<HTMLElement>();
    const radioGroups = new Set<GroupElement>();
    for (const name of names) {
      const element = this.elements.get(name);
      const object = replica.tree.find(name);
      if (!element || !object) continue;
      const item = makeItem(replica, language, object);
      if (item.widget !== element.item.widget) return this.showAll(replica, language);
      item.place = element.item.place; // Its group's matter.
      element.show(item, this.page, element.level);
      const card = element.parentElement;
      if (card?.classList.contains("implied")) cards.add(card);
      const group = element.parentElement?.parentElement;
      if (element instanceof RadioElement && group instanceof GroupElement) radioGroups.add(group);
      hasAlarms ||= item.table?.isAlarms === true || element instanceof GridElement;
    }
    for (const group of radioGroups) group.showTabStop();
    for (const card of cards) hideEmpty(card);
    if (hasAlarms) this.collectAlarms();
  }

  showOperable(): void {
    for (const element of this.elements.values()) element.showOperable();
  }

  acknowledge(alarm: AlarmLine): void {
    const grid = this.elements.get(alarm.grid);
    if (grid instanceof GridElement) grid.acknowledge(alarm.key);
  }

  private collectAlarms(): void {
    const grids = [...this.elements.values()]
      .filter((element) => element instanceof GridElement)
      .map((element) => element.item);
    this.alarms = {
      isThere: grids.some((grid) => grid.table?.isAlarms),
      open: alarmLines(grids),
    };
  }

  private showCards(cards: readonly Card[]): void {
    const matches = new Matches(this.element);
    const implied = new Map<string, HTMLElement>();
    for (const child of this.element.querySelectorAll<HTMLElement>(":scope > .implied")) {
      implied.set(child.dataset["key"] ?? "", child);
    }
    const wanted: Element[] = [];
    for (const card of cards.flatMap(split)) {
      const first = card.items[0];
      if (!first) continue;
      const isImplied = card.name === "";
      const element = isImplied
        ? implied.get(first.name) ?? make("div", "card implied")
        : matches.take(first, this.page, 0);
      if (isImplied) this.showImplied(element, card, first);
      element.classList.add("card");
      element.dataset["columns"] = String(card.columns);
      if (first.breaks) element.dataset["break"] = "";
      else delete element.dataset["break"];
      wanted.push(element);
    }
    place(this.element, wanted);
  }

  private showImplied(element: HTMLElement, card: Card, first: Item): void {
    element.dataset["key"] = first.name;
    setPlace(element, first.place);
    reconcile(element, card.items, this.page, 1);
    hideEmpty(element);
  }
}

/** A card of loose objects is there as long as one of them is. */
function hideEmpty(card: HTMLElement): void {
  const isShown = (child: Partial<DialogElement>): boolean => child.item?.isVisible === true;
  card.hidden = ![...card.children].some(isShown);
}

/** Loose objects with places of their own do not share a card. */
function split(card: Card): Card[] {
  const isPlaced = card.items.every((item) => item.place !== null);
  if (card.name !== "" || !isPlaced) return [card];
  return card.items.map((item) => ({ ...card, items: [item] }));
}
