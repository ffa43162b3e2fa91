// How the scenes run: Debian's Chromium without a window, two at a time. DORN_BUILD names the build
// folder with the programs; DORN_ONLY, "@soak" or "@picture", asks for what does not run every time;
// DORN_TEST_TIMEOUT_SCALE how patient all are.
import {defineConfig} from '@playwright/test';

import {patiently} from './support/patience';

const build = process.env.DORN_BUILD ?? '../../build/dev';
const only = process.env.DORN_ONLY;
const isSoak = only === '@soak';

export default defineConfig({
  testDir: 'scenes',
  outputDir: `${build}/browser/failed`,
  workers: isSoak ? 1 : 2,
  fullyParallel: true,
  forbidOnly: true,
  grep: only ? new RegExp(only) : undefined,
  grepInvert: only ? undefined : /@soak|@picture/,
  timeout: patiently(isSoak ? 900_000 : 60_000),
  globalTimeout: patiently(isSoak ? 3_600_000 : 1_200_000),
  // On a machine that is busy with something else. What passes only then is listed as flaky.
  retries: 2,
  expect: {timeout: patiently(10_000)},
  reporter: [['list', {printSteps: false}]],
  use: {
    browserName: 'chromium',
    viewport: {width: 1280, height: 900},
    locale: 'en-GB',
    timezoneId: 'UTC',
    actionTimeout: patiently(10_000),
    launchOptions: {
      executablePath: process.env.DORN_CHROMIUM ?? '/usr/bin/chromium',
      args: ['--no-sandbox', '--disable-dev-shm-usage'],
    },
  },
});
