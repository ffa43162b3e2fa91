// Calls with the next frame of the screen. Of a page that is out of view browsers draw none: there
// it is called all the same, about once a second.

const kLatest = 1000;

export function withNextFrame(act: () => void): void {
  let timer: number | undefined;
  const frame = requestAnimationFrame(() => {
    clearTimeout(timer);
    act();
  });
  timer = window.setTimeout(() => {
    cancelAnimationFrame(frame);
    act();
  }, kLatest);
}
