// All of it without a mouse.
import {expect, object, test, userBox, valueOf} from '../support/test';
import type {Page} from '../support/test';

// Presses Tab until the focus is where it should be.
async function tabTo(page: Page, selector: string) {
  for (let i = 0; i < 80; ++i) {
    await page.keyboard.press('Tab');
    if (await page.evaluate((at) => document.activeElement?.matches(at) ?? false, selector)) return;
  }
  throw new Error(`Tab does not lead to ${selector}`);
}

const focused = (page: Page) => page.evaluate(() => document.activeElement?.closest('[data-name]')?.getAttribute('data-name'));

test('log-in, menu, and a dialog', async ({page, gateway}) => {
  await page.goto(gateway.address);
  await expect(userBox(page)).toBeVisible();
  if (!(await userBox(page).evaluate((box) => box === document.activeElement))) await tabTo(page, 'input:not([type=password])');
  await page.keyboard.type('guest');
  await page.keyboard.press('Tab');
  await page.keyboard.type('guest');
  await page.keyboard.press('Enter');
  await expect(object(page, 'touches')).toBeVisible();
  await tabTo(page, 'nav [data-dialog="tables"], nav [data-dialog="tables"] *');
  await page.keyboard.press('Enter');
  await expect(object(page, 'parts')).toBeVisible();
});

test('Tab leads to every control that can be used', async ({open}) => {
  const page = await open();
  const reached = new Set<string>();
  await page.locator('body').click({position: {x: 1, y: 1}});
  for (let i = 0; i < 80; ++i) {
    await page.keyboard.press('Tab');
    const name = await focused(page);
    if (name) reached.add(name);
  }
  for (const name of ['name', 'secret', 'story', 'code', 'even', 'setpoint', 'speed', 'light', 'fruit', 'colour', 'plain', 'careful', 'to_tables']) {
    expect([...reached], name).toContain(name);
  }
  expect([...reached].filter((name) => name.startsWith('lane_'))).toHaveLength(1);
  expect([...reached]).not.toContain('disabled');
  expect([...reached]).not.toContain('hidden');
});

test('what has the focus can be seen', async ({open}) => {
  const page = await open();
  await tabTo(page, '[data-name="plain"], [data-name="plain"] *');
  const ring = await page.evaluate(() => {
    const style = getComputedStyle(document.activeElement!);
    return style.outlineStyle !== 'none' && parseFloat(style.outlineWidth) > 0 ? 'outline' : style.boxShadow;
  });
  expect(ring).not.toBe('none');
});

test('arrows move within a radio group, the space bar chooses', async ({open, station}) => {
  const page = await open();
  const lane = page.getByRole('radiogroup', {name: 'Lane'});
  await lane.getByRole('radio', {name: 'Left'}).focus();
  await page.keyboard.press('ArrowRight');
  await expect(lane.getByRole('radio', {name: 'Middle'})).toBeFocused();
  await expect(lane.getByRole('radio', {name: 'Left'})).toHaveAttribute('aria-checked', 'true');
  await page.keyboard.press(' ');
  await expect(lane.getByRole('radio', {name: 'Middle'})).toHaveAttribute('aria-checked', 'true');
  await expect.poll(async () => (await station.object('gallery', 'lane_middle')).Attr).toBe('ON');
});

test('arrows move between tabs', async ({open}) => {
  const page = await open();
  await page.getByRole('tab', {name: 'Front'}).focus();
  await page.keyboard.press('ArrowRight');
  await page.keyboard.press(' ');
  await expect(page.getByRole('tab', {name: 'Back'})).toHaveAttribute('aria-selected', 'true');
  await expect(object(page, 'back_door')).toBeVisible();
});

test('a question keeps the focus until it is answered, and gives it back', async ({open}) => {
  const page = await open();
  const button = page.getByRole('button', {name: 'Touch with care'});
  await button.focus();
  await page.keyboard.press('Enter');
  const question = page.getByRole('alertdialog');
  await expect(question).toBeVisible();
  for (let i = 0; i < 6; ++i) {
    await page.keyboard.press('Tab');
    expect(await page.evaluate(() => document.activeElement === document.body || document.activeElement!.closest('[role=alertdialog]') !== null)).toBe(true);
  }
  await page.keyboard.press('Escape');
  await expect(question).toHaveCount(0);
  await expect(button).toBeFocused();
  await page.keyboard.press('Enter');
  await question.locator('[data-part="yes"]').press('Enter');
  await expect(valueOf(page, 'touches')).toHaveText('1');
});

test('check box, combo and list by keys', async ({open, station}) => {
  const page = await open();
  await page.getByRole('checkbox', {name: 'Light'}).focus();
  await page.keyboard.press(' ');
  await expect.poll(async () => (await station.object('gallery', 'light')).Value).toBe('ON');
  await page.getByRole('combobox', {name: 'Colour'}).focus();
  await page.keyboard.press('b');
  await page.keyboard.press('Enter');
  await expect.poll(async () => (await station.object('gallery', 'colour')).Value).toBe('blue');
  await page.getByRole('listbox', {name: 'Fruit'}).focus();
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press(' ');
  await expect.poll(async () => (await station.object('gallery', 'fruit')).Value).toBe('plum');
});
