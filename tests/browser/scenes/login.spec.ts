// Getting in: the form, wrong passwords, and what the host names as its dialog, menu and language.
import {expect, guest, landmarks, logInButton, main, object, passwordBox, test, typeLogIn, userBox, yamada} from '../support/test';

test('a page shows a form, and after it the dialog that the host names', async ({page, gateway}) => {
  await page.goto(gateway.address);
  await expect(userBox(page)).toBeVisible();
  await expect(passwordBox(page)).toBeVisible();
  await typeLogIn(page, guest);
  await expect(object(page, landmarks.gallery)).toBeVisible();
  await expect(page.getByText('Gallery', {exact: true}).first()).toBeVisible();
  await expect(userBox(page)).toHaveCount(0);
  const menu = page.locator('nav [data-dialog]');
  await expect(menu).toHaveText(['gallery', 'changes', 'tables', 'mine', 'many', 'sub@page']);
});

test('a wrong password is told, and the next attempt gets in', async ({page, gateway}) => {
  await page.goto(gateway.address);
  await typeLogIn(page, {name: 'guest', password: 'wrong'});
  await expect(page.getByRole('alert')).toBeVisible();
  await expect(page.getByRole('alert')).not.toBeEmpty();
  await expect(userBox(page)).toHaveValue('guest');
  await typeLogIn(page, guest);
  await expect(object(page, landmarks.gallery)).toBeVisible();
  await expect(page.getByRole('alert')).toHaveCount(0);
});

test('the form is not sent without a user', async ({page, gateway, host}) => {
  await page.goto(gateway.address);
  await logInButton(page).click();
  await expect(userBox(page)).toBeVisible();
  expect(host.output).not.toContain('"Id"');
});

test('nothing connects to the host before somebody logs in', async ({page, gateway, host}) => {
  const before = host.output.split('MakeSocketId').length;
  await page.goto(gateway.address);
  await expect(userBox(page)).toBeVisible();
  await page.waitForTimeout(300);
  // The gateway itself looks whether the host is there.
  const more = host.output.split('MakeSocketId').length - before;
  expect(more).toBeLessThanOrEqual(1);
  expect(host.output).not.toContain('"Id"');
});

test('the page keeps no cookies and speaks only to the gateway', async ({open, gateway}) => {
  const page = await open();
  expect(await page.context().cookies()).toEqual([]);
  const addresses = await page.evaluate(() => performance.getEntriesByType('resource').map((entry) => entry.name));
  for (const address of addresses) expect(address).toContain(new URL(gateway.address).host);
});

test('the language of OPEN is that of the page', async ({open}) => {
  const page = await open('gallery', yamada);
  await expect(page.getByRole('group', {name: '見出し'})).toBeVisible();
  await expect(page.getByRole('button', {name: '押す'})).toBeVisible();
  await expect(page.locator('html')).toHaveAttribute('lang', 'ja');
});

test('after a log-out there is the form, and the session is forgotten', async ({open}) => {
  const page = await open();
  await page.locator('[data-part="logout"]').click();
  await expect(userBox(page)).toBeVisible();
  await page.reload();
  await expect(userBox(page)).toBeVisible();
  await expect(main(page).locator('[data-name]')).toHaveCount(0);
});
