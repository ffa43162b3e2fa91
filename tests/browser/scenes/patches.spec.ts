// What updates do to objects that are shown already, in ways that none of the examples has.
import {expect, object, test as base} from '../support/test';
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
