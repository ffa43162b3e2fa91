// That two tabs do not use one session, and that a tab gets it when the other one lets go.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Claim } from "../src/claim";

type Listener = ((event: { data: unknown }) => void) | null;

// What one tab says, the others hear a moment later.
class Channel {
  static readonly all = new Set<Channel>();
  onmessage: Listener = null;

  constructor() {
    Channel.all.add(this);
  }

  postMessage(data: unknown): void {
    for (const other of Channel.all) {
      if (other !== this) setImmediate(() => other.onmessage?.({ data: structuredClone(data) }));
    }
  }
}

// The first who asks for a name holds it until it lets go; who waits gives up by the signal.
class Locks {
  private readonly held = new Set<string>();

  async request(name: string, { signal }: { signal: AbortSignal }, use: () => Promise<void>) {
    if (this.held.has(name)) {
      await new Promise<void>((resolve) => signal.addEventListener("abort", () => resolve()));
      if (this.held.has(name)) throw signal.reason;
    }
    this.held.add(name);
    await use();
    this.held.delete(name);
  }
}

// A hundred times as fast.
function timeout(ms: number): AbortSignal {
  const controller = new AbortController();
  setTimeout(() => controller.abort(new Error("late")), ms / 100);
  return controller.signal;
}

function inABrowser(navigator: object): void {
  Channel.all.clear();
  AbortSignal.timeout = timeout;
  Object.defineProperty(globalThis, "BroadcastChannel", { value: Channel, configurable: true });
  Object.defineProperty(globalThis, "navigator", { value: navigator, configurable: true });
}

for (const [where, navigator] of [
  ["with locks", () => ({ locks: new Locks() })],
  ["over plain http", () => ({})],
] as const) {
  test(`claim: a session is one tab's, ${where}`, async () => {
    inABrowser(navigator());
    const [first, second] = [new Claim(), new Claim()];
    assert.equal(await first.take("s1"), true);
    assert.equal(await first.take("s1"), true);
    assert.equal(await second.take("s1"), false);
    assert.equal(await second.take("s2"), true);
  });

  test(`claim: what a tab lets go another may have, ${where}`, async () => {
    inABrowser(navigator());
    const [first, second] = [new Claim(), new Claim()];
    assert.equal(await first.take("s1"), true);
    first.drop();
    assert.equal(await second.take("s1"), true);
    assert.equal(await first.take("s1"), false);
  });

  test(`claim: of two tabs that ask at once one gets it, ${where}`, async () => {
    inABrowser(navigator());
    const tabs = [new Claim(), new Claim(), new Claim()];
    const got = await Promise.all(tabs.map((tab) => tab.take("s1")));
    assert.equal(got.filter((each) => each).length, 1);
  });
}
