// What updates do to objects that are shown already, in ways that none of the examples has.
import {expect, object, part, test as base} from '../support/test';
import {Script} from '../support/script';

type Scene = {show: (...objects: {[key: string]: unknown}[]) => Promise<Script>};

const test = base.extend<Scene>({
  show: async ({browser}, use) => {
    const scripts: Script[] = [];
    await use(async (...objects) => {
      scripts.push(await Script.show(browser, objects));
      return scripts[scripts.length - 1]!;
    });
    for (const script of scripts) await script.end();
  },
});

test('what was hidden at first is shown when it becomes visible, and its card goes with it', async ({show}) => {
  const place = {X: 0, Y: 0, W: 4, H: 1};
  for (const at of [{}, place]) {
    const script = await show(
      {Name: 'a', Type: 'LABEL', Value: '1', Visible: 'OFF', ...at},
      {Name: 'b', Type: 'LABEL', Value: '2', Visible: 'OFF', ...at, ...('Y' in at ? {Y: 1} : {})});
    const cards = script.page.locator('.implied');
    await expect(cards.filter({visible: true})).toHaveCount(0);
    script.update('a', {Visible: 'ON'});
    await expect(object(script.page, 'a')).toBeVisible();
    await expect(cards.filter({visible: true})).toHaveCount(1);
    script.update('a', {Visible: 'OFF'});
    await expect(cards.filter({visible: true})).toHaveCount(0);
  }
});

test('a choice that was reached by keys is none any more when the options change', async ({show}) => {
  const script = await show({Name: 'c', Type: 'COMBO', Options: ['x', 'y', 'z'], Value: 'x'}, {Name: 'e', Type: 'EDIT'});
  const combo = script.page.getByRole('combobox', {name: 'c', exact: true});
  await combo.focus();
  await script.page.keyboard.press('ArrowDown');
  await expect(combo).toHaveValue('y');
  script.update('c', {Options: ['p', 'q', 'x']});
  await expect(combo.locator('option')).toHaveText(['p', 'q', 'x']);
  await expect(combo).toHaveValue('x');
  await object(script.page, 'e').locator('input').focus();
  expect(script.setOf('c')).toEqual([]);
});

test('a choice that was reached by keys stays while it is among the options', async ({show}) => {
  const script = await show({Name: 'c', Type: 'COMBO', Options: ['x', 'y', 'z'], Value: 'x'}, {Name: 'e', Type: 'EDIT'});
  const combo = script.page.getByRole('combobox', {name: 'c', exact: true});
  await combo.focus();
  await script.page.keyboard.press('ArrowDown');
  script.update('c', {Options: ['x', 'p', 'y']});
  await expect(combo.locator('option')).toHaveText(['x', 'p', 'y']);
  await expect(combo).toHaveValue('y');
  await expect(combo.locator('[data-on]')).toHaveText('x');
  await object(script.page, 'e').locator('input').focus();
  await expect.poll(() => script.setOf('c')).toEqual([{Name: 'c', Value: 'y'}]);
});

test('an edit keeps its name when it gets lines, and its text to itself when it becomes a password', async ({show}) => {
  const script = await show({Name: 'e', Type: 'EDIT', Label: 'Words', Value: 'open', Hint: 'why', Enabled: 'OFF'});
  const box = script.page.getByRole('textbox', {name: 'Words', exact: true});
  script.update('e', {Format: 'lines:3'});
  await expect(object(script.page, 'e').locator('textarea')).toBeAttached();
  await expect(box).toBeDisabled();
  await expect(box).toHaveAccessibleDescription('why');
  script.update('e', {Enabled: 'ON', Format: 'text'});
  await expect(object(script.page, 'e').locator('input')).toBeAttached();
  await expect(box).toBeEnabled();
  script.update('e', {Format: 'password'});
  await expect(object(script.page, 'e').locator('input')).toHaveAttribute('type', 'password');
  script.update('e', {Format: 'text'});
  await expect(object(script.page, 'e').locator('input')).toHaveAttribute('type', 'text');
});

test('a picture that was taken away is gone, and each that is missing has its own name', async ({show}) => {
  const script = await show({Name: 'i', Type: 'IMAGE', Image: 'one.png'});
  const picture = part(object(script.page, 'i'), 'value');
  await script.file('one.png', null);
  await expect(picture).toContainText('one.png');
  script.update('i', {Image: 'two.png'});
  await script.file('two.png', null);
  await expect(picture).toContainText('two.png');
  script.update('i', {Image: 'one.png'});
  await expect(picture).toContainText('one.png');
  script.update('i', {Image: ''});
  await expect(picture).toBeEmpty();
});

test('a table that loses a column loses its width', async ({show}) => {
  const script = await show({Name: 'g', Type: 'GRID', Columns: ['A', 'B'], Widths: ['5', '30'], Rows: [['1', '2']]});
  const columns = object(script.page, 'g').locator('col');
  await expect(columns).toHaveCount(2);
  script.update('g', {Columns: ['A'], Rows: [['1']]});
  await expect(object(script.page, 'g').locator('th')).toHaveCount(1);
  await expect(columns).toHaveCount(1);
});

const tabs = (extra = {}) => ({
  Name: 't', Type: 'GROUP', Layout: 'TABS', Objects: [
    {Name: 'p', Type: 'GROUP', Label: 'First', Objects: [{Name: 'x', Type: 'LABEL', Value: '1'}]},
    {Name: 'q', Type: 'GROUP', Label: 'Second', ...extra},
  ]});

test('groups that are tabs no more have their names again', async ({show}) => {
  const script = await show(tabs());
  await expect(script.page.getByRole('tab')).toHaveText(['First', 'Second']);
  script.update('t', {Layout: 'NONE'});
  await expect(script.page.getByRole('tab')).toHaveCount(0);
  for (const name of ['First', 'Second']) {
    await expect(script.page.getByRole('group', {name, exact: true})).toBeAttached();
  }
});

test('the tab of a group without children follows it', async ({show}) => {
  const script = await show(tabs());
  script.update('q', {Label: 'Other', State: 'WARN'});
  await expect(script.page.getByRole('tab')).toHaveText(['First', 'Other']);
  await expect(script.page.locator('[data-tab="q"]')).toHaveAttribute('data-state', 'WARN');
  script.update('q', {Visible: 'OFF'});
  await expect(script.page.getByRole('tab').filter({visible: true})).toHaveText(['First']);
});

const dot = Buffer.from(
  'iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==', 'base64');

test('a picture that was under way when the line was lost comes on the next', async ({show}) => {
  const script = await show({Name: 'i', Type: 'IMAGE', Image: 'one.png'});
  await expect.poll(() => script.missing.size).toBe(1);
  script.missing.clear();
  await script.cut();
  await script.file('one.png', dot);
  await expect(object(script.page, 'i').locator('img')).toBeVisible();
});

test('a browser that keeps nothing shows the page all the same', async ({browser}) => {
  const objects = [{Name: 'e', Type: 'EDIT'}];
  const script = await Script.show(browser, objects, (page) =>
    page.addInitScript(() => {
      for (const name of ['localStorage', 'sessionStorage']) {
        Object.defineProperty(window, name, {get: () => { throw new DOMException('denied', 'SecurityError'); }});
      }
    }));
  await part(script.page, 'language').selectOption('ja');
  await expect(script.page.locator('html')).toHaveAttribute('lang', 'ja');
  await script.end();
});

test('a page that nobody looks at goes on: alarms are told', async ({browser}) => {
  const grid = {
    Name: 'g', Type: 'GRID', Role: 'ALARMS', Columns: ['Time', 'State', 'Text', 'Ack'], Rows: [] as string[][]};
  // Browsers draw no frames of a page that is out of view.
  const script = await Script.show(browser, [grid], (page) =>
    page.addInitScript(() => (window.requestAnimationFrame = () => 0)));
  script.update('g', {Rows: [['1', 'ALARM', 'high water', '']]});
  await expect(part(script.page, 'alarmbar')).toContainText('high water');
  await script.end();
});

test('a reader is told once that the session ends, and not each second', async ({browser}) => {
  const script = await Script.show(browser, [{Name: 'e', Type: 'EDIT'}]);
  script.command({Command: 'OPEN', SessionId: 's', Interval: '20'});
  const banner = part(script.page, 'banner');
  await expect(banner).toContainText(/[45] s/, {timeout: 25_000});
  const told = () => banner.evaluate((element) => {
    const copy = element.cloneNode(true) as HTMLElement;
    for (const each of copy.querySelectorAll('[aria-hidden="true"]')) each.remove();
    return copy.textContent;
  });
  const [words, seen] = [await told(), await banner.textContent()];
  expect(words).not.toBe('');
  await expect(banner).not.toHaveText(seen!);
  expect(await told()).toBe(words);
  await script.end();
});

test('the pad begins a fraction below zero with a digit', async ({show}) => {
  const script = await show({Name: 'n', Type: 'EDIT', Format: '0.0', Value: ''});
  await object(script.page, 'n').locator('.pad').click();
  const pad = script.page.getByRole('dialog');
  for (const key of ['±', '.', '5']) await pad.getByText(key, {exact: true}).click();
  await expect(pad.locator('output')).toHaveText('-0.5');
  await pad.locator('.yes').click();
  await expect.poll(() => script.setOf('n')).toEqual([{Name: 'n', Value: '-0.5'}]);
});
