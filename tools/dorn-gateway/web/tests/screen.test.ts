import assert from "node:assert/strict";
import { test } from "node:test";

import type { Json, JsonObject } from "../src/json";
import { Replica } from "../src/replica";
import { Item, makeItem, makeScreen, Screen } from "../src/screen";
import { checkTyped } from "../src/values";
import { Vector, vectorsOf } from "./vectors";

const flat = (items: readonly Item[]): Item[] =>
  items.flatMap((item) => [item, ...flat(item.children)]);

function described(item: Item): Record<string, unknown> {
  const { place, table } = item;
  return {
    ...item,
    place: place && [place.x, place.y, place.w, place.h],
    min: item.min ?? null,
    max: item.max ?? null,
    step: item.step ?? null,
    visible: item.isVisible,
    enabled: item.isEnabled,
    readOnly: item.isReadOnly,
    wide: item.isWide,
    numeric: item.isNumeric,
    on: item.isOn,
    rows: table?.rows.map((row) => row.cells),
    keys: table?.rows.map((row) => row.key),
    needAck: table?.rows.map((row) => row.needsAck),
    columns: table?.columns,
    widths: table?.widths,
    alarms: table?.isAlarms,
  };
}

class Run {
  private readonly replica = new Replica();
  private readonly language: string;
  private readonly screen: Screen;
  private readonly items: Item[];

  constructor(vector: Vector) {
    process.env["TZ"] = (vector["tz"] as string | undefined) ?? "UTC";
    this.replica.enter("d", null);
    this.replica.receiveTree(vector["tree"] as JsonObject, true);
    this.language = (vector["language"] as string | undefined) ?? "";
    this.screen = makeScreen(this.replica, this.language);
    this.items = flat(this.screen.cards.flatMap((card) => card.items));
  }

  compare(key: string, wanted: Json): boolean {
    if (key === "items") {
      for (const [name, members] of Object.entries(wanted as JsonObject)) {
        this.compareItem(name, members as JsonObject);
      }
    } else if (key === "order") {
      assert.deepEqual(
        this.items.map((item) => item.name),
        wanted,
      );
    } else if (key === "cards") {
      const cards = this.screen.cards.map((card) => {
        return { ...card, items: card.items.map((item) => item.name) };
      });
      assert.deepEqual(cards, wanted);
    } else if (key === "alarmBar") {
      assert.deepEqual(this.screen.alarmBar, wanted);
    } else if (key === "title") {
      assert.equal(this.screen.title, wanted);
    } else if (key === "typed") {
      for (const each of wanted as JsonObject[]) this.compareTyped(each);
    } else {
      return false;
    }
    return true;
  }

  private find(name: string): Item {
    const item = this.items.find((each) => each.name === name);
    assert.ok(item, name);
    return item;
  }

  private compareItem(name: string, members: JsonObject): void {
    const item = this.find(name);
    for (const [key, wanted] of Object.entries(members)) {
      const all = described(item);
      // What a grid has, other objects have not.
      const found = key in all ? all[key] ?? [] : undefined;
      assert.deepEqual(Array.isArray(wanted) ? found : all[key], wanted, `${name} ${key}`);
    }
    const alone = makeItem(this.replica, this.language, this.replica.tree.find(name)!);
    // Where an object stands is its group's matter.
    assert.deepEqual({ ...alone, place: null }, { ...item, place: null });
  }

  private compareTyped(each: JsonObject): void {
    const typed = checkTyped(this.find(each["item"] as string), each["typed"] as string);
    assert.equal(typed.refused, each["refused"], JSON.stringify(each));
    assert.equal(typed.value, each["sends"], JSON.stringify(each));
  }
}

for (const vector of vectorsOf("screen.json")) {
  test(`screen: ${vector.rule}`, () => {
    const run = new Run(vector);
    const compared = Object.entries(vector).filter(([key, wanted]) => run.compare(key, wanted));
    assert.ok(compared.length > 0);
  });
}

test("screen: there are vectors", () => assert.ok(vectorsOf("screen.json").length > 90));
