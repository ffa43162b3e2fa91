// Two pages that change one object at the same time, through lines that delay: both end with what
// the host holds. DORN_ROUNDS says how often.
import {Gateway} from '../support/programs';
import {Line, Random} from '../support/line';
import {expect, object, test, type Page} from '../support/test';
import type {Station} from '../support/station';

const isSoak = process.env.DORN_ONLY === '@soak';
const rounds = Number(process.env.DORN_ROUNDS ?? (isSoak ? 200 : 12));
const seed = Number(process.env.DORN_SEED ?? 1);

type Two = {pages: [Page, Page]; station: Station; random: Random};

async function settle({pages}: Two, name: string) {
  for (const page of pages) {
    await expect(object(page, name)).not.toHaveAttribute('aria-busy', 'true');
  }
}

const edit = (page: Page) => page.getByRole('textbox', {name: 'Your name', exact: true});

// Both type within a few milliseconds of each other.
async function texts(two: Two, round: number) {
  await Promise.all(two.pages.map(async (page, i) => {
    const text = `${round} of ${i ? 'B' : 'A'}`;
    await edit(page).fill(text);
    await page.waitForTimeout(two.random.between(0, 40));
    await edit(page).press('Enter');
  }));
  await settle(two, 'name');
  // What the other one has typed may still be on its way to a page that is done.
  await expect.poll(async () => {
    const held = String((await two.station.object('gallery', 'name')).Value);
    const shown = await Promise.all(two.pages.map((page) => edit(page).inputValue()));
    return shown.every((each) => each === held) ? 'equal' : `${shown.join(' | ')} | host: ${held}`;
  }, {message: `round ${round}, seed ${seed}`}).toBe('equal');
}

const lanes = ['Left', 'Middle', 'Right'];
const chosen = (page: Page) => page.getByRole('radiogroup', {name: 'Lane'}).locator('[role="radio"][aria-checked="true"]').allTextContents();

async function radios(two: Two, round: number) {
  await Promise.all(two.pages.map(async (page) => {
    const lane = lanes[two.random.between(0, 2)]!;
    await page.waitForTimeout(two.random.between(0, 40));
    await page.getByRole('radio', {name: lane, exact: true}).click();
  }));
  for (const name of ['lane_left', 'lane_middle', 'lane_right']) await settle(two, name);
  await expect.poll(async () => {
    const group = await two.station.object('gallery', 'lane');
    const held = group.Objects!.filter((each) => each.Attr === 'ON').map((each) => String(each.Text));
    const shown = await Promise.all(two.pages.map(chosen));
    return shown.every((each) => each.join() === held.join()) && held.length === 1
      ? 'equal' : `${shown.join(' | ')} | host: ${held.join()}`;
  }, {message: `round ${round}, seed ${seed}`}).toBe('equal');
}

for (const [what, act] of [['an edit', texts], ['a radio group', radios]] as const) {
  test(`two pages race on ${what}`, isSoak ? {tag: '@soak'} : {}, async ({host, open, station}) => {
    test.slow();
    const line = await Line.start(host.port, seed);
    const gateway = await Gateway.start(line.port);
    const pages = await Promise.all([open('gallery', undefined, gateway.address), open('gallery', undefined, gateway.address)]) as [Page, Page];
    const two = {pages, station, random: new Random(seed + 1)};
    for (let round = 1; round <= rounds; ++round) await act(two, round);
    await gateway.stop();
    await line.stop();
  });
}
