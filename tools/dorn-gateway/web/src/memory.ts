// What a tab remembers over a reload of its page.

import type { Session, Ticket } from "./session";
import type { TextStorage } from "./storage";

const kKey = "dorn.session";

/** Without a session: the dialog to return to after the log-in of the same user. */
export function readTicket(storage: Pick<TextStorage, "getItem">): Ticket | null {
  try {
    return JSON.parse(storage.getItem(kKey) ?? "null") as Ticket | null;
  } catch {
    return null;
  }
}

export class Memory {
  private written = "";

  constructor(private readonly storage: Pick<TextStorage, "setItem">) {}

  write(session: Session): void {
    const { returnTo: dialog, user, opened } = session;
    const ticket = session.ticket() ?? { session: "", dialog, user, opened, stays: false };
    const text = JSON.stringify(ticket);
    if (text === this.written) return;
    this.written = text;
    this.storage.setItem(kKey, text);
  }
}
