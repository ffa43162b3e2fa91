// What may change while it is looked at: objects that come and go, and attributes that are no values.
import {patiently} from '../support/patience';
import {expect, object, test} from '../support/test';
import type {Page} from '../support/test';

const click = (page: Page, name: string) => page.getByRole('button', {name, exact: true}).click();
const box = (page: Page, name: string) => page.getByRole('textbox', {name, exact: true});

test('an added object appears on every page and works', async ({open, station}) => {
  const [one, two] = [await open('changes'), await open('changes')];
  await click(one, 'Add');
  for (const page of [one, two]) await expect(box(page, 'Item 1')).toBeVisible();
  await box(two, 'Item 1').fill('typed at the second');
  await box(two, 'Item 1').press('Enter');
  await expect(box(one, 'Item 1')).toHaveValue('typed at the second');
  expect((await station.object('changes', 'item1')).Value).toBe('typed at the second');
});

test('what is typed into another object stays while one comes', async ({open}) => {
  const [one, two] = [await open('changes'), await open('changes')];
  await box(one, 'Subject').fill('half a sent');
  await click(two, 'Add');
  await expect(box(one, 'Item 1')).toBeVisible();
  await expect(box(one, 'Subject')).toBeFocused();
  await expect(box(one, 'Subject')).toHaveValue('half a sent');
});

test('a group comes with its child and goes with it', async ({open}) => {
  const page = await open('changes');
  await click(page, 'Add a group');
  await expect(page.getByRole('group', {name: 'Group 1'})).toBeVisible();
  await expect(page.getByRole('group', {name: 'Group 1'}).getByRole('textbox', {name: 'Item 2'})).toBeVisible();
  await click(page, 'Remove the newest');
  await expect(object(page, 'group1')).toHaveCount(0);
  await expect(object(page, 'item2')).toHaveCount(0);
});

test('an empty group is looked at again', async ({open, host}) => {
  const page = await open('changes');
  const before = host.output.split('"File":"changes.json"').length;
  await click(page, 'Add an empty group');
  await expect(object(page, 'group1')).toBeAttached();
  await expect.poll(() => host.output.split('"File":"changes.json"').length, {timeout: patiently(3_000)}).toBeGreaterThan(before);
});

test('all children go at once', async ({open}) => {
  const page = await open('changes');
  for (const name of ['Add', 'Add', 'Add a group']) await click(page, name);
  await expect(object(page, 'items').locator('[data-name]')).toHaveCount(4);
  await click(page, 'Clear');
  await expect(object(page, 'items').locator('[data-name]')).toHaveCount(0);
});

test('an object is hidden, disabled and locked, and all that back', async ({open}) => {
  const page = await open('changes');
  await click(page, 'Hide or show');
  await expect(box(page, 'Subject')).toHaveCount(0);
  await click(page, 'Hide or show');
  await expect(box(page, 'Subject')).toBeEditable();
  await click(page, 'Disable or enable');
  await expect(box(page, 'Subject')).toBeDisabled();
  await click(page, 'Disable or enable');
  await expect(box(page, 'Subject')).toBeEnabled();
  await click(page, 'Lock or unlock');
  await expect(box(page, 'Subject')).not.toBeEditable();
  await click(page, 'Lock or unlock');
  await expect(box(page, 'Subject')).toBeEditable();
});

test('what holds for a group holds for all in it', async ({open}) => {
  const page = await open('changes');
  await click(page, 'Hide or show the group');
  await expect(page.getByRole('group', {name: 'Subject group'})).toHaveCount(0);
  await expect(box(page, 'In the group')).toHaveCount(0);
  await click(page, 'Hide or show the group');
  await expect(box(page, 'In the group')).toBeVisible();
  await click(page, 'Disable or enable the group');
  await expect(box(page, 'In the group')).toBeDisabled();
  await click(page, 'Disable or enable the group');
  await expect(box(page, 'In the group')).toBeEnabled();
});

test('state and caption change', async ({open}) => {
  const page = await open('changes');
  for (const state of ['INFO', 'WARN', 'ALARM', 'BAD', 'OFF', 'NORMAL']) {
    await click(page, 'Next state');
    await expect(object(page, 'subject')).toHaveAttribute('data-state', state);
  }
  await click(page, 'Rename');
  await expect(box(page, 'Subject renamed')).toBeVisible();
  await expect(box(page, 'Subject')).toHaveCount(0);
});

test('refresh shows what the host holds, and changes nothing on the way', async ({open, station}) => {
  const page = await open('changes');
  station.enter('changes');
  station.click('add');
  await expect(box(page, 'Item 1')).toBeVisible();
  await box(page, 'Subject').fill('not sent');
  await page.locator('[data-part="refresh"]').click();
  await expect(page.locator('main')).not.toHaveAttribute('data-stale');
  await expect(box(page, 'Item 1')).toBeVisible();
});
