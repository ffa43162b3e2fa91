// Files of the host that are shown: asked for once in each dialog, and kept, those that were shown
// last.

import { Cache } from "./cache";

const kTypes: ReadonlyMap<string, string> = new Map([
  ["png", "image/png"],
  ["jpg", "image/jpeg"],
  ["jpeg", "image/jpeg"],
  ["gif", "image/gif"],
  ["webp", "image/webp"],
  ["svg", "image/svg+xml"],
  ["bmp", "image/bmp"],
]);

export interface Picture {
  readonly url: string | null; // Null: there is no such file.
  readonly isImage: boolean;
}

const extensionOf = (name: string): string => name.slice(name.lastIndexOf(".") + 1).toLowerCase();

interface Known extends Picture {
  readonly bytes: ArrayBuffer | null;
  readonly size: number;
}

export class Pictures {
  private readonly known = new Cache<Known>();
  private readonly asked = new Set<string>();
  private readonly shown = new Set<string>(); // Since all that is there was drawn last.

  /** `ask` is called at most once for each file until askAgain(). */
  constructor(private readonly ask: (name: string) => boolean) {}

  askAgain(): void {
    this.asked.clear();
  }

  /** What was asked for does not come. */
  lose(name: string): void {
    this.asked.delete(name);
  }

  /** As far as it is here; undefined while nobody knows. */
  get(name: string): Picture | undefined {
    this.shown.add(name);
    if (!this.asked.has(name) && this.ask(name)) this.asked.add(name);
    return this.known.get(name);
  }

  /** All that is there is drawn anew: what is not asked for until the end is shown no more. */
  beginPass(): void {
    this.shown.clear();
  }

  endPass(): void {
    for (const [name, { url }] of this.known.trim((each) => this.shown.has(each))) {
      if (url !== null) URL.revokeObjectURL(url);
      this.asked.delete(name);
    }
  }

  /** True when it is another one than before. */
  receive(name: string, bytes: ArrayBuffer | null): boolean {
    const before = this.known.get(name);
    if (before && before.bytes === bytes) return false;
    if (before?.url) URL.revokeObjectURL(before.url);
    const type = kTypes.get(extensionOf(name));
    const blob = bytes && new Blob([bytes], { type: type ?? "application/octet-stream" });
    const url = blob && URL.createObjectURL(blob);
    const size = bytes?.byteLength ?? 0;
    this.known.set(name, { url, isImage: type !== undefined, bytes, size });
    return true;
  }
}
