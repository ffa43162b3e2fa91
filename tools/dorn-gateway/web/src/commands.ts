// The commands that a page sends, as JSON; the gateway writes them as hosts read them.

import type { JsonObject } from "./json";
import type { SetObject } from "./replica";

/** One longer text closes the host's connection. */
export const kMaxSentText = 524286;

/** A fence: a file that no host has. The answer echoes its name, in order with everything else. */
export const fence = (number: number): JsonObject => getFile(`?f${number}`);

/** The number of an echoed name; null for any other file. */
export function fenceOf(file: string): number | null {
  return /^\?f\d{1,15}$/.test(file) ? Number(file.slice(2)) : null;
}

/** `date`, if not empty, is that of the page's copy. */
export function getFile(file: string, date = ""): JsonObject {
  const command: JsonObject = { Command: "GETFILE", File: file };
  if (date !== "") command["Date"] = date;
  return command;
}

export interface Station {
  readonly width: number;
  readonly height: number;
}

const stationMembers = (station: Station): JsonObject => {
  return { Type: "STATION", ResolutionH: station.width, ResolutionV: station.height };
};

export function hello(user: string, password: string, station: Station): JsonObject {
  return { Command: "HELLO", Id: user, Pass: password, ...stationMembers(station) };
}

/** Goes on with a session without asking for a dialog; OPEN names one. */
export function helloAgain(session: string, station: Station): JsonObject {
  return { Command: "HELLO", SessionId: session, ...stationMembers(station) };
}

export const keepalive = (): JsonObject => ({ Command: "KEEPALIVE" });

export const change = (dialog: string): JsonObject => ({ Command: "CHANGE", DialogName: dialog });

export function changeAgain(session: string, dialog: string): JsonObject {
  return { Command: "CHANGE", SessionId: session, DialogName: dialog };
}

export function condition(
  actionName: string,
  actionType: string,
  objects: readonly SetObject[],
): JsonObject {
  return {
    Command: "CONDITION",
    ActionName: actionName,
    ActionType: actionType,
    Objects: objects.map(({ name, attributes }) => ({ Name: name, ...attributes })),
  };
}

/** Several commands in one text, which a host executes in one piece. */
export const textOfAll = (commands: readonly JsonObject[]): string =>
  JSON.stringify(commands.length === 1 ? commands[0] : { Commands: commands });

/** The file that holds a dialog: "a@b" is "a/b.json". */
export const fileOfDialog = (dialog: string): string => `${dialog.replace(/@/g, "/")}.json`;

/** The dialog that a file holds: "a/b.json" is "a@b". */
export const dialogOfFile = (file: string): string =>
  file.replace(/\.json$/, "").replace(/\//g, "@");
