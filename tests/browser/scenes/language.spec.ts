// Japanese at run time: of the dialog and of the page itself.
import {expect, object, part, test} from '../support/test';
import type {Page} from '../support/test';

const toJapanese = async (page: Page) => {
  const language = part(page, 'language');
  const select = (await language.locator('select').count()) > 0 ? language.locator('select') : language;
  await select.selectOption('ja');
};

test('the switch changes the dialog and the page, and a reload keeps it', async ({open}) => {
  const page = await open();
  const english = await part(page, 'logout').textContent();
  await toJapanese(page);
  await expect(page.locator('html')).toHaveAttribute('lang', 'ja');
  await expect(page.getByRole('group', {name: '数値の入力'})).toBeVisible();
  await expect(page.getByRole('textbox', {name: 'お名前'})).toBeVisible();
  await expect(part(object(page, 'tenths'), 'unit')).toHaveText('度');
  await expect(part(page, 'logout')).not.toHaveText(english!);
  await page.reload();
  await expect(page.getByRole('textbox', {name: 'お名前'})).toBeVisible();
});

test('options are shown in Japanese and sent as the host knows them', async ({open, station}) => {
  const page = await open();
  await toJapanese(page);
  const fruit = page.getByRole('listbox', {name: '果物'});
  await expect(fruit.getByRole('option')).toHaveText(['りんご', 'なし', 'すもも']);
  if ((await fruit.evaluate((each) => each.tagName)) === 'SELECT') await fruit.selectOption({label: 'りんご'});
  else await fruit.getByRole('option', {name: 'りんご'}).click();
  await expect.poll(async () => (await station.object('gallery', 'fruit')).Value).toBe('apple');
});

test('questions and reasons are in Japanese', async ({open}) => {
  const page = await open();
  await toJapanese(page);
  await object(page, 'careful').getByRole('button').or(page.locator('button[data-name="careful"]')).first().click();
  await expect(page.getByRole('alertdialog', {name: '本当に押しますか？'})).toBeVisible();
  await page.keyboard.press('Escape');
  await page.getByRole('textbox', {name: 'コード'}).fill('no');
  await page.getByRole('textbox', {name: 'コード'}).press('Enter');
  await expect(part(object(page, 'code'), 'error')).toHaveText('数字四つです');
});

test('columns in Japanese are for the eye alone', async ({open}) => {
  const page = await open('tables');
  await toJapanese(page);
  const alarms = page.getByRole('table', {name: '警報'});
  await expect(alarms.getByRole('columnheader')).toHaveText(['番号', '時刻', '状態', '内容', '確認']);
  await page.getByRole('button', {name: '警報を出す'}).click();
  await expect(part(page, 'alarmbar')).toContainText('Alarm 3');
  await alarms.getByRole('row').filter({hasText: 'Alarm 3'}).getByRole('button', {name: /確認/}).click();
  await expect(part(page, 'alarmbar')).not.toContainText('Alarm 3');
});

test.describe('in a Japanese browser', () => {
  test.use({contextOptions: {locale: 'ja-JP'}});
  test('the page is Japanese unless told otherwise', async ({open}) => {
    const page = await open();
    await expect(page.locator('html')).toHaveAttribute('lang', 'ja');
    await expect(page.getByRole('button', {name: '押す'})).toBeVisible();
  });
});
