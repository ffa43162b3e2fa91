// Keeps what was used last, within bounds: pages run for months.

const kMostEntries = 256;
const kMostBytes = 64 << 20;

export class Cache<T extends { readonly size: number }> {
  private readonly entries = new Map<string, T>(); // Used last: at the end.
  private size = 0;

  get(key: string): T | undefined {
    const entry = this.entries.get(key);
    if (entry) {
      this.entries.delete(key);
      this.entries.set(key, entry);
    }
    return entry;
  }

  set(key: string, entry: T): void {
    this.delete(key);
    this.entries.set(key, entry);
    this.size += entry.size;
  }

  private delete(key: string): void {
    this.size -= this.entries.get(key)?.size ?? 0;
    this.entries.delete(key);
  }

  /** What was dropped, of which nothing is `kept`, until the rest is within bounds. */
  trim(isKept: (key: string) => boolean = () => false): [string, T][] {
    const dropped: [string, T][] = [];
    for (const [key, entry] of [...this.entries]) {
      if (this.entries.size <= kMostEntries && this.size <= kMostBytes) break;
      if (isKept(key)) continue;
      this.delete(key);
      dropped.push([key, entry]);
    }
    return dropped;
  }
}
