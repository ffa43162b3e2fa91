// How pages look: themes, and what axe has against them.
import {readFileSync} from 'node:fs';
import {createRequire} from 'node:module';
import {join} from 'node:path';

import {build} from './programs';
import {expect, part, type Page} from './test';

const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

export const themes = {light: /light|ライト|明/i, dark: /^dark|ダーク|暗/i, contrast: /contrast|コントラスト/i};
export type Theme = keyof typeof themes;

export async function choose(page: Page, theme: Theme) {
  const there = part(page, 'theme');
  const select = (await there.locator('select').count()) > 0 ? there.locator('select') : there;
  const value = await select.locator('option').evaluateAll(
    (all, pattern) => all.map((each) => each as HTMLOptionElement).find((each) => new RegExp(pattern, 'i').test(each.text))?.value,
    themes[theme].source);
  await select.selectOption(value!);
}

export const background = (page: Page) => page.evaluate(() => {
  const of = (element: Element) => getComputedStyle(element).backgroundColor;
  return of(document.body) === 'rgba(0, 0, 0, 0)' ? of(document.documentElement) : of(document.body);
});

// Nothing that WCAG 2.1 asks of A and AA is missing.
export async function isAccessible(page: Page, what: string) {
  await page.evaluate(axe);
  const found = await page.evaluate(async () => {
    type Result = {violations: {id: string; help: string; nodes: {html: string; failureSummary?: string}[]}[]};
    const {axe: checker} = window as unknown as {axe: {run: (options: object) => Promise<Result>}};
    const {violations} = await checker.run({runOnly: ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa']});
    return violations.flatMap(({id, nodes}) => nodes.map(({html, failureSummary}) => `${id}: ${html.slice(0, 160)} ${failureSummary ?? ''}`));
  });
  expect(found, what).toEqual([]);
}

// Kept as output of the tests, for people to look at. The window is made as high as the page: what is
// out of view is not drawn.
export async function keepScreen(page: Page, name: string) {
  const before = page.viewportSize()!;
  const height = await page.evaluate(() => document.scrollingElement!.scrollHeight);
  await page.setViewportSize({width: before.width, height: Math.max(height, before.height)});
  await page.screenshot({path: join(build, 'browser/screens', `${name}.png`)});
  await page.setViewportSize(before);
}
