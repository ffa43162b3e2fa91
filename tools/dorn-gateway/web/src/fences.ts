// The fences that a session has sent: which of them the host has not answered, which belong to an
// action, and how long the host took for the last one.

/** One text with an action between two fences. */
export interface SentAction {
  readonly ordinal: number; // Of the text on its line.
  readonly before: number;
  readonly after: number;
  readonly names: readonly string[]; // Of the objects that it is about.
}

export class Fences {
  /** When one was sent or answered last. */
  at = 0;
  /** Between the answers to the fences around the last action, in milliseconds; null: none yet. */
  quality: number | null = null;

  private last = 0;
  private awaited: { number: number; ordinal: number; sent: number }[] = [];
  private actions: SentAction[] = [];
  private readonly answeredAt = new Map<number, number>(); // The fence before, by the fence after.

  /** The number that next() will give. */
  get following(): number {
    return this.last + 1;
  }

  /** For the text with this number on its line. */
  next(ordinal: number, now: number): number {
    this.awaited.push({ number: ++this.last, ordinal, sent: now });
    this.at = now;
    return this.last;
  }

  addAction(action: SentAction): void {
    this.actions.push(action);
  }

  get isAnyAwaited(): boolean {
    return this.awaited.length > 0;
  }

  /** When the oldest one was sent that has no answer; null: all have one. */
  get awaitedSince(): number | null {
    return this.awaited[0]?.sent ?? null;
  }

  answer(fence: number, now: number): void {
    while (this.awaited[0] && this.awaited[0].number <= fence) this.awaited.shift();
    this.at = now;
    for (const action of this.actions) {
      if (action.before === fence) this.answeredAt.set(action.after, now);
    }
    const answered = this.answeredAt.get(fence);
    if (answered !== undefined) this.quality = now - answered;
    this.answeredAt.delete(fence);
    this.actions = this.actions.filter((action) => action.after > fence);
  }

  /** Of the text with the last action. */
  get lastAction(): number | null {
    return this.actions[this.actions.length - 1]?.ordinal ?? null;
  }

  /** A text was not passed on: its fences will not be answered. Null: there was no action in it. */
  takeRefused(ordinal: number): SentAction | null {
    const refused = this.actions.find((action) => action.ordinal === ordinal);
    this.actions = this.actions.filter((action) => action !== refused);
    this.awaited = this.awaited.filter((fence) => fence.ordinal !== ordinal);
    return refused ?? null;
  }

  /** The line is gone, and with it all answers. */
  forget(): void {
    this.awaited = [];
    this.actions = [];
    this.answeredAt.clear();
  }
}
