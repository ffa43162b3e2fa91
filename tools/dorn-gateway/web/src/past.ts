// The browser's way back leads to the dialog that was shown before.

export class Past {
  private current = "";

  constructor(onReturn: (dialog: string) => void) {
    addEventListener("popstate", ({ state }) => {
      const dialog = dialogOf(state);
      if (dialog === "") return;
      this.current = dialog;
      onReturn(dialog);
    });
  }

  /** Shown from now on. The first one takes the place of the page as it was loaded. */
  visit(dialog: string): void {
    if (dialog === this.current) return;
    const isFirst = this.current === "";
    this.current = dialog;
    try {
      if (isFirst) history.replaceState({ dialog }, "");
      else history.pushState({ dialog }, "");
    } catch {
      // Some browsers refuse what comes too often, or is too long: there is no way back to it.
    }
  }
}

function dialogOf(state: unknown): string {
  const dialog = (state as { dialog?: unknown } | null)?.dialog;
  return typeof dialog === "string" ? dialog : "";
}
