// How the scenes run: Debian's Chromium without a window, two at a time. DORN_BUILD names the build
// folder with the programs; DORN_SOAK runs what takes long instead.
import {defineConfig} from '@playwright/test';

const build = process.env.DORN_BUILD ?? '../../build/dev';
const isSoak = process.env.DORN_SOAK === '1';

export default defineConfig({
  testDir: 'scenes',
  outputDir: `${build}/browser/failed`,
  workers: isSoak ? 1 : 2,
  fullyParallel: true,
  forbidOnly: true,
  grep: isSoak ? /@soak/ : undefined,
  grepInvert: isSoak ? undefined : /@soak/,
  timeout: isSoak ? 900_000 : 60_000,
  globalTimeout: isSoak ? 3_600_000 : 480_000,
  expect: {timeout: 10_000},
  reporter: [['list', {printSteps: false}]],
  use: {
    browserName: 'chromium',
    viewport: {width: 1280, height: 900},
    locale: 'en-GB',
    timezoneId: 'UTC',
    actionTimeout: 10_000,
    launchOptions: {
      executablePath: process.env.DORN_CHROMIUM ?? '/usr/bin/chromium',
      args: ['--no-sandbox', '--disable-dev-shm-usage'],
    },
  },
});
