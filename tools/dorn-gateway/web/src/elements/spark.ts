// A sparkline: how a value has been lately, with its limits.

import { makeSvg, setAttribute } from "../dom";
import type { Item } from "../screen";
import type { Point } from "../trends";
import { fractionOf, Range, rangeOf } from "./bar";

const kWidth = 240;
const kHeight = 40;
const kEdge = 2;
const kLeastWindow = 30_000;

const yOf = (value: number, range: Range): string =>
  (kHeight - kEdge - fractionOf(value, range) * (kHeight - 2 * kEdge)).toFixed(1);

export class Spark {
  readonly element = makeSvg("svg", {
    class: "spark",
    viewBox: `0 0 ${kWidth} ${kHeight}`,
    preserveAspectRatio: "none",
    "aria-hidden": "true",
  });
  private readonly limits = makeSvg("path", { class: "limits" });
  private readonly alarms = makeSvg("path", { class: "limits alarm" });
  private readonly line = makeSvg("path", { class: "line" });

  constructor() {
    this.element.append(this.limits, this.alarms, this.line);
  }

  show(item: Item, points: readonly Point[]): void {
    const range = rangeOf(item, points.map((point) => point.value));
    const across = (values: readonly (number | undefined)[]): string =>
      values
        .filter((value): value is number => value !== undefined)
        .map((value) => `M0 ${yOf(value, range)}H${kWidth}`)
        .join("");
    setAttribute(this.limits, "d", across([item.low, item.high]));
    setAttribute(this.alarms, "d", across([item.lowLow, item.highHigh]));
    setAttribute(this.line, "d", lineOf(points, range));
  }
}

/** The value holds until the next one comes. */
function lineOf(points: readonly Point[], range: Range): string {
  const last = points[points.length - 1];
  const first = points[0];
  if (!first || !last) return "";
  const length = Math.max(kLeastWindow, last.at - first.at);
  const xOf = (at: number): string => (kWidth - ((last.at - at) / length) * kWidth).toFixed(1);
  let line = `M${xOf(first.at)} ${yOf(first.value, range)}`;
  for (const point of points.slice(1)) line += `H${xOf(point.at)}V${yOf(point.value, range)}`;
  return points.length === 1 ? `M0 ${yOf(first.value, range)}H${kWidth}` : line;
}
