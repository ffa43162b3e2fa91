// A value between its ends, with its limits as strokes across.

import { make } from "../dom";
import { numberOf } from "../numbers";
import type { Item } from "../screen";

export interface Range {
  readonly least: number;
  readonly most: number;
}

/** From Min to Max, or around the limits, or up from 0. */
export function rangeOf(item: Item, values: readonly number[]): Range {
  const limits = [item.lowLow, item.low, item.high, item.highHigh].filter(
    (limit): limit is number => limit !== undefined,
  );
  const all = [...limits, ...values];
  const least = item.min ?? Math.min(...all, item.max === undefined ? Infinity : item.max - 1);
  const most = item.max ?? Math.max(...all, least + 1);
  if (!Number.isFinite(least) || most <= least) return { least: 0, most: 100 };
  // Something beyond a limit can be seen as such.
  const room = item.min === undefined && item.max === undefined ? (most - least) * 0.1 : 0;
  return { least: least - room, most: most + room };
}

export const fractionOf = (value: number, range: Range): number =>
  Math.min(1, Math.max(0, (value - range.least) / (range.most - range.least)));

const percent = (fraction: number): string => `${(fraction * 100).toFixed(2)}%`;

export function makeBar(): HTMLElement {
  const bar = make("span", "bar");
  bar.setAttribute("aria-hidden", "true");
  bar.append(make("span", "fill"));
  return bar;
}

export function showBar(bar: HTMLElement, item: Item): void {
  const value = numberOf(item.raw);
  const range = rangeOf(item, item.min === undefined ? [0, value ?? 0] : [value ?? 0]);
  const fill = bar.firstElementChild as HTMLElement;
  fill.style.transform = `scaleX(${value === null ? 0 : fractionOf(value, range).toFixed(4)})`;
  const limits = [item.low, item.high, item.lowLow, item.highHigh];
  const key = `${range.least} ${range.most} ${limits.join(" ")}`;
  if (bar.dataset["limits"] === key) return;
  bar.dataset["limits"] = key;
  bar.replaceChildren(fill);
  limits.forEach((limit, i) => {
    if (limit === undefined) return;
    const stroke = make("span", i < 2 ? "limit" : "limit alarm");
    stroke.style.left = percent(fractionOf(limit, range));
    bar.append(stroke);
  });
}
