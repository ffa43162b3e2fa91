// The sound of alarms: with each new one, again until they are acknowledged, and not when turned off.

import assert from "node:assert/strict";
import { beforeEach, test } from "node:test";

import { Sound } from "../src/frame/sound";
import type { AlarmLine } from "../src/screen";

let tones = 0;
let again: (() => void) | null = null;
let isTouched = true;

class Silence {
  readonly currentTime = 0;
  readonly destination = {};
  readonly frequency = { value: 0 };
  readonly gain = { setValueAtTime: () => undefined, exponentialRampToValueAtTime: () => undefined };
  resume = async (): Promise<void> => undefined;
  createOscillator = (): Silence => (tones++, new Silence());
  createGain = (): Silence => new Silence();
  connect = (): Silence => this;
  start = (): void => undefined;
  stop = (): void => undefined;
}

const fakes = {
  AudioContext: Silence,
  navigator: { userActivation: { get hasBeenActive() { return isTouched; } } },
  window: {
    setInterval: (call: () => void): number => ((again = call), 1),
    clearInterval: (): void => void (again = null),
  },
};
for (const [name, value] of Object.entries(fakes)) {
  Object.defineProperty(globalThis, name, { value, configurable: true });
}

const alarm = (key: string): AlarmLine => ({ grid: "alarms", key, text: key, state: "ALARM" }) as AlarmLine;
const memory = () => {
  const items = new Map<string, string>();
  return {
    getItem: (key: string) => items.get(key) ?? null,
    setItem: (key: string, text: string) => void items.set(key, text),
    removeItem: (key: string) => void items.delete(key),
  };
};

const played = (act: () => void): boolean => {
  const before = tones;
  act();
  return tones > before;
};

beforeEach(() => {
  again = null;
  isTouched = true;
});

test("sound: each new alarm is heard once, and again until it is acknowledged", () => {
  const sound = new Sound(memory());
  assert.equal(played(() => sound.show([])), false);
  assert.equal(played(() => sound.show([alarm("1")])), true);
  assert.equal(played(() => sound.show([alarm("1")])), false);
  assert.equal(played(() => sound.show([alarm("1"), alarm("2")])), true);
  assert.equal(played(() => again?.()), true);
  sound.show([]);
  assert.equal(again, null);
});

test("sound: turned off there is none, and a reload keeps it so", () => {
  const storage = memory();
  const sound = new Sound(storage);
  sound.turn(false);
  assert.equal(played(() => sound.show([alarm("1")])), false);
  assert.equal(played(() => again?.()), false);
  const reloaded = new Sound(storage);
  assert.equal(reloaded.isOn, false);
  reloaded.turn(true);
  assert.equal(played(() => reloaded.show([alarm("1")])), true);
});

test("sound: browsers let none be heard before the page was touched", () => {
  isTouched = false;
  const sound = new Sound(memory());
  assert.equal(played(() => sound.show([alarm("1")])), false);
  isTouched = true;
  assert.equal(played(() => again?.()), true);
});
