// A question that has to be answered before something is sent.

import { make, makeButton, newId } from "../dom";
import type { Texts } from "../texts";

/** Escape, or a lost line, is no. */
export function ask(question: string, texts: Texts): Promise<boolean> {
  const dialog = make("dialog", "confirm");
  const words = make("p", "", question);
  words.id = newId();
  dialog.setAttribute("role", "alertdialog");
  dialog.setAttribute("aria-labelledby", words.id);
  const row = make("div", "answers");
  const answer = (part: string, text: string): void => {
    const button = makeButton(`push ${part}`, text, () => dialog.close(part));
    button.dataset["part"] = part;
    row.append(button);
  };
  answer("no", texts.no);
  answer("yes", texts.yes);
  dialog.append(words, row);
  document.body.append(dialog);
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue === "yes");
    });
  });
}

/** What was asked on a page that is gone is not answered by whoever comes next. */
export function dismissAll(): void {
  for (const dialog of document.querySelectorAll("dialog")) dialog.close("");
}
