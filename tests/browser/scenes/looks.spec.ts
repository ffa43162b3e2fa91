// Sizes, themes, kiosk, and what an automatic reader finds on every screen.
import {background, choose, isAccessible, keepScreen, themes, type Theme} from '../support/looks';
import {expect, freshPage, goTo, guest, isSettled, landmarks, object, part, passwordBox, test, typeLogIn, userBox, type Dialog} from '../support/test';

const dialogs = ['gallery', 'changes', 'tables', 'mine', 'sub@page'] as Dialog[];

for (const theme of Object.keys(themes) as Theme[]) {
  test(`every screen in the theme ${theme}`, async ({open, page, gateway}) => {
    test.slow();
    await page.goto(gateway.address);
    await choose(page, theme);
    await isAccessible(page, `log-in, ${theme}`);
    await keepScreen(page, `login-${theme}`);
    await typeLogIn(page, {name: 'guest', password: 'wrong'});
    await expect(page.getByRole('alert')).toBeVisible();
    await isAccessible(page, `wrong password, ${theme}`);
    const shown = await open();
    await choose(shown, theme);
    for (const dialog of dialogs) {
      if (dialog !== 'gallery') await goTo(shown, dialog, landmarks[dialog]);
      await isSettled(shown);
      if (dialog === 'tables') await shown.getByRole('button', {name: 'Raise an alarm'}).click();
      await isAccessible(shown, `${dialog}, ${theme}`);
      await keepScreen(shown, `${dialog.replace('@', '-')}-${theme}`);
    }
    await goTo(shown, 'gallery', landmarks.gallery);
    await shown.getByRole('button', {name: 'Touch with care'}).click();
    await isAccessible(shown, `question, ${theme}`);
    await keepScreen(shown, `question-${theme}`);
  });
}

test('a thousand numbers are accessible, too', async ({open}) => {
  test.slow();
  const page = await open('many');
  await expect(object(page, 'n1000')).toBeAttached();
  await isAccessible(page, 'many');
});

test('alarms that nobody has seen are accessible, unfolded and stale', async ({open, gateway}) => {
  test.slow();
  const page = await open('tables');
  const alarms = part(page, 'alarmbar').locator('li');
  for (let i = 1; i <= 12; ++i) await page.getByRole('button', {name: 'Raise an alarm'}).click();
  await expect.poll(() => alarms.count()).toBeGreaterThan(2);
  await isSettled(page);
  const look = async (what: string) => {
    for (const theme of Object.keys(themes) as Theme[]) {
      await choose(page, theme);
      await isAccessible(page, `alarms, ${what}, ${theme}`);
      await keepScreen(page, `alarms-${what}-${theme}`);
    }
  };
  await look('folded');
  await part(page, 'alarmbar').getByRole('button', {name: /^Show/}).click();
  await expect(alarms.last()).toBeVisible();
  await look('unfolded');
  await gateway.stop();
  await expect(page.locator('main')).toHaveAttribute('data-stale', /.*/);
  await look('stale');
});

test('what is stale is still readable', async ({open, gateway}) => {
  const page = await open('tables');
  await gateway.stop();
  await expect(page.locator('main')).toHaveAttribute('data-stale', /.*/);
  await isAccessible(page, 'stale');
  await keepScreen(page, 'stale');
});

test('themes differ, and a reload keeps the choice', async ({open}) => {
  const page = await open();
  const seen = new Set<string>();
  for (const theme of Object.keys(themes) as Theme[]) {
    await choose(page, theme);
    seen.add(await background(page));
  }
  expect(seen.size).toBeGreaterThanOrEqual(2);
  await choose(page, 'dark');
  const dark = await background(page);
  await page.reload();
  await expect(object(page, landmarks.gallery)).toBeVisible();
  expect(await background(page)).toBe(dark);
});

test.describe('on a machine that prefers dark', () => {
  test.use({contextOptions: {colorScheme: 'dark'}});
  test('the page is dark without being asked', async ({open}) => {
    const page = await open();
    const [red, green, blue] = (await background(page)).match(/\d+/g)!.map(Number);
    expect(red! + green! + blue!).toBeLessThan(3 * 80);
  });
});

test.describe('on a phone', () => {
  test.use({contextOptions: {viewport: {width: 360, height: 740}, hasTouch: true, isMobile: true}});

  test('nothing is wider than the screen, and fingers find what to touch', async ({open}) => {
    test.slow();
    const page = await open();
    for (const dialog of dialogs) {
      if (dialog !== 'gallery') await goTo(page, dialog, landmarks[dialog]);
      await isSettled(page);
      expect(await page.evaluate(() => document.scrollingElement!.scrollWidth), dialog).toBeLessThanOrEqual(360);
      await keepScreen(page, `${dialog.replace('@', '-')}-phone`);
    }
    await goTo(page, 'gallery', landmarks.gallery);
    const box = (await page.getByRole('button', {name: 'Touch', exact: true}).boundingBox())!;
    expect(box.height).toBeGreaterThanOrEqual(44);
    await isAccessible(page, 'phone');
  });
});

test('in a kiosk there is nothing but the dialog, and keys to log in with', async ({browser, gateway}) => {
  const page = await freshPage(browser, {});
  await page.goto(`${gateway.address}?kiosk`);
  await userBox(page).click();
  for (const key of guest.name) await page.getByRole('button', {name: key, exact: true}).first().click();
  await expect(userBox(page)).toHaveValue(guest.name);
  await passwordBox(page).click();
  for (const key of guest.password) await page.getByRole('button', {name: key, exact: true}).first().click();
  await isAccessible(page, 'kiosk');
  await keepScreen(page, 'kiosk-login');
  await page.getByRole('button', {name: 'Log in'}).click();
  await expect(object(page, landmarks.gallery)).toBeVisible();
  await expect(page.getByRole('navigation')).toHaveCount(0);
  for (const name of ['language', 'theme', 'stay', 'logout']) {
    await expect(page.locator(`[data-part="${name}"]`).filter({visible: true})).toHaveCount(0);
  }
  await keepScreen(page, 'kiosk');
  await page.context().close();
});

test('a number pad types within its limits', async ({open}) => {
  const page = await open();
  await object(page, 'even').getByRole('button').first().click();
  const pad = page.getByRole('dialog');
  await expect(pad).toBeVisible();
  await isAccessible(page, 'number pad');
  await keepScreen(page, 'numberpad');
  await page.keyboard.press('Escape');
  await expect(pad).toHaveCount(0);
});
