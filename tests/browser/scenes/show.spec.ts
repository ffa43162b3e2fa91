// What each type of object shows: captions, values in their formats, limits, states, tables, pictures.
import {readFileSync} from 'node:fs';

import {sources} from '../support/programs';
import {expect, object, part, test, valueOf} from '../support/test';

test('captions: Label, else Title, else Text, else the name', async ({open}) => {
  const page = await open();
  await expect(object(page, 'by_label')).toContainText('Label first');
  await expect(object(page, 'by_title')).toContainText('Title second');
  await expect(object(page, 'by_text')).toContainText('Text third');
  await expect(object(page, 'by_its_name')).toContainText('by its name');
  for (const name of ['by_label', 'by_title', 'by_text']) {
    await expect(object(page, name)).not.toContainText('not shown');
  }
  await expect(page.getByRole('group', {name: 'Captions', exact: true})).toBeVisible();
});

const values: [string, string, string?][] = [
  ['as_text', '0012'],
  ['whole', '1234', 'cm'],
  ['tenths', '21.5', '°C'],
  ['hundredths', '-0.05'],
  ['span', '1:02:05'],
  ['bar', '85', 'kPa'],
  ['no_number', 'n/a'],
  ['unknown', 'shown as a label'],
];
for (const [name, value, unit] of values) {
  test(`the value of ${name} is ${value} ${unit ?? ''}`, async ({open}) => {
    const page = await open();
    await expect(valueOf(page, name)).toHaveText(value);
    if (unit) await expect(part(object(page, name), 'unit')).toHaveText(unit);
  });
}

test('a moment is in local time', async ({open}) => {
  const page = await open();
  await expect(valueOf(page, 'moment')).toContainText('2023');
  await expect(valueOf(page, 'moment')).toContainText('22:13');
});

test('every object says its type and state', async ({open}) => {
  const page = await open();
  for (const state of ['NORMAL', 'INFO', 'WARN', 'ALARM', 'BAD', 'OFF']) {
    await expect(object(page, `is_${state.toLowerCase()}`)).toHaveAttribute('data-state', state);
  }
  await expect(object(page, 'whole')).toHaveAttribute('data-type', 'LABEL');
  await expect(object(page, 'unknown')).toHaveAttribute('data-type', 'GAUGE');
  await expect(object(page, 'lane')).toHaveAttribute('data-type', 'GROUP');
  await expect(object(page, 'lane_left')).toHaveAttribute('data-type', 'RADIOBTN');
});

test('beyond a limit is WARN, beyond the outer one ALARM, and no number has no state', async ({open, station}) => {
  const page = await open();
  await expect(object(page, 'bar')).toHaveAttribute('data-state', 'WARN');
  await expect(object(page, 'no_number')).toHaveAttribute('data-state', 'NORMAL');
  station.enter('gallery');
  for (const [value, state] of [['90', 'NORMAL'], ['91', 'WARN']]) {
    station.act('speed', {Value: value});
    await expect(object(page, 'speed')).toHaveAttribute('data-state', state!);
  }
});

test('a sparkline draws what has been, beside the number', async ({open}) => {
  const page = await open();
  await expect(valueOf(page, 'trend')).toHaveText(/^\d+$/);
  const first = await valueOf(page, 'trend').textContent();
  await expect(valueOf(page, 'trend')).not.toHaveText(first!);
  await expect(object(page, 'trend').locator('svg, canvas').first()).toBeVisible();
});

test('a hidden object is neither shown nor read out, a disabled one is both', async ({open}) => {
  const page = await open();
  await expect(page.getByRole('button', {name: 'Hidden'})).toHaveCount(0);
  await expect(object(page, 'hidden')).toBeHidden();
  await expect(page.getByRole('button', {name: 'Disabled'})).toBeDisabled();
});

test('objects on cells stand where they are put, others in their order', async ({open}) => {
  const page = await open();
  const box = async (name: string) => (await object(page, name).boundingBox())!;
  const [topLeft, bottomRight] = [await box('top_left'), await box('bottom_right')];
  expect(bottomRight.x).toBeGreaterThan(topLeft.x + topLeft.width - 1);
  expect(bottomRight.y).toBeGreaterThan(topLeft.y);
  const names = await object(page, 'ordered').locator('[data-name]').evaluateAll(
    (all) => all.map((each) => each.getAttribute('data-name')));
  expect(names).toEqual(['first', 'second', 'third']);
  expect((await box('third')).y).toBeGreaterThan((await box('second')).y);
});

test('a picture is the file of the host, byte for byte', async ({open}) => {
  const page = await open();
  const picture = page.getByRole('img', {name: 'A ring'});
  await expect(picture).toBeVisible();
  await expect.poll(() => picture.evaluate((image) => (image as HTMLImageElement).naturalWidth)).toBe(96);
  const bytes = await picture.evaluate(async (image) => {
    const blob = await (await fetch((image as HTMLImageElement).src)).blob();
    return [...new Uint8Array(await blob.arrayBuffer())];
  }).catch(() => undefined);
  // The page's policy may forbid reading the picture back; then its size has to do.
  if (bytes) expect(Buffer.from(bytes)).toEqual(readFileSync(`${sources}/examples/gallery/resources/ring.png`));
  await expect(object(page, 'pictured').locator('img')).toBeVisible();
});

test('tabs show one of their groups', async ({open}) => {
  const page = await open();
  await expect(page.getByRole('tab')).toHaveText(['Front', 'Back']);
  await expect(object(page, 'front_door')).toBeVisible();
  await expect(object(page, 'back_door')).toBeHidden();
  await page.getByRole('tab', {name: 'Back'}).click();
  await expect(page.getByRole('tab', {name: 'Back'})).toHaveAttribute('aria-selected', 'true');
  await expect(page.locator('[role=tabpanel][data-name="back"]')).toBeVisible();
  await expect(object(page, 'back_door')).toBeVisible();
  await expect(object(page, 'front_door')).toBeHidden();
  await expect(page.locator('[data-tab="back"]')).toHaveAttribute('role', 'tab');
});
