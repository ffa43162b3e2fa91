// Sees to it that no two tabs of a browser use one session at a time: on two connections it goes
// out of step without anybody noticing. A duplicated tab has the first one's session storage, and
// with it the session's name.

// A page that is loaded anew lets go a moment later; on a slow machine that is a long one.
const kWait = 2000;
const kAnswerWithin = 250;

interface Message {
  readonly t: "claim" | "held";
  readonly id: string;
  readonly token: number;
}

export class Claim {
  private wanted = "";
  private held = "";
  private pending: Message | null = null;
  private release: () => void = () => undefined;
  private readonly channel = new BroadcastChannel("dorn.sessions");
  private onHeld: () => void = () => undefined;

  constructor() {
    this.channel.onmessage = ({ data }) => this.receive(data as Message);
  }

  /** Whether the session is this tab's from now on, until it takes another one. */
  async take(id: string): Promise<boolean> {
    if (id === this.wanted) return id === this.held;
    this.drop();
    this.wanted = id;
    const isOurs = "locks" in navigator ? await this.lock(id) : await this.askAround(id);
    if (isOurs && this.wanted === id) this.held = id;
    return isOurs;
  }

  drop(): void {
    this.wanted = "";
    this.held = "";
    this.release();
    this.release = () => undefined;
  }

  private lock(id: string): Promise<boolean> {
    return new Promise((resolve) => {
      const holds = async (): Promise<void> => {
        resolve(this.wanted === id);
        if (this.wanted !== id) return; // Another one meanwhile.
        return new Promise((release) => (this.release = release));
      };
      navigator.locks
        .request(`dorn.session.${id}`, { signal: AbortSignal.timeout(kWait) }, holds)
        .catch(() => resolve(false));
    });
  }

  /** Pages over plain HTTP have no locks: whoever holds it says so. */
  private askAround(id: string): Promise<boolean> {
    this.pending = { t: "claim", id, token: Math.random() };
    this.channel.postMessage(this.pending);
    return new Promise((resolve) => {
      const end = (isOurs: boolean): void => {
        this.pending = null;
        resolve(isOurs);
      };
      const timer = setTimeout(() => end(true), kAnswerWithin);
      this.onHeld = () => {
        clearTimeout(timer);
        end(false);
      };
    });
  }

  private receive(message: Message): void {
    const { pending } = this;
    if (message.t === "held") {
      if (pending?.id === message.id && pending.token === message.token) this.onHeld();
      return;
    }
    // Of two that ask at once, one has been first.
    const wasFirst = pending?.id === message.id && pending.token < message.token;
    if (message.id === this.held || wasFirst) {
      this.channel.postMessage({ ...message, t: "held" });
    }
  }
}
