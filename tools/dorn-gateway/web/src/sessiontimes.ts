// How long a session waits for what, in milliseconds.

export const kConnectLimit = 10_000; // From the wish for a line to the gateway.
export const kHostLimit = 12_000; // From there to the host, which the gateway gives 10 s.
export const kLogInLimit = 75_000; // From there to the first OPEN: guessing is slowed down.
export const kAnswerLimit = 5_000; // A fence that is not answered by then is a sign.
export const kLocalLimit = 5_000; // For the gateway's own file of a dialog.
export const kHeartbeat = 20_000; // Between two fences while somebody looks.
export const kRefetch = 600_000; // Between two entries into the same dialog.
export const kEnterAgain = 200; // Until what the host did not send is fetched.
export const kEnterAgainRest = 1_500; // Between two of these.
export const kAssumedInterval = 600_000; // Of a session whose length was not told.
const kPauses = [500, 1000, 2000, 3000];

/** The time before each attempt to come back, a fifth more or less. */
export const pauseBefore = (attempt: number, random: number): number =>
  (kPauses[attempt] ?? 3000) * (0.8 + 0.4 * random);
