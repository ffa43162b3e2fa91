// The language of the screen: the switch, else what the host says, else the browser's.

import type { TextStorage } from "../storage";

const kKey = "dorn.language";

export class Language {
  private chosen: string;
  current = "en";

  constructor(
    private readonly storage: TextStorage,
    private readonly ofBrowser: string,
  ) {
    this.chosen = storage.getItem(kKey) ?? "";
    this.follow("");
  }

  choose(language: string): void {
    this.chosen = language;
    this.storage.setItem(kKey, language);
  }

  /** True when it is another one now. */
  follow(ofHost: string): boolean {
    const before = this.current;
    this.current = plain(this.chosen || ofHost || this.ofBrowser) || "en";
    const root = document.documentElement;
    // Setting it anew would style the whole document anew.
    if (root.lang !== this.current) root.lang = this.current;
    return this.current !== before;
  }
}

/** "ja" of "ja-JP". */
const plain = (language: string): string => language.split(/[-_]/)[0] ?? "";
