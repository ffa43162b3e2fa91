// Tables and alarms.
import {expect, main, object, test} from '../support/test';
import type {Page} from '../support/test';

const table = (page: Page, name: string) => page.getByRole('table', {name, exact: true});
const bar = (page: Page) => page.locator('[data-part="alarmbar"]');
const ack = /Ack|確認/;

test('rows and columns are a table', async ({open}) => {
  const page = await open('tables');
  await expect(table(page, 'Parts').getByRole('columnheader')).toHaveText(['Part', 'Count']);
  await expect(table(page, 'Parts').getByRole('row')).toHaveCount(4);
  await expect(table(page, 'Parts').getByRole('row').nth(2).getByRole('cell')).toHaveText(['nut', '24']);
});

test('the table of a grid of the library follows without being named', async ({open, station}) => {
  const page = await open('tables');
  await expect(table(page, 'Measured').getByRole('columnheader')).toHaveText(['A', 'B']);
  await expect(table(page, 'Measured').getByRole('row').nth(1).getByRole('cell')).toHaveText(['Point 1', '0']);
  station.enter('tables');
  station.click('measure');
  await expect(table(page, 'Measured').getByRole('row').nth(1).getByRole('cell')).toHaveText(['Point 1', '100']);
});

test('a new alarm is on the bar of every page, and leaves it when somebody has seen it', async ({open}) => {
  const [one, two] = [await open('tables'), await open('tables')];
  await expect(bar(one)).not.toContainText('Alarm 1');
  await one.getByRole('button', {name: 'Raise an alarm'}).click();
  for (const page of [one, two]) {
    await expect(bar(page)).toContainText('Alarm 3');
    await expect(page.getByRole('alert').filter({hasText: 'Alarm 3'})).toBeVisible();
    // WARN is no alarm.
    await expect(bar(page)).not.toContainText('Alarm 2');
  }
  const row = table(two, 'Alarms').getByRole('row').filter({hasText: 'Alarm 3'});
  await row.getByRole('button', {name: ack}).click();
  for (const page of [one, two]) {
    await expect(bar(page)).not.toContainText('Alarm 3');
    const seen = table(page, 'Alarms').getByRole('row').filter({hasText: 'Alarm 3'});
    await expect(seen.getByRole('cell').last()).toHaveText(/\d\d:\d\d:\d\d/);
    await expect(seen.getByRole('button', {name: ack})).toHaveCount(0);
  }
});

test('the bar unfolds, acknowledges, and its sound stays turned off', async ({open}) => {
  const page = await open('tables');
  const line = (text: string) => bar(page).getByRole('listitem').filter({hasText: text});
  for (const alarm of ['Alarm 3', 'Alarm 4']) {
    await page.getByRole('button', {name: 'Raise an alarm'}).click();
    await expect(line(alarm)).toBeVisible();
  }
  await expect(line('Alarm 3')).toBeHidden();
  const unfold = bar(page).getByRole('button', {name: /^Show/});
  await expect(unfold).toHaveAttribute('aria-expanded', 'false');
  await unfold.click();
  await expect(unfold).toHaveAttribute('aria-expanded', 'true');
  await line('Alarm 3').getByRole('button', {name: ack}).click();
  await expect(line('Alarm 3')).toHaveCount(0);
  await expect(line('Alarm 4')).toBeVisible();
  const sound = page.locator('[data-part="sound"]');
  await expect(sound).toHaveAttribute('aria-pressed', 'true');
  await sound.click();
  await expect(sound).toHaveAttribute('aria-pressed', 'false');
  await page.reload();
  await expect(sound).toHaveAttribute('aria-pressed', 'false');
});

test('what is acknowledged is told by the key of its row', async ({open, host}) => {
  const page = await open('tables');
  await table(page, 'Alarms').getByRole('row').filter({hasText: 'Alarm 2'}).getByRole('button', {name: ack}).click();
  await expect(table(page, 'Alarms').getByRole('button', {name: ack})).toHaveCount(0);
  expect(host.output).toContain('"ActionType":"ACK"');
  expect(host.output).toMatch(/"ActionName":"alarms"[^\n]*"Row":"2"/);
});

test('only the alarms of a screen that is shown are on the bar', async ({open}) => {
  const page = await open('tables');
  await page.getByRole('button', {name: 'Raise an alarm'}).click();
  await expect(bar(page)).toContainText('Alarm 3');
  await page.locator('nav [data-dialog="gallery"]').click();
  await expect(object(page, 'touches')).toBeVisible();
  await expect(page.getByText('Alarm 3')).toHaveCount(0);
  await expect(main(page)).not.toHaveAttribute('data-stale');
});
