// What the page costs and how quick it is. Figures are printed; limits are those that operators feel.
// On a machine that does nothing else: script/soak runs it.
import {gzipSync} from 'node:zlib';

import type {CDPSession} from '@playwright/test';

import {expect, isSettled, object, part, test, type Page} from '../support/test';

const tag = {tag: '@soak'};
const tell = (what: string, figure: string) => console.log(`      ${what}: ${figure}`);
const p95 = (all: number[]) => [...all].sort((a, b) => a - b)[Math.floor(all.length * 0.95)]!;

async function metrics(cdp: CDPSession) {
  const {metrics: all} = await cdp.send('Performance.getMetrics');
  return Object.fromEntries(all.map(({name, value}) => [name, value])) as Record<string, number>;
}

async function updateAtRate(page: Page, rate: number) {
  await page.getByRole('slider', {name: 'Updates a second'}).fill(String(rate));
  await page.getByRole('slider', {name: 'Updates a second'}).blur();
  await isSettled(page);
}

test('script and style are small', tag, async ({page, gateway}) => {
  await page.goto(gateway.address);
  let bytes = 0;
  for (const file of ['app.js', 'app.css']) {
    bytes += gzipSync(await (await page.request.get(`${gateway.address}${file}`)).body(), {level: 9}).length;
  }
  tell('script and style, gzipped', `${bytes} bytes`);
  expect(bytes).toBeLessThan(40 * 1024);
});

test('the first paint comes at once', tag, async ({page, gateway}) => {
  const times: number[] = [];
  for (let i = 0; i < 20; ++i) {
    await page.goto(gateway.address);
    times.push(await page.evaluate(() => new Promise<number>((done) => {
      new PerformanceObserver((list) => done(list.getEntries()[0]!.startTime)).observe({type: 'paint', buffered: true});
    })));
  }
  tell('first paint, p95', `${p95(times).toFixed(0)} ms`);
  expect(p95(times)).toBeLessThan(500);
});

test('a click is confirmed before it is noticed', tag, async ({open}) => {
  const page = await open('changes');
  await page.evaluate(() => {
    const times: number[] = [];
    Object.assign(window, {times});
    let begun = 0;
    new MutationObserver(() => {
      const isBusy = document.querySelector('[data-name="next_state"]')!.getAttribute('aria-busy') === 'true';
      if (isBusy && begun === 0) begun = performance.now();
      if (!isBusy && begun > 0) {
        times.push(performance.now() - begun);
        begun = 0;
      }
    }).observe(document.body, {attributes: true, subtree: true, attributeFilter: ['aria-busy']});
  });
  for (let i = 0; i < 200; ++i) {
    await page.getByRole('button', {name: 'Next state'}).click();
    await isSettled(page);
  }
  const times = await page.evaluate(() => (window as unknown as {times: number[]}).times);
  tell('click to confirmed, p95', `${p95(times).toFixed(1)} ms of ${times.length}`);
  expect(times.length).toBeGreaterThan(150);
  expect(p95(times)).toBeLessThan(50);
});

test('a thousand updates a second leave the page at ease', tag, async ({open}) => {
  const page = await open('many');
  const cdp = await page.context().newCDPSession(page);
  await cdp.send('Performance.enable');
  await updateAtRate(page, 1000);
  const before = await metrics(cdp);
  const frames = await page.evaluate(() => new Promise<number[]>((done) => {
    const gaps: number[] = [];
    const begun = performance.now();
    let last = begun;
    const next = (now: number) => {
      gaps.push(now - last);
      last = now;
      if (now - begun < 20_000) requestAnimationFrame(next);
      else done(gaps.slice(1));
    };
    requestAnimationFrame(next);
  }));
  const after = await metrics(cdp);
  const busy = (after.TaskDuration! - before.TaskDuration!) / (after.Timestamp! - before.Timestamp!);
  tell('main thread at 1,000 updates a second', `${(100 * busy).toFixed(1)} %`);
  tell('frames, p95', `${p95(frames).toFixed(1)} ms of ${frames.length}`);
  expect(busy).toBeLessThan(0.4);
  expect(p95(frames)).toBeLessThan(33);
});

test('a hundred thousand updates leave nothing behind', tag, async ({open}) => {
  const page = await open('many');
  const cdp = await page.context().newCDPSession(page);
  await cdp.send('Performance.enable');
  const used = async () => {
    await cdp.send('HeapProfiler.collectGarbage');
    return (await metrics(cdp)).JSHeapUsedSize! / 1024;
  };
  await updateAtRate(page, 2000);
  await page.waitForTimeout(30_000);
  const [before, nodes] = [await used(), (await metrics(cdp)).Nodes!];
  await page.waitForTimeout(50_000);
  const [after, nodesAfter] = [await used(), (await metrics(cdp)).Nodes!];
  tell('heap before and after 100,000 updates', `${before.toFixed(0)} and ${after.toFixed(0)} KB`);
  expect(Number(await part(object(page, 'n1'), 'value').textContent())).toBeGreaterThan(900);
  expect(after).toBeLessThan(before * 1.1);
  expect(nodesAfter).toBeLessThan(nodes * 1.1);
});
