// The picture in the README: the panel of the pumping station, from the real page. script/picture
// runs it.
import {expect, isSettled, object, part, test, typeLogIn} from '../support/test';

test.use({hostName: 'pumphouse', colorScheme: 'light', viewport: {width: 1120, height: 700}});

// Long enough for the basin to run full while nobody pumps, so that there is an alarm to see.
const fullMs = 60_000;

test('the panel with an alarm', {tag: '@picture'}, async ({page, gateway}) => {
  test.setTimeout(2 * fullMs);
  await page.goto(gateway.address);
  await typeLogIn(page, {name: 'tanaka', password: 'water'});
  await expect(part(page, 'alarmbar')).toContainText('high water', {timeout: fullMs});
  for (const pump of ['Pump 1', 'Pump 2']) {
    await page.getByRole('group', {name: pump, exact: true}).getByRole('button', {name: 'Start'}).click();
  }
  await expect(object(page, 'level')).toHaveAttribute('data-state', 'WARN');
  await isSettled(page);
  await page.mouse.move(0, 0);
  await page.evaluate(() => (document.activeElement as HTMLElement).blur());
  await page.screenshot({path: process.env.DORN_PICTURE!});
});
