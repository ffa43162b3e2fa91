// What was typed and not sent, by dialog and object. It outlives the line, a reload of the page and
// the session, for the same user.

import type { TextStorage } from "./storage";

const kKey = "dorn.drafts";

interface Kept {
  user: string;
  texts: Record<string, string>;
}

export class Drafts {
  private kept: Kept = { user: "", texts: {} };
  private dialog = "";

  constructor(private readonly storage: TextStorage) {
    try {
      const read = JSON.parse(storage.getItem(kKey) ?? "null") as Kept | null;
      if (read) this.kept = read;
    } catch {
      // Somebody else's, or cut off: begin anew.
    }
  }

  get user(): string {
    return this.kept.user;
  }

  /** Another user does not see them. */
  setUser(user: string): void {
    if (user === this.kept.user) return;
    this.kept = { user, texts: {} };
    this.write();
  }

  setDialog(dialog: string): void {
    this.dialog = dialog;
  }

  get(name: string): string | undefined {
    const key = this.keyOf(name);
    return Object.hasOwn(this.kept.texts, key) ? this.kept.texts[key] : undefined;
  }

  set(name: string, text: string): void {
    this.kept.texts[this.keyOf(name)] = text;
    this.write();
  }

  delete(name: string): void {
    if (this.get(name) === undefined) return;
    delete this.kept.texts[this.keyOf(name)];
    this.write();
  }

  private keyOf(name: string): string {
    return `${this.dialog}/${name}`;
  }

  private write(): void {
    this.storage.setItem(kKey, JSON.stringify(this.kept));
  }
}
