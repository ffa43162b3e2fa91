// From one dialog to another: menu, buttons that lead somewhere, dialogs of one's own and in folders.
import {patiently} from '../support/patience';
import {expect, goTo, guest, isSettled, landmarks, object, test, valueOf, type Dialog} from '../support/test';
import type {Page} from '../support/test';

const box = (page: Page, name: string) => page.getByRole('textbox', {name, exact: true});

test('the menu leads to every dialog', async ({open}) => {
  const page = await open();
  for (const dialog of ['changes', 'tables', 'mine', 'many', 'sub@page', 'gallery'] as Dialog[]) {
    await goTo(page, dialog, landmarks[dialog]);
    await isSettled(page);
    for (const other of Object.keys(landmarks) as Dialog[]) {
      if (other !== dialog) await expect(object(page, landmarks[other])).toHaveCount(0);
    }
  }
});

test('a button with Goto leads there and tells the host nothing', async ({open, host}) => {
  const page = await open();
  await page.getByRole('button', {name: 'To the tables'}).click();
  await expect(object(page, 'parts')).toBeVisible();
  expect(host.output).not.toContain('"ActionName":"to_tables"');
});

test('a dialog that there is not is said to be none, and the menu still works', async ({open}) => {
  const page = await open();
  await page.getByRole('button', {name: 'To nowhere'}).click();
  await expect(page.getByText(/no such dialog, or nothing to show/i)).toBeVisible({timeout: patiently(5_000)});
  await goTo(page, 'tables', landmarks.tables);
  await isSettled(page);
  await expect(page.getByText(/no such dialog/i)).toHaveCount(0);
});

test('what one session notes, no other one sees', async ({open}) => {
  const [one, two] = [await open('mine'), await open('mine')];
  await box(one, 'Text').fill('of the first');
  await box(one, 'Text').press('Enter');
  await expect(valueOf(one, 'length')).toHaveText('12');
  await expect(valueOf(two, 'length')).toHaveText('0');
  await expect(box(two, 'Text')).toHaveValue('');
  await goTo(one, 'gallery', landmarks.gallery);
  await goTo(one, 'mine', landmarks.mine);
  await expect(box(one, 'Text')).toHaveValue('of the first');
});

test('captions of a dialog of one session come from its file', async ({open}) => {
  const page = await open('mine');
  await expect(object(page, 'length')).toContainText('Characters');
});

test('a dialog in a folder begins with what the host holds, not with its file', async ({open}) => {
  const page = await open('sub@page');
  await expect(box(page, 'Remark')).toHaveValue('as in the file');
  await box(page, 'Remark').fill('changed');
  await box(page, 'Remark').press('Enter');
  await expect(object(page, 'remark')).not.toHaveAttribute('aria-busy', 'true');
  const other = await open('sub@page', guest);
  await expect(box(other, 'Remark')).toHaveValue('changed');
  await other.getByRole('button', {name: 'To the gallery'}).click();
  await expect(object(other, landmarks.gallery)).toBeVisible();
});
