// Reads an object's attributes by the vocabulary.

import { Json, textOf } from "./json";

const kLargest = 1e12;

export class Words {
  constructor(
    private readonly attributes: ReadonlyMap<string, Json>,
    private readonly language: string,
  ) {}

  find(key: string): Json | undefined {
    return this.attributes.get(key);
  }

  /** In the language of the screen where the object has it, else the plain one. */
  findInLanguage(key: string): Json | undefined {
    const own = this.language === "" ? undefined : this.attributes.get(`${key}:${this.language}`);
    return own === undefined || own === "" ? this.attributes.get(key) : own;
  }

  /** A number or boolean is taken as it is written. */
  text(key: string): string {
    return textOf(this.find(key));
  }

  textInLanguage(key: string): string {
    return textOf(this.findInLanguage(key));
  }

  integer(key: string): number | undefined {
    const text = this.text(key);
    if (!/^-?\d+$/.test(text)) return undefined;
    const number = Number(text);
    return Math.abs(number) <= kLargest ? number : undefined;
  }

  flag(key: string, byDefault: boolean): boolean {
    const text = this.text(key);
    if (text === "ON" || text === "true") return true;
    return text === "OFF" || text === "false" ? false : byDefault;
  }

  /** One of these words, or the default. */
  word<T extends string, D>(key: string, words: readonly T[], byDefault: D): T | D {
    const text = this.text(key);
    return words.find((word) => word === text) ?? byDefault;
  }

  caption(): string {
    for (const key of ["Label", "Title", "Text"]) {
      const text = this.textInLanguage(key);
      if (text !== "") return text;
    }
    return this.text("Name").replace(/_/g, " ");
  }
}

/** The texts of an array; none for all else. */
export const textsOf = (json: Json | undefined): string[] =>
  Array.isArray(json) ? json.map(textOf) : [];
