// The files that a session has asked for. They come in the order in which they were asked for, and
// those on a host's disk are kept by their date.

import { Cache } from "./cache";
import { JsonObject, memberText } from "./json";
import { isLiveDate } from "./replica";

/** A file that came, or did not. */
export interface ReceivedFile {
  readonly name: string;
  readonly bytes: ArrayBuffer | null;
}

interface Asked {
  readonly file: string;
  readonly isTree: boolean;
  readonly ordinal: number; // Of the text on its line.
  readonly copy?: Copy | undefined; // Of which the host was told.
}

interface Copy {
  readonly date: string;
  readonly bytes: ArrayBuffer;
  readonly size: number;
}

export class Files {
  private asked: Asked[] = [];
  private coming: JsonObject | null = null; // The head of the file whose bytes come next.
  private readonly cache = new Cache<Copy>();
  private received: ReceivedFile[] = [];
  private lost: string[] = [];

  askForTree(file: string, ordinal: number): void {
    this.asked.push({ file, isTree: true, ordinal });
  }

  /** The date of the copy that is there; empty without one. */
  ask(file: string, ordinal: number): string {
    const copy = this.cache.get(file);
    this.asked.push({ file, isTree: false, ordinal, copy });
    return copy?.date ?? "";
  }

  /**
   * It comes as a tree, as the gateway brings all that can be one. False: it was a file, which is
   * kept as if it had come as bytes, or nobody has asked for it.
   */
  receiveTree(head: JsonObject, tree: JsonObject): boolean {
    if (this.asked[0]?.isTree !== false) return this.asked.shift() !== undefined;
    return this.end(head, new TextEncoder().encode(JSON.stringify(tree)).buffer);
  }

  announce(head: JsonObject): void {
    this.coming = head;
  }

  /** What was announced is here. True: it should have been a tree. */
  receiveBytes(bytes: ArrayBuffer): boolean {
    return this.coming !== null && this.end(this.coming, bytes);
  }

  /** An answer without bytes: there is no such file, or the copy is as new. Returns likewise. */
  receiveAnswer(head: JsonObject): boolean {
    const isLatest = memberText(head, "Status") === "LATEST";
    return this.end(head, isLatest ? this.asked[0]?.copy?.bytes ?? null : null);
  }

  /** A text was not passed on: what it asked for does not come. */
  refuse(ordinal: number): void {
    const refused = this.asked.filter((each) => each.ordinal === ordinal && !each.isTree);
    this.received.push(...refused.map(({ file }) => ({ name: file, bytes: null })));
    this.asked = this.asked.filter((each) => each.ordinal !== ordinal);
  }

  take(): ReceivedFile[] {
    const files = this.received;
    this.received = [];
    return files;
  }

  /** Those whose answers went with a line. */
  takeLost(): string[] {
    const files = this.lost;
    this.lost = [];
    return files;
  }

  /** The line is gone: nothing that was asked for comes any more. */
  forget(): void {
    for (const { file, isTree } of this.asked) if (!isTree) this.lost.push(file);
    this.asked = [];
    this.coming = null;
  }

  private end(head: JsonObject, bytes: ArrayBuffer | null): boolean {
    this.coming = null;
    const asked = this.asked.shift();
    if (!asked || asked.isTree) return asked !== undefined;
    const date = memberText(head, "Date");
    if (bytes && date !== "" && !isLiveDate(date)) {
      this.cache.set(asked.file, { date, bytes, size: bytes.byteLength });
      this.cache.trim();
    }
    this.received.push({ name: asked.file, bytes });
    return false;
  }
}
