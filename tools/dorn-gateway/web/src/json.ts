// JSON data as the gateway sends it: strict, and every text readable.

export type Json = string | number | boolean | null | Json[] | JsonObject;
export interface JsonObject {
  [key: string]: Json;
}

export function isObject(json: Json | undefined): json is JsonObject {
  return typeof json === "object" && json !== null && !Array.isArray(json);
}

/** A string as it is, a number as it is written, "true" or "false"; empty for all else. */
export function textOf(json: Json | undefined): string {
  if (typeof json === "string") return json;
  return typeof json === "number" || typeof json === "boolean" ? String(json) : "";
}

/** The text of a member that is its own. */
export function memberText(json: Json | undefined, key: string): string {
  return isObject(json) && Object.hasOwn(json, key) ? textOf(json[key]) : "";
}

export function memberList(json: Json | undefined, key: string): Json[] {
  const list = isObject(json) && Object.hasOwn(json, key) ? json[key] : undefined;
  return Array.isArray(list) ? list : [];
}
