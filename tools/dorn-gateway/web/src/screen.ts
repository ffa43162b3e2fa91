// What is drawn: the dialog's objects with every default applied, in the order and the language of
// the screen. Nothing behind it needs to know attributes or their defaults.

import { compare, decimalsOfScale, readDecimal } from "./numbers";
import type { Replica } from "./replica";
import { makeTable, Table } from "./table";
import type { TreeObject } from "./tree";
import { formattedValue } from "./values";
import {
  actionTypeOf,
  Color,
  Condition,
  kColors,
  kConditions,
  Widget,
  widgetOf,
} from "./vocabulary";
import { textsOf, Words } from "./words";

export type Format =
  | "text"
  | "number" // With decimals.
  | "time"
  | "datetime"
  | "bar"
  | "spark"
  | "password"
  | "lines";
export type Keyboard = "text" | "number" | "none";
export type Grouping = "plain" | "radio" | "tabs";

export interface Place {
  readonly x: number;
  readonly y: number;
  readonly w: number;
  readonly h: number;
}

/** One object of the screen. */
export interface Item {
  name: string;
  type: string; // The host's word.
  widget: Widget;
  caption: string;
  hint: string;
  state: Condition;
  color: Color;
  isVisible: boolean; // A group's holds for all in it.
  isEnabled: boolean; // Likewise.
  isReadOnly: boolean;
  isPending: boolean; // Sent, and not confirmed by the host.
  error: string;

  order: number;
  place: Place | null; // For all of a group's children or for none.
  isWide: boolean;
  breaks: boolean;

  value: string; // Formatted.
  raw: string; // As the host has it.
  unit: string;
  format: Format;
  decimals: number;
  lines: number;
  scale: number;
  min?: number | undefined; // All before scale.
  max?: number | undefined;
  step?: number | undefined;
  low?: number | undefined;
  high?: number | undefined;
  lowLow?: number | undefined;
  highHigh?: number | undefined;

  isNumeric: boolean; // An EDIT for numbers.
  keyboard: Keyboard;
  maxLength: number;
  isOn: boolean; // A check or radio button.
  options: string[]; // What the host knows.
  optionTexts: string[]; // What is displayed.
  confirm: string;
  goto: string;
  image: string;
  actionType: string; // How its touch is told; empty when it cannot be touched.

  table: Table | null;
  grouping: Grouping;
  children: Item[];
}

/** A card of the page: a group or grid at the top, or the loose objects between them. */
export interface Card {
  readonly name: string; // Empty for an implied one.
  readonly title: string; // Likewise.
  readonly columns: number; // Of 12.
  readonly items: Item[]; // The group or grid itself, or the loose objects.
}

export interface AlarmLine {
  readonly grid: string;
  readonly key: string;
  readonly text: string;
  readonly state: Condition;
}

export interface Screen {
  readonly dialog: string;
  readonly title: string;
  readonly cards: readonly Card[];
  readonly isPart: boolean; // There are more objects than a screen is made of.
  readonly hasAlarms: boolean; // There is a grid for alarms.
  readonly alarmBar: readonly AlarmLine[]; // Alarms that nobody has acknowledged.
}

/** What a group says for all in it. */
interface Inherited {
  readonly isVisible: boolean;
  readonly isEnabled: boolean;
}

/** Of so many a screen is made; ten thousand are drawn in seconds. */
export const kMostItems = 10_000;

const kCardColumns = 4;
const kWideCardColumns = 8;
const kPageColumns = 12;

const clamp = (number: number, least: number, most: number): number =>
  Math.min(most, Math.max(least, number));

/** `language` is as in "Label:ja"; empty: none. */
export function makeScreen(replica: Replica, language: string): Screen {
  const root = replica.tree.root;
  const words = new Words(replica.shownAttributes(root), language);
  const maker = new ItemMaker(replica, language);
  const items = maker.children(root, maker.inherited(root));
  return {
    dialog: replica.dialog,
    title: words.caption(),
    cards: cardsOf(items),
    isPart: maker.isOver,
    hasAlarms: alarmGrids(items).length > 0,
    alarmBar: alarmLines(items),
  };
}

/** One object of it, for an update that moves nothing. */
export function makeItem(replica: Replica, language: string, object: TreeObject): Item {
  const maker = new ItemMaker(replica, language);
  return maker.item(object, maker.inherited(object.parent));
}

function alarmGrids(items: readonly Item[]): Item[] {
  return items.flatMap((item) => (item.table?.isAlarms ? [item] : alarmGrids(item.children)));
}

export function alarmLines(items: readonly Item[]): AlarmLine[] {
  return alarmGrids(items).flatMap((grid) =>
    (grid.table?.rows ?? [])
      .filter((row) => row.needsAck && (row.state === "ALARM" || row.state === "BAD"))
      .map(({ key, text, state }) => ({ grid: grid.name, key, text, state })),
  );
}

function cardsOf(items: readonly Item[]): Card[] {
  const cards: Card[] = [];
  let loose: Item[] | null = null;
  for (const item of items) {
    if (item.widget === "group" || item.widget === "grid") {
      cards.push(cardOf(item));
      loose = null;
    } else if (loose) {
      loose.push(item);
    } else {
      loose = [item];
      cards.push({ name: "", title: "", columns: kCardColumns, items: loose });
    }
  }
  return cards;
}

function cardOf(item: Item): Card {
  const holdsGroups = item.children.some((child) => child.widget === "group");
  const columns = item.isWide
    ? kPageColumns
    : holdsGroups || item.widget === "grid"
      ? kWideCardColumns
      : kCardColumns;
  return { name: item.name, title: item.caption, columns, items: [item] };
}

class ItemMaker {
  isOver = false;
  private left = kMostItems;

  constructor(
    private readonly replica: Replica,
    private readonly language: string,
  ) {}

  inherited(group: TreeObject | null): Inherited {
    let isVisible = true;
    let isEnabled = true;
    for (let each = group; each; each = each.parent) {
      const words = new Words(this.replica.shownAttributes(each), this.language);
      isVisible &&= words.flag("Visible", true);
      isEnabled &&= words.flag("Enabled", true);
    }
    return { isVisible, isEnabled };
  }

  children(group: TreeObject, inherited: Inherited): Item[] {
    const items: Item[] = [];
    for (const child of group.children) {
      this.isOver ||= this.left === 0;
      if (this.isOver) break;
      --this.left;
      items.push(this.item(child, inherited));
    }
    if (items.some((item) => item.order !== 0)) items.sort((a, b) => a.order - b.order);
    if (items.some((item) => !item.place)) {
      for (const item of items) item.place = null;
    }
    return items;
  }

  item(object: TreeObject, inherited: Inherited): Item {
    const words = new Words(this.replica.shownAttributes(object), this.language);
    const type = object.textOf("Type");
    const item: Item = {
      name: object.name,
      type,
      widget: widgetOf(type, object.children.length > 0),
      caption: words.caption(),
      hint: words.textInLanguage("Hint"),
      state: "NORMAL",
      color: words.word("Color", kColors, "none"),
      isVisible: inherited.isVisible && words.flag("Visible", true),
      isEnabled: inherited.isEnabled && words.flag("Enabled", true),
      isReadOnly: words.flag("ReadOnly", false),
      isPending: this.replica.isPending(object.name),
      error: words.textInLanguage("Error"),
      order: words.integer("Order") ?? 0,
      place: placeOf(words),
      isWide: words.flag("Wide", false),
      breaks: words.flag("Break", false),
      value: "",
      raw: "",
      unit: "",
      format: "text",
      decimals: 0,
      lines: 1,
      scale: 1,
      isNumeric: false,
      keyboard: "text",
      maxLength: 0,
      isOn: false,
      options: [],
      optionTexts: [],
      confirm: "",
      goto: "",
      image: "",
      actionType: actionTypeOf(type),
      table: null,
      grouping: "plain",
      children: [],
    };
    this.setWidget(item, object, words);
    item.state = stateOf(item, words);
    return item;
  }

  private setWidget(item: Item, object: TreeObject, words: Words): void {
    switch (item.widget) {
      case "group":
        item.grouping = groupingOf(words);
        item.children = this.children(object, item);
        break;
      case "grid":
        item.table = makeTable(words);
        if (!item.table.isAlarms) item.actionType = "";
        break;
      case "button":
        item.confirm = words.textInLanguage("Confirm");
        item.goto = words.text("Goto");
        break;
      case "radio":
        item.isOn = words.text(words.find("Attr") === undefined ? "Value" : "Attr") === "ON";
        break;
      default:
        setValue(item, words);
        break;
    }
  }
}

function placeOf(words: Words): Place | null {
  const [x, y, w, h] = ["X", "Y", "W", "H"].map((key) => words.integer(key));
  if (x === undefined || y === undefined || w === undefined || h === undefined) return null;
  return { x: clamp(x, 0, 11), y: clamp(y, 0, 999), w: clamp(w, 1, 12), h: clamp(h, 1, 999) };
}

function groupingOf(words: Words): Grouping {
  const layout = words.text("Layout");
  return layout === "RADIO" ? "radio" : layout === "TABS" ? "tabs" : "plain";
}

function setValue(item: Item, words: Words): void {
  setFormat(item, words);
  item.raw = words.text("Value");
  item.value = formattedValue(item, item.raw);
  item.unit = words.textInLanguage("Unit");
  item.image = words.text("Image");
  if (item.widget === "check") item.isOn = item.raw === "ON" || item.raw === "true";
  if (item.widget === "list" || item.widget === "combo") {
    item.options = textsOf(words.find("Options"));
    const texts = textsOf(words.findInLanguage("Options"));
    // A translation may lack the last ones.
    item.optionTexts = item.options.map((option, i) => texts[i] ?? option);
  }
}

function setFormat(item: Item, words: Words): void {
  item.min = words.integer("Min");
  item.max = words.integer("Max");
  item.step = words.integer("Step");
  item.low = words.integer("Low");
  item.high = words.integer("High");
  item.lowLow = words.integer("LowLow");
  item.highHigh = words.integer("HighHigh");
  const scale = words.integer("Scale");
  if (scale !== undefined && scale > 0) item.scale = scale;
  item.decimals = decimalsOfScale(item.scale);
  const format = words.text("Format");
  setFormatWord(item, format);
  if (item.widget === "edit") setTyping(item, words, format, scale !== undefined);
  if (item.widget === "slider") {
    item.min ??= 0;
    item.max ??= 100;
    item.step ??= 1;
  }
}

function setFormatWord(item: Item, word: string): void {
  switch (word) {
    case "0":
    case "0.0":
    case "0.00":
      item.format = "number";
      item.decimals = Math.max(0, word.length - 2);
      return;
    case "time":
    case "datetime":
    case "bar":
    case "spark":
    case "password":
      item.format = word;
      return;
    case "text":
      return;
  }
  if (word.startsWith("lines:")) {
    const lines = readDecimal(word.slice(6));
    item.format = "lines";
    item.lines = lines && lines.decimals === 0 ? clamp(Number(lines.digits), 1, 100) : 1;
  } else if (item.scale > 1) {
    item.format = "number";
  }
}

function setTyping(item: Item, words: Words, format: string, hasScale: boolean): void {
  const keyboard = words.text("Keyboard");
  const hasRange = item.min !== undefined || item.max !== undefined || item.step !== undefined;
  item.isNumeric = /^0(\.00?)?$/.test(format) || keyboard === "NUMBER" || hasRange || hasScale;
  if (keyboard === "NONE") {
    item.keyboard = "none";
  } else if (keyboard !== "TEXT" && item.isNumeric) {
    item.keyboard = "number";
  }
  const length = words.integer("MaxLength");
  item.maxLength = length !== undefined && length > 0 && length <= 1e6 ? length : 1000;
}

function stateOf(item: Item, words: Words): Condition {
  const given = words.word("State", kConditions, null);
  if (given) return given;
  const limits = [item.low, item.high, item.lowLow, item.highHigh];
  if (limits.every((limit) => limit === undefined)) return "NORMAL";
  const hasLimits = item.widget === "label" || item.widget === "edit" || item.widget === "slider";
  const value = hasLimits ? readDecimal(item.raw) : null;
  if (!value) return "NORMAL";
  const isBelow = (limit?: number): boolean => limit !== undefined && compare(value, limit) < 0;
  const isAbove = (limit?: number): boolean => limit !== undefined && compare(value, limit) > 0;
  if (isBelow(item.lowLow) || isAbove(item.highHigh)) return "ALARM";
  return isBelow(item.low) || isAbove(item.high) ? "WARN" : "NORMAL";
}
