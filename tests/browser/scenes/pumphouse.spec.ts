// The pumping station as an operator works with it.
import {choose, isAccessible, themes, type Theme} from '../support/looks';
import {patiently} from '../support/patience';
import {expect, isSettled, object, part, test, typeLogIn, valueOf} from '../support/test';
import type {Page} from '../support/test';

test.use({hostName: 'pumphouse'});

const tanaka = {name: 'tanaka', password: 'water'};

async function atPanel(page: Page, address: string, user = tanaka) {
  await page.goto(address);
  await typeLogIn(page, user);
  await expect(object(page, 'level')).toBeVisible();
  await isSettled(page);
}

const inPump = (page: Page, pump: number, name: string) =>
  page.getByRole('group', {name: `Pump ${pump}`, exact: true}).getByRole('button', {name});

test('pumps are started by hand, and not in AUTO', async ({page, gateway}) => {
  await atPanel(page, gateway.address);
  await inPump(page, 1, 'Start').click();
  await expect(valueOf(page, 'pump1_state')).toHaveText('RUNNING');
  await expect(valueOf(page, 'flow')).toHaveText('40');
  await page.getByRole('radio', {name: 'AUTO'}).click();
  await expect(inPump(page, 1, 'Stop')).toBeDisabled();
  await expect(page.getByRole('radio', {name: 'OFF'})).toBeDisabled();
});

test('all is switched off after a question', async ({page, gateway}) => {
  await atPanel(page, gateway.address);
  await inPump(page, 2, 'Start').click();
  await expect(valueOf(page, 'pump2_state')).toHaveText('RUNNING');
  await page.getByRole('button', {name: 'All off'}).click();
  await page.getByRole('alertdialog', {name: 'Stop all pumps?'}).locator('[data-part="yes"]').click();
  await expect(valueOf(page, 'pump2_state')).toHaveText('STOPPED');
  await expect(object(page, 'pump2_state')).toHaveAttribute('data-state', 'OFF');
  await expect(page.getByRole('radio', {name: 'OFF'})).toHaveAttribute('aria-checked', 'true');
});

test('who is at the panel is seen there until he goes', async ({page, browser, gateway}) => {
  await atPanel(page, gateway.address);
  await expect(object(page, 'operators')).toContainText('tanaka');
  const other = await (await browser.newContext()).newPage();
  await atPanel(other, gateway.address, {name: 'suzuki', password: 'valve'});
  await expect(object(page, 'operators')).toContainText('suzuki');
  await other.context().close();
  await expect(object(page, 'operators')).not.toContainText('suzuki');
  await expect(object(page, 'operators')).toContainText('tanaka');
});

test('help has a picture, and leads back', async ({page, gateway}) => {
  await atPanel(page, gateway.address);
  await page.getByRole('button', {name: 'How it works'}).click();
  const picture = page.getByRole('img', {name: 'Basin and pumps'});
  await expect.poll(() => picture.evaluate((image) => (image as HTMLImageElement).naturalWidth)).toBe(640);
  await page.getByRole('button', {name: 'To the panel'}).click();
  await expect(object(page, 'level')).toBeVisible();
});

test('notes count as typed, and are kept for the session', async ({page, gateway}) => {
  await atPanel(page, gateway.address);
  await page.locator('nav [data-dialog="notes"]').click();
  const note = page.getByRole('textbox', {name: 'Note'});
  await note.fill('grease 3/4" valve');
  await note.press('Control+Enter');
  await expect(valueOf(page, 'saved')).toHaveText('17 characters');
  await page.getByRole('button', {name: 'To the panel'}).click();
  await expect(object(page, 'level')).toBeVisible();
  await page.locator('nav [data-dialog="notes"]').click();
  await expect(note).toHaveValue('grease 3/4" valve');
  await expect(valueOf(page, 'operator')).toHaveText('tanaka');
});

test('the level has its limits', async ({page, gateway}) => {
  await atPanel(page, gateway.address);
  await expect(object(page, 'level')).toHaveAttribute('data-state', 'NORMAL');
  await expect(part(object(page, 'level'), 'unit')).toHaveText('cm');
});

async function look(page: Page, screen: string) {
  await isSettled(page);
  for (const theme of Object.keys(themes) as Theme[]) {
    await choose(page, theme);
    await isAccessible(page, `${screen}, ${theme}`);
  }
}

test('the basin that has run full is accessible in every theme', async ({page, gateway}) => {
  test.slow();
  await atPanel(page, gateway.address);
  // Nobody pumps for half a minute.
  await expect(part(page, 'alarmbar').getByRole('listitem')).toHaveText(/high water/, {timeout: patiently(90_000)});
  await expect(object(page, 'level')).toHaveAttribute('data-state', 'ALARM');
  await look(page, 'alarm');
});

test('every screen is accessible in every theme', async ({page, gateway}) => {
  test.slow();
  await atPanel(page, gateway.address);
  await inPump(page, 1, 'Start').click();
  await expect(valueOf(page, 'pump1_state')).toHaveText('RUNNING');
  await look(page, 'panel');
  await page.locator('nav [data-dialog="notes"]').click();
  await expect(page.getByRole('textbox', {name: 'Note'})).toBeVisible();
  await look(page, 'notes');
  await page.getByRole('button', {name: 'To the panel'}).click();
  await page.getByRole('button', {name: 'How it works'}).click();
  await expect(page.getByRole('img', {name: 'Basin and pumps'})).toBeVisible();
  await look(page, 'help');
});
