// What stands below a number: a bar between its ends, or a line of how it has been lately.

import { numberOf } from "../numbers";
import type { Page } from "../page";
import type { Item } from "../screen";
import { makeBar, showBar } from "./bar";
import { Spark } from "./spark";

export class Gauge {
  private bar: HTMLElement | null = null;
  private spark: Spark | null = null;

  constructor(private readonly parent: HTMLElement) {}

  show(item: Item, old: Item | undefined, page: Page): void {
    if (item.format !== "bar" && item.format !== "spark") {
      this.clear();
    } else if (item.format === "bar") {
      this.showBar(item);
    } else {
      this.showSpark(item, old, page);
    }
  }

  private clear(): void {
    this.bar?.remove();
    this.bar = null;
    this.spark?.element.remove();
    this.spark = null;
  }

  private showBar(item: Item): void {
    if (!this.bar) {
      this.clear();
      this.parent.append((this.bar = makeBar()));
    }
    showBar(this.bar, item);
  }

  // Only what is drawn is remembered: ten minutes of each of a thousand numbers are 10 MB.
  private showSpark(item: Item, old: Item | undefined, page: Page): void {
    const value = numberOf(item.raw);
    const isNew = old?.raw !== item.raw || old.format !== item.format;
    if (value !== null && isNew) page.trends.add(item.name, value, performance.now());
    if (!this.spark) {
      this.clear();
      this.parent.append((this.spark = new Spark()).element);
    }
    this.spark.show(item, page.trends.of(item.name));
  }
}
