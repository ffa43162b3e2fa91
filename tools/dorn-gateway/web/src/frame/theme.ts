// Light, dark and high contrast: as the system likes it, or as somebody has chosen here.

import type { TextStorage } from "../storage";

export const kThemes = ["auto", "light", "dark", "contrast"] as const;
export type ThemeName = (typeof kThemes)[number];

const kKey = "dorn.theme";

export class Theme {
  chosen: ThemeName;
  private readonly dark = matchMedia("(prefers-color-scheme: dark)");
  private readonly contrast = matchMedia("(prefers-contrast: more)");

  constructor(private readonly storage: TextStorage) {
    this.chosen = kThemes.find((each) => each === storage.getItem(kKey)) ?? "auto";
    for (const query of [this.dark, this.contrast]) {
      query.addEventListener("change", () => this.show());
    }
    this.show();
  }

  choose(theme: ThemeName): void {
    this.chosen = theme;
    this.storage.setItem(kKey, theme);
    this.show();
  }

  private show(): void {
    document.documentElement.dataset["theme"] =
      this.chosen === "auto" ? this.ofSystem() : this.chosen;
  }

  private ofSystem(): ThemeName {
    if (this.contrast.matches) return "contrast";
    return this.dark.matches ? "dark" : "light";
  }
}
