// A grid's table as it is displayed.

import { Json } from "./json";
import { isTable } from "./tree";
import { Condition, kConditions } from "./vocabulary";
import { textsOf, Words } from "./words";

export interface TableRow {
  readonly cells: readonly string[];
  readonly text: string; // The Text cell of an alarm.
  readonly key: string; // The cell of the RowKey column: names the row to the host.
  readonly state: Condition; // Of an alarm.
  readonly needsAck: boolean; // An alarm whose Ack cell is empty.
}

export interface Table {
  readonly columns: readonly string[]; // Titles as displayed, one for each column.
  readonly widths: readonly string[]; // As given; may be fewer.
  readonly rows: readonly TableRow[];
  readonly isAlarms: boolean;
  readonly stateColumn: number; // -1 without.
  readonly ackColumn: number;
}

/** A, B, ... Z, AA, AB, ... */
function letterOf(column: number): string {
  let letters = "";
  for (let left = column + 1; left > 0; left = Math.floor((left - 1) / 26)) {
    letters = String.fromCharCode(65 + ((left - 1) % 26)) + letters;
  }
  return letters;
}

function rowsOf(words: Words): Json[] {
  return [words.find("Rows"), words.find("Data")].find(isTable) ?? [];
}

export function conditionOf(word: string): Condition {
  return kConditions.find((each) => each === word) ?? "NORMAL";
}

/** Columns are found by their plain titles; those of a language are for display alone. */
export function makeTable(words: Words): Table {
  const isAlarms = words.text("Role") === "ALARMS";
  let titles = textsOf(words.find("Columns"));
  if (titles.length === 0 && isAlarms) titles = ["Time", "State", "Text", "Ack"];
  const columnOf = (title: string): number => (isAlarms ? titles.indexOf(title) : -1);
  const stateColumn = columnOf("State");
  const ackColumn = columnOf("Ack");
  const textColumn = columnOf("Text");
  const keyColumn = Math.max(0, titles.indexOf(words.text("RowKey")));
  const rows = rowsOf(words).map((json): TableRow => {
    const cells = textsOf(json);
    return {
      cells,
      text: cells[textColumn] ?? "",
      key: cells[keyColumn] ?? "",
      state: conditionOf(cells[stateColumn] ?? ""),
      needsAck: ackColumn >= 0 && (cells[ackColumn] ?? "") === "",
    };
  });
  const translated = textsOf(words.findInLanguage("Columns"));
  const columns = translated.concat(titles.slice(translated.length));
  const widest = rows.reduce((most, row) => Math.max(most, row.cells.length), titles.length);
  while (columns.length < widest) columns.push(letterOf(columns.length));
  return { columns, widths: textsOf(words.find("Widths")), rows, isAlarms, stateColumn, ackColumn };
}
