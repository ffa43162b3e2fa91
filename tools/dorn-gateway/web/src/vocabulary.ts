// The words that dialogs are written in, as far as a page asks for them.

/** What an object is on a screen. */
export type Widget =
  | "label"
  | "button"
  | "edit"
  | "check"
  | "slider"
  | "list"
  | "combo"
  | "image"
  | "radio"
  | "group"
  | "grid";

interface TypeWord {
  readonly widget: Widget;
  readonly actionType: string; // What a touch of it is called; empty when it cannot be touched.
}

const kTypes: ReadonlyMap<string, TypeWord> = new Map<string, TypeWord>([
  ["LABEL", { widget: "label", actionType: "" }],
  ["BUTTON", { widget: "button", actionType: "CLICK" }],
  ["EDIT", { widget: "edit", actionType: "CHANGE" }],
  ["CHECK", { widget: "check", actionType: "CHANGE" }],
  ["SLIDER", { widget: "slider", actionType: "CHANGE" }],
  ["LIST", { widget: "list", actionType: "CHANGE" }],
  ["COMBO", { widget: "combo", actionType: "CHANGE" }],
  ["IMAGE", { widget: "image", actionType: "" }],
  ["RADIOBTN", { widget: "radio", actionType: "CLICK" }],
  ["GROUP", { widget: "group", actionType: "" }],
  ["GRID", { widget: "grid", actionType: "ACK" }],
]);

export const actionTypeOf = (type: string): string => kTypes.get(type)?.actionType ?? "";

/** An unknown type is a group when it has children, else a label. */
export function widgetOf(type: string, hasChildren: boolean): Widget {
  return kTypes.get(type)?.widget ?? (hasChildren ? "group" : "label");
}

export const kConditions = ["NORMAL", "INFO", "WARN", "ALARM", "BAD", "OFF"] as const;
export type Condition = (typeof kConditions)[number];

export const kColors = ["ink", "accent", "ok", "warn", "alarm"] as const;
export type Color = (typeof kColors)[number] | "none";

/** Attributes that may stand in several languages: "Label:ja" beside "Label". */
export const kLanguageWords = /^(?:Label|Text|Title|Hint|Unit|Confirm|Error|Columns|Options):(.+)$/;
