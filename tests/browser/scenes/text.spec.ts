// Texts of every kind, typed at one page and read at another.
import {expect, object, test} from '../support/test';
import type {Page} from '../support/test';

const box = (page: Page) => page.getByRole('textbox', {name: 'Your name', exact: true});

const texts = [
  '揚水ポンプ場 ①号機　異常なし',
  'say "hi"',
  'C:\\new\\table',
  'x"},{"Value":"999',
  '3/4" pipe, {"a":[1]}',
  "it's 'quoted'",
  '<b onclick="x()">&amp;</b>',
  '👍 café',
  '\\u0041 \\n',
];
test('what is typed at one page is read at another', async ({open}) => {
  const [one, two] = [await open(), await open()];
  for (const text of texts) {
    await test.step(`typed: ${text}`, async () => {
      await box(one).fill(text);
      await box(one).press('Enter');
      await expect(object(one, 'name')).not.toHaveAttribute('aria-busy', 'true');
      for (const page of [one, two]) await expect(box(page)).toHaveValue(text);
      await one.reload();
      await expect(box(one)).toHaveValue(text);
      for (const page of [one, two]) {
        await expect(object(page, 'code').getByRole('textbox')).toHaveValue('0000');
        await expect(page.locator('[data-part="unreadable"]')).toBeHidden();
      }
    });
  }
});
