// Files of the host that are shown: asked for once in each dialog, kept while the page lives.

const kTypes: Readonly<Record<string, string>> = {
  png: "image/png",
  jpg: "image/jpeg",
  jpeg: "image/jpeg",
  gif: "image/gif",
  webp: "image/webp",
  svg: "image/svg+xml",
  bmp: "image/bmp",
};

export interface Picture {
  readonly url: string | null; // Null: there is no such file.
  readonly isImage: boolean;
}

const extensionOf = (name: string): string => name.slice(name.lastIndexOf(".") + 1).toLowerCase();

export class Pictures {
  private readonly known = new Map<string, Picture & { bytes: ArrayBuffer | null }>();
  private readonly asked = new Set<string>();

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
    if (!this.asked.has(name) && this.ask(name)) this.asked.add(name);
    return this.known.get(name);
  }

  /** True when it is another one than before. */
  receive(name: string, bytes: ArrayBuffer | null): boolean {
    const before = this.known.get(name);
    if (before && before.bytes === bytes) return false;
    if (before?.url) URL.revokeObjectURL(before.url);
    const type = kTypes[extensionOf(name)];
    const blob = bytes && new Blob([bytes], { type: type ?? "application/octet-stream" });
    const url = blob && URL.createObjectURL(blob);
    this.known.set(name, { url, isImage: type !== undefined, bytes });
    return true;
  }
}
