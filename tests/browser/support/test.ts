// What every scene begins with: a host, the gateway before it, and pages that are logged in.
import {writeFileSync} from 'node:fs';

import {test as base, expect, type Browser, type Locator, type Page} from '@playwright/test';

import {Gateway, Host} from './programs';
import {Station} from './station';

export {expect} from '@playwright/test';
export type {Locator, Page} from '@playwright/test';

export type User = {name: string; password: string};
export const guest: User = {name: 'guest', password: 'guest'};
export const brief: User = {name: 'brief', password: 'brief'};  // Its session ends after 4 s.
export const yamada: User = {name: 'yamada', password: 'yama'};  // Its OPEN asks for Japanese.

// An object of the dialog, and the parts inside it.
export const object = (page: Page, name: string) => page.locator(`[data-name="${name}"]`);
export const part = (within: Page | Locator, name: string) => within.locator(`[data-part="${name}"]`);
export const valueOf = (page: Page, name: string) => part(object(page, name), 'value');
export const main = (page: Page) => page.locator('main');

export const userBox = (page: Page) => page.getByRole('textbox', {name: /^(User|ユーザー)$/});
export const passwordBox = (page: Page) => page.locator('input[type=password]');
export const logInButton = (page: Page) => page.getByRole('button', {name: /^(Log in|ログイン)$/});

export async function typeLogIn(page: Page, user: User) {
  await userBox(page).fill(user.name);
  await passwordBox(page).first().fill(user.password);
  await logInButton(page).click();
}

// Shown completely and in step with the host: nothing stale and nothing pending.
export async function isSettled(page: Page) {
  await expect(main(page)).not.toHaveAttribute('data-stale');
  await expect(page.locator('[aria-busy="true"]')).toHaveCount(0);
}

// Chooses an entry of the menu and waits for an object of that dialog.
export async function goTo(page: Page, dialog: string, landmark: string) {
  await page.locator(`nav [data-dialog="${dialog}"]`).click();
  await expect(object(page, landmark)).toBeAttached();
}

export const landmarks = {
  gallery: 'touches',
  changes: 'subjects',
  tables: 'parts',
  mine: 'length',
  many: 'rate',
  'sub@page': 'remark',
} as const;
export type Dialog = keyof typeof landmarks;

type Scene = {
  host: Host;
  gateway: Gateway;
  hostName: 'gallery' | 'pumphouse' | 'smallest';
  movesClock: boolean;
  // A page that shows the gallery, or another dialog of it; each has a browser's session of its own.
  open: (dialog?: Dialog, user?: User, at?: string) => Promise<Page>;
  // A station beside the pages.
  station: Station;
};

export const test = base.extend<Scene>({
  hostName: ['gallery', {option: true}],
  movesClock: [false, {option: true}],
  host: async ({hostName, movesClock}, use) => {
    const host = await Host.start(hostName, {movesClock});
    await use(host);
    await host.stop();
  },
  gateway: async ({host}, use) => {
    const gateway = await Gateway.start(host.port);
    await use(gateway);
    await gateway.stop();
  },
  open: async ({browser, gateway, contextOptions}, use, info) => {
    const pages: Page[] = [];
    const errors: Error[] = [];
    const frames: string[] = [];
    await use(async (dialog = 'gallery', user = guest, at = gateway.address) => {
      const page = await freshPage(browser, contextOptions);
      page.on('pageerror', (error) => errors.push(error));
      pages.push(page);
      record(page, pages.length, frames);
      await page.goto(at);
      await typeLogIn(page, user);
      await expect(object(page, landmarks.gallery)).toBeAttached();
      if (dialog !== 'gallery') await goTo(page, dialog, landmarks[dialog]);
      await isSettled(page);
      return page;
    });
    await Promise.all(pages.map((page) => page.context().close()));
    if (info.errors.length > 0) writeFileSync(info.outputPath('frames.txt'), frames.join('\n'));
    expect(errors, 'errors of the page').toEqual([]);
  },
  station: async ({host}, use) => {
    const station = await Station.logIn(host.port, guest.name, guest.password);
    await use(station);
    station.close();
  },
});

// What a page sends and receives, to be read where a scene ends badly.
function record(page: Page, number: number, frames: string[]) {
  page.on('websocket', (socket) => {
    const note = (way: string, payload: string | Buffer) => {
      frames.push(`${Date.now() % 1e6} page ${number} ${way} ${payload.toString().slice(0, 500)}`);
      if (frames.length > 2_000) frames.splice(0, 1_000);
    };
    socket.on('framesent', ({payload}) => note('->', payload));
    socket.on('framereceived', ({payload}) => note('<-', payload));
    socket.on('close', () => note('closed', ''));
  });
}

// A page in a browser of its own, as far as what it stores is concerned.
export async function freshPage(browser: Browser, options: object) {
  const context = await browser.newContext({
    locale: 'en-GB',
    timezoneId: 'UTC',
    viewport: {width: 1280, height: 900},
    ...options,
  });
  return context.newPage();
}
