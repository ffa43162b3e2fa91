// What an object of the screen may ask of the page that it stands on.

import type { Drafts } from "./drafts";
import type { Json } from "./json";
import type { Pictures } from "./pictures";
import type { Item } from "./screen";
import type { Texts } from "./texts";
import type { Trends } from "./trends";

export interface Page {
  readonly texts: Texts;
  readonly drafts: Drafts;
  readonly pictures: Pictures;
  readonly trends: Trends;
  readonly isKiosk: boolean;

  /** What is shown is fresh, and may be touched. */
  readonly isOperable: boolean;

  /** Sends what the user did to an object. False: it was not sent. */
  act(item: Item, attributes: Readonly<Record<string, Json>>): boolean;
  enter(dialog: string): void;
  ask(question: string): Promise<boolean>;
  /** What was typed; null when it was cancelled. */
  askNumber(item: Item, typed: string): Promise<string | null>;

  /** The element of an object that is shown from now on. */
  register(element: DialogElement): void;
}

/** What the page asks of the element of an object. */
export interface DialogElement extends HTMLElement {
  readonly item: Item;
  /** How deep it lies; 0: a card of its own. */
  readonly level: number;
  show(item: Item, page: Page, level: number): void;
  /** Why the last thing that the user did was not sent; empty: it was. */
  showRefusal(why: string): void;
  /** Whether what is shown is fresh has changed. */
  showOperable(): void;
}
