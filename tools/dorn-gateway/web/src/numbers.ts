// Decimal numbers as screens write them and users type them: exact, without floating point.

/** digits / 10^decimals. */
export interface Decimal {
  readonly digits: bigint;
  readonly decimals: number;
}

const kMostDigits = 15;
const powerOfTen = (exponent: number): bigint => 10n ** BigInt(exponent);

/** Full-width digits, points and signs, as Japanese input methods write them. */
function narrowed(text: string): string {
  return text.replace(/[\uFF0B-\uFF19]/g, (c) => String.fromCharCode(c.charCodeAt(0) - 0xfee0));
}

/**
 * A sign, digits and perhaps a point with digits, with space around it; full-width digits count as
 * well. Null for all else, and for numbers of more than 15 digits.
 */
export function readDecimal(text: string): Decimal | null {
  const match = /^[ \t\r\n]*([+-]?)(\d+)(?:\.(\d+))?[ \t\r\n]*$/.exec(narrowed(text));
  if (!match) return null;
  const fraction = match[3] ?? "";
  const digits = (match[2] ?? "") + fraction;
  if (digits.length > kMostDigits) return null;
  const value = BigInt(digits);
  return { digits: match[1] === "-" ? -value : value, decimals: fraction.length };
}

/** As near as floating point comes to it, to draw it. */
export function numberOf(text: string): number | null {
  const number = readDecimal(text);
  return number && Number(number.digits) / 10 ** number.decimals;
}

/** Half away from zero. */
function roundedQuotient(dividend: bigint, divisor: bigint): bigint {
  const size = dividend < 0n ? -dividend : dividend;
  const quotient = (2n * size + divisor) / (2n * divisor);
  return dividend < 0n ? -quotient : quotient;
}

function withPoint(number: bigint, decimals: number): string {
  const digits = String(number < 0n ? -number : number).padStart(decimals + 1, "0");
  const sign = number < 0n ? "-" : "";
  if (decimals === 0) return sign + digits;
  return `${sign}${digits.slice(0, -decimals)}.${digits.slice(-decimals)}`;
}

/** `number` / `scale` with so many decimals, rounded half away from zero; never "-0". */
export function writtenDecimal(number: Decimal, scale: number, decimals: number): string {
  const dividend = number.digits * powerOfTen(decimals);
  return withPoint(
    roundedQuotient(dividend, powerOfTen(number.decimals) * BigInt(scale)),
    decimals,
  );
}

/** `number` * `scale`, rounded to so many decimals in the same way. */
export function multipliedDecimal(number: Decimal, scale: number, decimals: number): string {
  const dividend = number.digits * BigInt(scale) * powerOfTen(decimals);
  return withPoint(roundedQuotient(dividend, powerOfTen(number.decimals)), decimals);
}

/** Negative, 0 or positive. */
export function compare(number: Decimal, limit: number): number {
  const scaled = BigInt(limit) * powerOfTen(number.decimals);
  return number.digits < scaled ? -1 : number.digits > scaled ? 1 : 0;
}

/** The decimals that a scale shows without a format: 1 for 10, 2 for 100. */
export function decimalsOfScale(scale: number): number {
  let decimals = 0;
  for (let power = 1; power < scale && decimals < 9; power *= 10) ++decimals;
  return decimals;
}
