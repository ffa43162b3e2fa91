// What a tab remembers over a reload of its page.

import type { Session, Ticket } from "./session";

const kKey = "dorn.session";

/** Without a session: the dialog to return to after the log-in of the same user. */
export function readTicket(storage: Pick<Storage, "getItem">): Ticket | null {
  try {
    return JSON.parse(storage.getItem(kKey) ?? "null") as Ticket | null;
  } catch {
    return null;
  }
}

export class Memory {
  private written = "";

  constructor(private readonly storage: Pick<Storage, "setItem">) {}

  write(session: Session): void {
    const { returnTo: dialog, user, opened } = session;
    const ticket = session.ticket() ?? { session: "", dialog, user, opened, stays: false };
    const text = JSON.stringify(ticket);
    if (text === this.written) return;
    this.written = text;
    try {
      this.storage.setItem(kKey, text);
    } catch {
      // Full, or forbidden: a reload asks for the password again.
    }
  }
}
