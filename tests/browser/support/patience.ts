// How long scenes wait for what must happen. Only what is wrong waits so long.
const scale = Number(process.env.DORN_TEST_TIMEOUT_SCALE) || 1;

// Longer on a machine that is known to be slow.
export const patiently = (ms: number) => ms * scale;
