// Values as they are shown, and as they are typed.

import { compare, Decimal, multipliedDecimal, readDecimal, writtenDecimal } from "./numbers";
import type { Item } from "./screen";

/** As much of an item as its value depends on. */
export type Formatting = Pick<Item, "format" | "decimals" | "scale">;

/** Why what was typed is not sent. */
export type Refusal = "noNumber" | "tooLow" | "tooHigh" | "tooLong" | "notSendable";

export type Typed =
  | { readonly value: string; readonly refused?: undefined }
  | { readonly value?: undefined; readonly refused: Refusal };

const twoDigits = (number: number): string => String(number).padStart(2, "0");

function timeText(seconds: number): string {
  const size = Math.abs(seconds);
  const clock = [Math.floor(size / 60) % 60, size % 60].map(twoDigits).join(":");
  return `${seconds < 0 ? "-" : ""}${Math.floor(size / 3600)}:${clock}`;
}

// What lies farther away is shown by years of the same calendar, those next to it.
const kFarthest = 8e12; // Seconds that a Date takes.
const kCycle = 146_097 * 86_400; // In seconds.
const kCycleYears = 400;

function cyclesBeyond(seconds: number): number {
  const beyond = Math.abs(seconds) - kFarthest;
  return beyond > 0 ? Math.sign(seconds) * (Math.trunc(beyond / kCycle) + 1) : 0;
}

function datetimeText(seconds: number): string {
  const cycles = cyclesBeyond(seconds);
  const date = new Date((seconds - cycles * kCycle) * 1000);
  const year = date.getFullYear() + cycles * kCycleYears;
  const day = [year, twoDigits(date.getMonth() + 1), twoDigits(date.getDate())];
  const time = [date.getHours(), date.getMinutes(), date.getSeconds()].map(twoDigits);
  return `${day.join("-")} ${time.join(":")}`;
}

/** Without a scale a text stays as it is, unless decimals were asked for. */
function numberText(item: Formatting, number: Decimal, raw: string): string {
  const asIs = item.format !== "number" && item.scale === 1;
  return asIs ? raw : writtenDecimal(number, item.scale, item.decimals);
}

/** The Value of an object as its Format, Scale and decimals ask; `raw` where it is no number. */
export function formattedValue(item: Formatting, raw: string): string {
  if (item.format === "password") return "\u2022".repeat([...raw].length);
  if (item.format === "text" || item.format === "lines") return raw;
  const number = readDecimal(raw);
  if (!number) return raw;
  if (item.format === "time") return timeText(Number(writtenDecimal(number, item.scale, 0)));
  if (item.format !== "datetime") return numberText(item, number, raw);
  return datetimeText(Number(writtenDecimal(number, item.scale, 0)));
}

/** The bytes that frame texts, and the one that ends a text for the host. */
export const isSendable = (text: string): boolean => !/[\x00\x02\x03]/.test(text);

function checkNumber(edit: Item, typed: string): Typed {
  const number = readDecimal(typed);
  if (!number) return { refused: "noNumber" };
  // The host gets integers where there is a scale, else what the format can show.
  const shown = edit.format === "number" ? edit.decimals : number.decimals;
  const value = multipliedDecimal(number, edit.scale, edit.scale > 1 ? 0 : shown);
  const sent = readDecimal(value);
  if (!sent) return { refused: "noNumber" };
  if (edit.min !== undefined && compare(sent, edit.min) < 0) return { refused: "tooLow" };
  if (edit.max !== undefined && compare(sent, edit.max) > 0) return { refused: "tooHigh" };
  return { value };
}

/** What is sent of something that was typed, or why it is not. */
export function checkTyped(edit: Item, typed: string): Typed {
  if (!isSendable(typed)) return { refused: "notSendable" };
  if (edit.isNumeric) return checkNumber(edit, typed);
  if (edit.maxLength > 0 && [...typed].length > edit.maxLength) return { refused: "tooLong" };
  return { value: typed };
}
