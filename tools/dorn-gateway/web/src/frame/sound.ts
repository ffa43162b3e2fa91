// A sound for alarms, until somebody acknowledges them or turns it off.

import type { AlarmLine } from "../screen";
import type { TextStorage } from "../storage";

const kKey = "dorn.sound";
const kPause = 10_000;

export class Sound {
  isOn: boolean;
  private known = new Set<string>();
  private timer: number | undefined;
  private context: AudioContext | null = null;

  constructor(private readonly storage: TextStorage) {
    this.isOn = storage.getItem(kKey) !== "off";
  }

  turn(isOn: boolean): void {
    this.isOn = isOn;
    this.storage.setItem(kKey, isOn ? "on" : "off");
  }

  show(open: readonly AlarmLine[]): void {
    const now = new Set(open.map((alarm) => `${alarm.grid} ${alarm.key}`));
    const isNew = [...now].some((alarm) => !this.known.has(alarm));
    this.known = now;
    if (isNew) this.play();
    if (now.size > 0 && this.timer === undefined) {
      this.timer = window.setInterval(() => this.play(), kPause);
    } else if (now.size === 0) {
      window.clearInterval(this.timer);
      this.timer = undefined;
    }
  }

  /** Two tones. Browsers let no page sound before it was touched. */
  private play(): void {
    const mayPlay = navigator.userActivation?.hasBeenActive ?? true;
    if (!this.isOn || !mayPlay || typeof AudioContext === "undefined") return;
    this.context ??= new AudioContext();
    const { context } = this;
    void context.resume();
    [880, 660].forEach((frequency, i) => {
      const tone = context.createOscillator();
      const volume = context.createGain();
      const start = context.currentTime + i * 0.18;
      tone.frequency.value = frequency;
      volume.gain.setValueAtTime(0.12, start);
      volume.gain.exponentialRampToValueAtTime(0.001, start + 0.16);
      tone.connect(volume).connect(context.destination);
      tone.start(start);
      tone.stop(start + 0.17);
    });
  }
}
