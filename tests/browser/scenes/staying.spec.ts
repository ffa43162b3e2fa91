// Lines that break, hosts and gateways that go and come, sessions that end: the user sees what is
// wrong, loses nothing typed, and is back by himself within five seconds of the cause's end.
import {Gateway} from '../support/programs';
import {Line} from '../support/line';
import {patiently} from '../support/patience';
import {brief, expect, goTo, guest, isSettled, landmarks, main, object, part, test, typeLogIn, userBox} from '../support/test';
import type {Locator, Page} from '../support/test';

const back = {timeout: patiently(5_000)};
const noticed = {timeout: patiently(8_000)};  // A host that says nothing more is given up after five seconds.
const subject = (page: Page) => page.getByRole('textbox', {name: 'Subject', exact: true});
const banner = (page: Page) => page.locator('[data-part="banner"]');

async function looksStale(page: Page) {
  await expect(main(page)).toHaveAttribute('data-stale', /.*/, noticed);
  await expect(page.getByRole('status').filter({has: page.locator(':scope')}).first()).toBeAttached();
  await expect(banner(page)).toBeVisible();
  await expect(banner(page)).not.toBeEmpty();
}

async function isBack(page: Page) {
  await expect(main(page)).not.toHaveAttribute('data-stale', /.*/, back);
  await expect(banner(page)).toBeHidden();
}

// A text field that takes nothing, or a button that does not: both without losing the focus.
const isInert = (control: Locator) =>
  control.evaluate((each: HTMLInputElement) =>
    each.disabled || each.readOnly === true || each.getAttribute('aria-disabled') === 'true' || each.closest('[inert]') !== null);

test('a reload keeps session, dialog and what was not sent', async ({open, station}) => {
  const page = await open('changes');
  await subject(page).fill('half a sent');
  await page.reload();
  await expect(subject(page)).toHaveValue('half a sent');
  await isSettled(page);
  expect((await station.object('changes', 'subject')).Value).toBe('');
  await subject(page).press('Enter');
  await expect.poll(async () => (await station.object('changes', 'subject')).Value).toBe('half a sent');
});

test('many reloads in a row end in the dialog', async ({open}) => {
  const page = await open('changes');
  for (let i = 0; i < 5; ++i) {
    await page.reload();
    await expect(subject(page)).toBeVisible();
  }
});

test('a duplicated tab does not share the session', async ({open, gateway}) => {
  const page = await open('changes');
  const copied = await page.evaluate(() => ({...sessionStorage}) as Record<string, string>);
  const second = await page.context().newPage();
  await second.addInitScript((items) => {
    if (sessionStorage.length === 0) for (const [key, value] of Object.entries(items)) sessionStorage.setItem(key, value);
  }, copied);
  await second.goto(gateway.address);
  await expect(userBox(second)).toBeVisible();
  await typeLogIn(second, guest);
  await expect(subject(second).or(object(second, landmarks.gallery)).first()).toBeVisible();
  await isSettled(page);
  await subject(page).fill('of the first');
  await subject(page).press('Enter');
  await isSettled(page);
  if (!(await subject(second).isVisible())) await goTo(second, 'changes', landmarks.changes);
  await expect(subject(second)).toHaveValue('of the first');
});

test('a broken line is seen, and is whole again by itself', async ({host, open}) => {
  const line = await Line.start(host.port, 1, [0, 1]);
  const gateway = await Gateway.start(line.port);
  const page = await open('changes', guest, gateway.address);
  await subject(page).fill('half a sent');
  line.cut();
  await isBack(page);
  await expect(subject(page)).toHaveValue('half a sent');
  await subject(page).press('Enter');
  await isSettled(page);
  await gateway.stop();
  await line.stop();
});

test('a host that is killed is seen; when it is back the log-in leads to where one was', async ({host, open}) => {
  const page = await open('changes');
  await subject(page).fill('half a sent');
  await host.kill();
  await looksStale(page);
  expect(await isInert(page.getByRole('button', {name: 'Add', exact: true}))).toBe(true);
  await expect(subject(page)).toHaveValue('half a sent');
  await host.begin();
  await expect(userBox(page)).toBeVisible(back);  // The host has forgotten the session.
  await expect(page.getByRole('alert')).toBeVisible();
  await typeLogIn(page, guest);
  await expect(subject(page)).toHaveValue('half a sent');
  await isSettled(page);
  await subject(page).press('Enter');
  await isSettled(page);
});

test('a host that stands still is seen when something is touched, and goes on by itself', async ({host, open}) => {
  const page = await open('changes');
  host.freeze();
  await page.getByRole('button', {name: 'Add', exact: true}).click();
  await expect(object(page, 'add')).toHaveAttribute('aria-busy', 'true');
  await looksStale(page);
  await page.waitForTimeout(1_000);
  host.thaw();
  await isBack(page);
  await expect(page.getByRole('textbox', {name: 'Item 1'})).toBeVisible();
  await isSettled(page);
});

test('a gateway that starts anew is no more than a pause', async ({gateway, open}) => {
  const page = await open('changes');
  await subject(page).fill('half a sent');
  await gateway.stop();
  await looksStale(page);
  await gateway.again();
  await isBack(page);
  await expect(subject(page)).toHaveValue('half a sent');
  await isSettled(page);
});

test('a gateway that is killed is no more than a pause', async ({gateway, open}) => {
  const page = await open('changes');
  await gateway.kill();
  await looksStale(page);
  await page.waitForTimeout(3_000);
  await gateway.again();
  await isBack(page);
  await isSettled(page);
});

test('a session that ends under a reading user leads to the form, with a word', async ({open}) => {
  const page = await open('changes', brief);
  await subject(page).fill('half a sent');
  await expect(userBox(page)).toBeVisible({timeout: patiently(12_000)});
  await expect(page.getByRole('alert')).toBeVisible();
  await typeLogIn(page, brief);
  await expect(subject(page)).toHaveValue('half a sent');
});

test('another user does not get what one had typed', async ({open}) => {
  const page = await open('changes', brief);
  await subject(page).fill('half a sent');
  await expect(userBox(page)).toBeVisible({timeout: patiently(12_000)});
  await typeLogIn(page, guest);
  await expect(object(page, 'add').or(object(page, landmarks.gallery)).first()).toBeVisible();
  if (!(await subject(page).isVisible())) await goTo(page, 'changes', landmarks.changes);
  await expect(subject(page)).toHaveValue('');
});

test('who chooses to stay logged in stays', async ({open}) => {
  const page = await open('changes', brief);
  const stay = part(page, 'stay');
  const control = (await stay.locator('input').count()) > 0 ? stay.locator('input').first() : stay;
  await control.click();
  await page.waitForTimeout(9_000);
  await expect(userBox(page)).toHaveCount(0);
  await isSettled(page);
  await page.getByRole('button', {name: 'Add', exact: true}).click();
  await expect(page.getByRole('textbox', {name: 'Item 1'})).toBeVisible();
});

test.describe('with a clock that jumps', () => {
  test.use({movesClock: true});

  test('the gateway answers the host that asks after 180 silent seconds', async ({host, open}) => {
    const page = await open('changes');
    host.moveClock(181);
    await expect.poll(() => host.output).toContain('"Command":"KEEPALIVE"');
    await page.waitForTimeout(500);
    host.moveClock(195);
    await page.waitForTimeout(1_500);
    expect(host.output).not.toContain('KEEPALIVE応答タイムアウト');
    await isSettled(page);
    await page.getByRole('button', {name: 'Add', exact: true}).click();
    await expect(page.getByRole('textbox', {name: 'Item 1'})).toBeVisible();
  });
});
