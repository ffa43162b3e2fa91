// What an operator does with each type of object, and what the host then holds.
import {patiently} from '../support/patience';
import {expect, object, part, test, valueOf} from '../support/test';
import type {Page} from '../support/test';
import type {Station} from '../support/station';

const box = (page: Page, name: string) => page.getByRole('textbox', {name, exact: true});
const hostHolds = (station: Station, name: string, key: string) => ({
  toBe: (value: unknown) =>
    expect.poll(async () => String((await station.object('gallery', name))[key]), {timeout: patiently(10_000)}).toBe(String(value)),
});
const confirmed = (page: Page, name: string) => expect(object(page, name)).not.toHaveAttribute('aria-busy', 'true');

test('a text is sent by Enter and confirmed', async ({open, station}) => {
  const page = await open();
  await box(page, 'Your name').fill('Tanaka');
  await box(page, 'Your name').press('Enter');
  await confirmed(page, 'name');
  await hostHolds(station, 'name', 'Value').toBe('Tanaka');
});

test('a text is sent by leaving, and Escape takes it back', async ({open, station}) => {
  const page = await open();
  await box(page, 'Your name').fill('Suzuki');
  await box(page, 'Code').focus();
  await hostHolds(station, 'name', 'Value').toBe('Suzuki');
  await box(page, 'Your name').fill('nobody');
  await box(page, 'Your name').press('Escape');
  await expect(box(page, 'Your name')).toHaveValue('Suzuki');
  await box(page, 'Code').focus();
  await hostHolds(station, 'name', 'Value').toBe('Suzuki');
});

test('what is pending says so from the click on, until the host has answered', async ({open, station, host}) => {
  const page = await open();
  await box(page, 'Your name').fill('x');
  host.freeze();
  await box(page, 'Your name').press('Enter');
  await expect(object(page, 'name')).toHaveAttribute('aria-busy', 'true');
  host.thaw();
  await confirmed(page, 'name');
  await hostHolds(station, 'name', 'Value').toBe('x');
});

test('a text of several lines is sent by Ctrl+Enter', async ({open, station}) => {
  const page = await open();
  await box(page, 'Story').click();
  await page.keyboard.type('once');
  await page.keyboard.press('Enter');
  await page.keyboard.type('upon');
  await page.keyboard.press('Control+Enter');
  await confirmed(page, 'story');
  await hostHolds(station, 'story', 'Value').toBe('once\nupon');
  await page.reload();
  await expect(box(page, 'Story')).toHaveValue('once\nupon');
});

test('a password is not shown', async ({open}) => {
  const page = await open();
  await expect(object(page, 'secret').locator('input')).toHaveAttribute('type', 'password');
});

test('a text has at most MaxLength characters', async ({open, station}) => {
  const page = await open();
  await box(page, 'Your name').fill('x'.repeat(41));
  await box(page, 'Your name').press('Enter');
  await expect(part(object(page, 'name'), 'error')).toContainText('40');
  await hostHolds(station, 'name', 'Value').toBe('');
  await box(page, 'Your name').fill('字'.repeat(40));
  await box(page, 'Your name').press('Enter');
  await hostHolds(station, 'name', 'Value').toBe('字'.repeat(40));
});

test('a scaled number is typed as it is shown', async ({open, station}) => {
  const page = await open();
  await expect(box(page, 'Set point')).toHaveValue('20.0');
  await expect(box(page, 'Set point')).toHaveAttribute('inputmode', /decimal|numeric/);
  await box(page, 'Set point').fill('12.5');
  await box(page, 'Set point').press('Enter');
  await hostHolds(station, 'setpoint', 'Value').toBe('125');
  await expect(box(page, 'Set point')).toHaveValue('12.5');
});

for (const typed of ['many', '31', '4.9', '1e1', '--5']) {
  test(`"${typed}" is no set point: it is not sent, and the reason stands beside it`, async ({open, station}) => {
    const page = await open();
    await box(page, 'Set point').fill(typed);
    await box(page, 'Set point').press('Enter');
    await expect(box(page, 'Set point')).toHaveAttribute('aria-invalid', 'true');
    await expect(part(object(page, 'setpoint'), 'error')).not.toBeEmpty();
    await hostHolds(station, 'setpoint', 'Value').toBe('200');
    await box(page, 'Set point').press('Escape');
    await expect(box(page, 'Set point')).toHaveValue('20.0');
    await expect(box(page, 'Set point')).not.toHaveAttribute('aria-invalid', 'true');
  });
}

test('what the host puts right is what is shown', async ({open}) => {
  const page = await open();
  await box(page, 'Even number').fill('21');
  await box(page, 'Even number').press('Enter');
  await expect(box(page, 'Even number')).toHaveValue('20');
  await box(page, 'Even number').fill('35');
  await box(page, 'Even number').press('Enter');
  await expect(box(page, 'Even number')).toHaveValue('34');
  await confirmed(page, 'even');
});

test('what the host refuses has its reason beside it, until it is right', async ({open}) => {
  const page = await open();
  await box(page, 'Code').fill('12a4');
  await box(page, 'Code').press('Enter');
  await expect(part(object(page, 'code'), 'error')).toHaveText('four digits');
  await box(page, 'Code').fill('1234');
  await box(page, 'Code').press('Enter');
  await expect(object(page, 'code')).not.toContainText('four digits');
});

test('what is read only cannot be typed into', async ({open}) => {
  const page = await open();
  await expect(box(page, 'Fixed text')).not.toBeEditable();
  await expect(box(page, 'Fixed text')).toHaveValue('cannot be changed');
});

test('a check box is ON and OFF', async ({open, station}) => {
  const page = await open();
  const light = page.getByRole('checkbox', {name: 'Light'});
  await expect(light).not.toBeChecked();
  await light.click();
  await expect(light).toBeChecked();
  await hostHolds(station, 'light', 'Value').toBe('ON');
  await light.click();
  await hostHolds(station, 'light', 'Value').toBe('OFF');
});

test('a slider moves by its step', async ({open, station}) => {
  const page = await open();
  const speed = page.getByRole('slider', {name: 'Speed'});
  await expect(speed).toHaveValue('40');
  await speed.focus();
  await page.keyboard.press('ArrowRight');
  await hostHolds(station, 'speed', 'Value').toBe('45');
  await page.keyboard.press('End');
  await hostHolds(station, 'speed', 'Value').toBe('100');
});

test('a slider is sent once, however long an arrow key is held', async ({open, station}) => {
  const page = await open();
  const speed = page.getByRole('slider', {name: 'Speed'});
  await expect(speed).toHaveValue('40');
  const sent = await page.evaluateHandle(() => {
    const texts: string[] = [];
    const {send} = WebSocket.prototype;
    WebSocket.prototype.send = function (data) {
      if (String(data).includes('"CONDITION"')) texts.push(String(data));
      send.call(this, data);
    };
    return texts;
  });
  await speed.focus();
  for (let i = 0; i < 6; ++i) await page.keyboard.down('ArrowRight');
  await expect(speed).toHaveValue('70');
  expect(await sent.evaluate((texts) => texts.length)).toBe(0);
  await page.keyboard.up('ArrowRight');
  await hostHolds(station, 'speed', 'Value').toBe('70');
  expect(await sent.evaluate((texts) => texts.length)).toBe(1);
});

test('a list has all options in view', async ({open, station}) => {
  const page = await open();
  const fruit = page.getByRole('listbox', {name: 'Fruit'});
  await expect(fruit.getByRole('option')).toHaveText(['apple', 'pear', 'plum']);
  await expect(fruit.getByRole('option', {name: 'pear', selected: true})).toHaveCount(1);
  if ((await fruit.evaluate((each) => each.tagName)) === 'SELECT') await fruit.selectOption({label: 'plum'});
  else await fruit.getByRole('option', {name: 'plum'}).click();
  await hostHolds(station, 'fruit', 'Value').toBe('plum');
});

test('a combo unfolds its options', async ({open, station}) => {
  const page = await open();
  const colour = page.getByRole('combobox', {name: 'Colour'});
  await expect(colour).toHaveValue('green');
  await colour.selectOption('blue');
  await hostHolds(station, 'colour', 'Value').toBe('blue');
});

test('a radio group has one button on', async ({open, station}) => {
  const page = await open();
  const lane = page.getByRole('radiogroup', {name: 'Lane'});
  await expect(lane.getByRole('radio')).toHaveText(['Left', 'Middle', 'Right']);
  await expect(lane.getByRole('radio', {name: 'Left'})).toHaveAttribute('aria-checked', 'true');
  await lane.getByRole('radio', {name: 'Right'}).click();
  await expect(lane.getByRole('radio', {name: 'Right'})).toHaveAttribute('aria-checked', 'true');
  await expect(lane.getByRole('radio', {name: 'Left'})).toHaveAttribute('aria-checked', 'false');
  await hostHolds(station, 'lane_right', 'Attr').toBe('ON');
  await hostHolds(station, 'lane_left', 'Attr').toBe('OFF');
  station.enter('gallery');
  station.act('lane_middle', {Attr: 'ON'}, 'CLICK');
  await expect(lane.locator('[aria-checked="true"]')).toHaveText('Middle');
});

test('a button tells its name', async ({open}) => {
  const page = await open();
  await page.getByRole('button', {name: 'Touch', exact: true}).click();
  await expect(valueOf(page, 'touches')).toHaveText('1');
});

test('a button that asks first is sent after a yes alone', async ({open}) => {
  const page = await open();
  const question = page.getByRole('alertdialog', {name: 'Really touch it?'});
  const button = page.getByRole('button', {name: 'Touch with care'});
  await button.click();
  await question.locator('[data-part="no"]').click();
  await expect(question).toHaveCount(0);
  await button.click();
  await page.keyboard.press('Escape');
  await expect(question).toHaveCount(0);
  await button.click();
  await question.locator('[data-part="yes"]').click();
  await expect(question).toHaveCount(0);
  await expect(valueOf(page, 'touches')).toHaveText('1');
});

test('a disabled button sends nothing', async ({open, host}) => {
  const page = await open();
  await page.getByRole('button', {name: 'Disabled'}).click({force: true});
  await page.getByRole('button', {name: 'Touch', exact: true}).click();
  await expect(valueOf(page, 'touches')).toHaveText('1');
  expect(host.output).not.toContain('"ActionName":"disabled"');
});
