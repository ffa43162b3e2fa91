// What a host says with OPEN.

import { dialogOfFile } from "./commands";
import { JsonObject, memberList, memberText, textOf } from "./json";

export interface Opened {
  readonly dialog: string;
  readonly isFromStation: boolean; // The station may have the dialog's file itself.
  readonly intervalSeconds: number; // 0: not told.
  readonly language: string;
  readonly menu: readonly string[];
}

export const kNothingOpened: Opened = {
  dialog: "",
  isFromStation: false,
  intervalSeconds: 0,
  language: "",
  menu: [],
};

export function readOpened(command: JsonObject): Opened {
  const named = memberText(command, "DialogName");
  return {
    dialog: "DialogName" in command ? named : dialogOfFile(memberText(command, "File")),
    isFromStation: memberText(command, "FileSource") === "STATION",
    intervalSeconds: Math.max(0, Number.parseInt(memberText(command, "Interval"), 10) || 0),
    language: memberText(command, "Language"),
    menu: memberList(command, "Menu").map(textOf),
  };
}
