// How values have been lately: so many points for each object that was shown with one.

export interface Point {
  readonly at: number; // Milliseconds of any steady clock.
  readonly value: number;
}

const kWindow = 600_000;
const kMostPoints = 240;
const kStep = kWindow / kMostPoints;
const kMostNames = 10_000; // A host may name new objects for ever.

export class Trends {
  private readonly points = new Map<string, Point[]>();

  clear(): void {
    this.points.clear();
  }

  /** Points that come faster than they can be told apart take the place of the last one. */
  add(name: string, value: number, at: number): readonly Point[] {
    let points = this.points.get(name);
    if (!points) this.points.set(name, (points = []));
    if (this.points.size > kMostNames) this.points.delete(this.points.keys().next().value ?? "");
    const before = points[points.length - 2];
    if (before && at - before.at < kStep) points.pop();
    points.push({ at, value });
    if (points.length > kMostPoints) points.shift();
    while (points[1] && at - points[1].at > kWindow) points.shift();
    return points;
  }

  of(name: string): readonly Point[] {
    return this.points.get(name) ?? [];
  }
}
