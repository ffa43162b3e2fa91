// A host that is wrong or means harm: the page goes on, shows what it can, and says what it cannot.
import {patiently} from '../support/patience';
import {pause, until} from '../support/programs';
import {Script} from '../support/script';
import {expect, object, part, test, valueOf, type Page} from '../support/test';

const label = {Name: 'l', Type: 'LABEL', Value: '1'};
const count = (n: number) => Array.from({length: n}, (_, i) => i);

// The page answers within that time; what takes so long stands still for whoever looks at it.
const soon = {timeout: patiently(6_000)};

test('a table of a hundred thousand rows is shown in part, and told as such', async ({browser}) => {
  const rows = count(100_000).map((i) => [`row ${i}`, 'a', 'b']);
  const script = await Script.show(browser, [{Name: 'g', Type: 'GRID', Rows: []}, label]);
  const {page} = script;
  script.update('g', {Rows: rows});
  await expect(object(page, 'g')).toContainText('rows 10000 / 100000, columns 3 / 3', soon);
  await expect(object(page, 'g').locator('tr')).toHaveCount(10_001, soon);
  script.update('g', {Rows: rows.slice(0, 2)});
  await expect(object(page, 'g').locator('tr')).toHaveCount(3, soon);
  await expect(object(page, 'g')).not.toContainText('100000');
  await script.end();
});

test('one row of a hundred thousand cells does not widen all others', async ({browser}) => {
  const rows = [count(100_000).map(String), ...count(1_000).map((i) => [`row ${i}`])];
  const script = await Script.show(browser, [{Name: 'g', Type: 'GRID', Rows: []}]);
  script.update('g', {Rows: rows});
  await expect(object(script.page, 'g')).toContainText('rows 150 / 1001, columns 200 / 100000', soon);
  script.update('g', {Rows: [], Columns: count(300_000).map(String)});
  await expect(object(script.page, 'g')).toContainText('columns 200 / 300000', soon);
  await script.end();
});

for (const Type of ['COMBO', 'LIST']) {
  test(`a ${Type} of three hundred thousand options has the first ones`, async ({browser}) => {
    const script = await Script.show(browser, [{Name: 'c', Type, Options: ['x'], Value: 'x'}]);
    const select = valueOf(script.page, 'c');
    script.update('c', {Options: count(300_000).map(String), Value: '7'});
    await expect(select).toHaveValue('7', soon);
    await expect(select.locator('option')).toHaveCount(5_001);
    script.update('c', {Value: '200000'});
    await expect(select.locator('option:checked')).toHaveText('5000 / 300000 …', soon);
    await script.end();
  });
}

test('options are told apart whatever they hold', async ({browser}) => {
  const script = await Script.show(browser, [{Name: 'c', Type: 'COMBO', Options: ['a', 'b']}]);
  const options = valueOf(script.page, 'c').locator('option');
  await expect(options).toHaveCount(2);
  script.update('c', {Options: ['a\nb']});
  await expect(options).toHaveCount(1);
  await script.end();
});

test('texts of a megabyte are cut where they are drawn', async ({browser}) => {
  const text = 'word '.repeat(200_000);
  const object = {Name: 'a', Type: 'LABEL', Label: text, Value: text, Hint: text, Unit: text, Error: text};
  const script = await Script.show(browser, [
    object,
    {...object, Name: 'b', Type: 'BUTTON'},
    {Name: 'g', Type: 'GROUP', Title: text, Objects: [label]},
    {Name: 't', Type: 'GRID', Columns: [text], Rows: [[text]]},
    {...label, [`Label:${text}`]: 'a language'},
  ]);
  await expect(valueOf(script.page, 'a')).toHaveText(/ …$/);
  const [length, width] = await script.page.evaluate(() => {
    return [document.body.textContent!.length, document.documentElement.scrollWidth];
  });
  expect(length).toBeLessThan(300_000);
  expect(width).toBe(1280);
  await script.end();
});

test('a text that no field can hold is shown in part, and cannot be edited', async ({browser}) => {
  const Value = 'line\n'.repeat(200_000);
  const script = await Script.show(browser, [
    {Name: 'e', Type: 'EDIT', Format: 'lines:5', MaxLength: '1000000', Value: 'x'},
  ]);
  const field = valueOf(script.page, 'e');
  await expect(field).toBeEditable();
  script.update('e', {Value});
  await expect(field).toHaveJSProperty('readOnly', true, soon);
  expect((await field.inputValue()).length).toBeLessThan(100_000);
  script.update('e', {Value: 'y'});
  await expect(field).toHaveValue('y', soon);
  await expect(field).toBeEditable();
  await script.end();
});

test('of very many objects the first ones are shown, and the page says so', async ({browser}) => {
  const script = await Script.show(browser, [label]);
  script.objects = count(150_000).map((i) => ({Name: `n${i}`, Type: 'LABEL', Value: '1'}));
  script.command({Command: 'OPEN', DialogName: 'd', SessionId: 's'});
  await expect(script.page.locator('.note')).toHaveText(/only the first 10000 objects/, {
    timeout: patiently(20_000),
  });
  await expect(object(script.page, 'n9999')).toBeAttached();
  await script.end();
});

test('updates of thousands of radio buttons and loose objects cost each its own', async ({browser}) => {
  const names = count(3_000).map((i) => `r${i}`);
  const script = await Script.show(browser, [label]);
  const {page} = script;
  script.objects = [
    {Name: 'g', Type: 'GROUP', Layout: 'RADIO', Objects: names.map((Name) => ({Name, Type: 'RADIOBTN'}))},
    ...names.map((name) => ({Name: `${name}l`, Type: 'LABEL', Value: '0'})),
  ];
  script.command({Command: 'OPEN', DialogName: 'd', SessionId: 's'});
  await expect(object(page, 'r2999l')).toBeAttached(soon);
  const busy = await busyTime(page, async () => {
    for (const Value of ['1', '2', '3']) {
      const radios = names.map((Name) => ({Name, Hint: Value}));
      script.command({Command: 'UPDATE', Objects: radios});
      script.command({Command: 'UPDATE', Objects: names.map((name) => ({Name: `${name}l`, Value}))});
      await expect(valueOf(page, 'r2999l')).toHaveText(Value, soon);
    }
  });
  expect(busy).toBeLessThan(patiently(3_000));
  await script.end();
});

// How long the page did nothing but its own work.
async function busyTime(page: Page, act: () => Promise<unknown>) {
  const observed = await page.evaluateHandle(() => {
    const tasks = {ms: 0};
    const add = (list: PerformanceObserverEntryList) => {
      for (const task of list.getEntries()) tasks.ms += task.duration;
    };
    new PerformanceObserver(add).observe({entryTypes: ['longtask']});
    return tasks;
  });
  await act();
  return observed.evaluate((tasks) => tasks.ms);
}

test('a host that opens a dialog thousands of times is not asked as often', async ({browser}) => {
  const script = await Script.show(browser, [label]);
  const entries = () => script.sent.filter((each) => each.Command === 'CHANGE').length;
  const before = entries();
  script.isSilent = true;
  for (let i = 0; i < 2_000; ++i) script.command({Command: 'OPEN', DialogName: `d${i}`, SessionId: 's'});
  script.command({Command: 'OPEN', DialogName: 'd', SessionId: 's'});
  await until('the page asks', () => entries() > before || undefined);
  await pause(1_000);
  expect(entries() - before).toBeLessThan(50);
  await script.cut();  // And comes back to the dialog that was meant.
  script.isSilent = false;
  await expect(valueOf(script.page, 'l')).toHaveText('1', {timeout: patiently(10_000)});
  await script.end();
});

test('a browser that takes no more steps of the way back shows the dialog all the same', async ({browser}) => {
  const script = await Script.show(browser, [label], (page) =>
    page.addInitScript(() => {
      history.pushState = () => {
        throw new DOMException('too often', 'SecurityError');
      };
    }),
  );
  script.command({Command: 'OPEN', DialogName: 'e', SessionId: 's'});
  await until('the dialog is asked for', () => script.missing.has('e.json') || undefined);
  const head = {Command: 'PUTFILE', File: 'e.json'};
  script.tell({t: 'file', head, live: true, tree: {Name: 'e', Objects: [{...label, Name: 'm'}]}});
  await expect(object(script.page, 'm')).toBeVisible();
  await script.end();
});

test('words that every object of the page has are words like others', async ({browser}) => {
  const words = ['constructor', '__proto__', 'toString'];
  const script = await Script.show(browser, [
    ...words.map((word) => ({Name: word, Type: 'LABEL', Value: '1', [`Label:${word}`]: 'x'})),
    ...words.map((word) => ({Name: `i${word}`, Type: 'IMAGE', Image: `a.${word}`})),
  ]);
  const {page} = script;
  const languages = () => part(page, 'language').locator('option').allTextContents();
  await expect.poll(async () => (await languages()).sort()).toEqual(['English', ...words, '日本語'].sort());
  for (const word of words) {
    await script.file(`a.${word}`, Buffer.from('bytes'));
    await expect(object(page, `i${word}`).locator('a.file')).toBeVisible();
  }
  await script.end();
});

test('only what is a number is drawn as one', async ({browser}) => {
  const numbers = ['1e308', '-1e308', '0x10', 'Infinity', '9'.repeat(400)];
  const script = await Script.show(browser, [
    {Name: 's', Type: 'LABEL', Format: 'spark', Value: '1'},
    {Name: 'b', Type: 'LABEL', Format: 'bar', Value: '1', Low: '-5', High: '5'},
  ]);
  const line = object(script.page, 's').locator('.line');
  const before = await line.getAttribute('d');
  for (const Value of numbers) {
    for (const name of ['s', 'b']) script.update(name, {Value});
    await expect(valueOf(script.page, 'b')).toHaveText(Value);
    await expect(line).toHaveAttribute('d', before!);
    await expect(object(script.page, 'b').locator('.fill')).toHaveCSS('transform', 'matrix(0, 0, 0, 1, 0, 0)');
  }
  await script.end();
});

test('a value that turns the direction of writing does not turn its unit', async ({browser}) => {
  const script = await Script.show(browser, [{...label, Value: '\u202e123', Unit: 'kW'}]);
  const [first, last] = await part(object(script.page, 'l'), 'unit').evaluate((unit) => {
    return [0, 1].map((at) => {
      const letter = document.createRange();
      letter.setStart(unit.firstChild!, at);
      letter.setEnd(unit.firstChild!, at + 1);
      return letter.getBoundingClientRect().left;
    });
  });
  expect(first).toBeLessThan(last!);
  await script.end();
});

test('of sessions that a host names one after the other a page holds the last', async ({browser}) => {
  const script = await Script.show(browser, [label]);
  for (let i = 0; i < 200; ++i) {
    script.command({Command: 'OPEN', SessionId: `s${i}`, DialogName: ''});
    if (i % 5 === 0) await pause(10);
  }
  const held = () => script.page.evaluate(async () => (await navigator.locks.query()).held!.map(({name}) => name));
  await expect.poll(held).toEqual(['dorn.session.s199']);
  await script.end();
});
