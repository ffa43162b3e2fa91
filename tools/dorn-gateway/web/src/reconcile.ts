// Brings the elements below a parent in line with the items that it shall show: those that stay are
// patched, in their place if it is the same, so that nothing loses its focus without need.

import { make } from "./dom";
import type { DialogElement, Page } from "./page";
import type { Item, Place } from "./screen";

const isObject = (element: Element): element is DialogElement => "item" in element;

const keyOf = (item: Item): string => `${item.widget} ${item.name}`;

/** The elements that a parent has, to be taken by the items that they show. */
export class Matches {
  private readonly known = new Map<string, DialogElement[]>();

  constructor(parent: HTMLElement) {
    for (const child of parent.children) {
      if (!isObject(child)) continue;
      const key = keyOf(child.item);
      const list = this.known.get(key);
      if (list) list.push(child);
      else this.known.set(key, [child]);
    }
  }

  /** The element of an item, showing it; made when there is none. */
  take(item: Item, page: Page, level: number): DialogElement {
    const match = this.known.get(keyOf(item))?.shift();
    const element = match ?? (document.createElement(`dorn-${item.widget}`) as DialogElement);
    element.show(item, page, level);
    return element;
  }
}

export function reconcile(
  parent: HTMLElement,
  items: readonly Item[],
  page: Page,
  level: number,
): void {
  const matches = new Matches(parent);
  const wanted: Element[] = [];
  for (const item of items) {
    if (item.breaks && wanted.length > 0) wanted.push(make("div", "break"));
    wanted.push(matches.take(item, page, level));
  }
  place(parent, wanted);
}

/** What is there already in the right order is not touched. */
export function place(parent: HTMLElement, wanted: readonly Element[]): void {
  const isWanted = new Set(wanted);
  for (const child of [...parent.children]) {
    if (!isWanted.has(child)) child.remove();
  }
  let next = parent.firstElementChild;
  for (const element of wanted) {
    if (element === next) next = next.nextElementSibling;
    else parent.insertBefore(element, next);
  }
}

/** Where it stands in its group's grid of 12 columns. */
export function setPlace(element: HTMLElement, at: Place | null): void {
  element.classList.toggle("placed", at !== null);
  // Lines of the grid are counted from 1.
  const lines = at ? { x: at.x + 1, y: at.y + 1, w: at.w, h: at.h } : { x: 0, y: 0, w: 0, h: 0 };
  for (const [key, line] of Object.entries(lines)) {
    element.style.setProperty(`--${key}`, at ? String(line) : null);
  }
}
