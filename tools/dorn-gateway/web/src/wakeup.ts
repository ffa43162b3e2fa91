// A call at a time of a steady clock, in milliseconds; earlier if it is weeks away.

// Browsers take a longer time than that for none at all.
const kLongest = 2 ** 31 - 1;

export class Wakeup {
  private timer: ReturnType<typeof setTimeout> | undefined;
  private at: number | null = null;

  constructor(
    private readonly now: () => number,
    private readonly onTime: () => unknown,
  ) {}

  /** In the place of the one that was set before; null: none. */
  set(at: number | null): void {
    if (at === this.at) return;
    this.at = at;
    clearTimeout(this.timer);
    if (at === null) return;
    const delay = Math.min(kLongest, Math.max(0, at - this.now()));
    this.timer = setTimeout(() => {
      this.at = null;
      this.onTime();
    }, delay);
  }
}
