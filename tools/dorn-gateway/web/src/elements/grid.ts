// GRID: a table, or the list of alarms with a button for each that nobody has acknowledged.

import { make, makeButton, setAttribute, setText } from "../dom";
import type { Item } from "../screen";
import type { Table, TableRow } from "../table";
import { ObjectElement } from "./object";

const kNumber = /^[-+]?\d[\d.,]*$/;
// What can be laid out without anybody waiting for it.
const kMostColumns = 200;
const kMostCells = 30_000;

/** As much of a table as is shown: whole rows. */
function partOf(table: Table): Table {
  const columns = table.columns.slice(0, kMostColumns);
  const rows = table.rows.slice(0, Math.floor(kMostCells / Math.max(1, columns.length)));
  return { ...table, columns, rows };
}

export class GridElement extends ObjectElement {
  private readonly table = make("table");
  private readonly head = make("tr");
  private readonly body = make("tbody");
  private readonly scroller = make("div", "scroller");
  private readonly columns = make("colgroup");
  private readonly rest = make("span", "hint");

  protected build(): void {
    const head = make("thead");
    head.append(this.head);
    this.table.append(this.columns, head, this.body);
    this.scroller.append(this.table);
    this.scroller.tabIndex = 0;
    this.scroller.setAttribute("role", "region");
    const title = this.makeCaption();
    title.classList.add("title");
    title.setAttribute("role", "heading");
    title.setAttribute("aria-level", String(Math.min(6, this.level + 2)));
    this.append(title, this.scroller);
  }

  protected patch(item: Item, old: Item | undefined): void {
    const { table } = item;
    if (!table) return;
    if (old?.caption !== item.caption) {
      setAttribute(this.table, "aria-label", item.caption);
      setAttribute(this.scroller, "aria-label", item.caption);
    }
    this.classList.toggle("alarms", table.isAlarms);
    const shown = partOf(table);
    this.showColumns(shown);
    const rows = [...this.body.rows];
    for (const row of rows.splice(shown.rows.length)) row.remove();
    shown.rows.forEach((row, i) => this.showRow(rows[i] ?? this.addRow(rows), row, shown));
    this.alignColumns(shown, rows);
    this.showRest(table, shown);
  }

  /** Numbers stand on the right, with their title, where a column holds nothing else. */
  private alignColumns(table: Table, rows: readonly HTMLTableRowElement[]): void {
    const isNumeric = table.columns.map((_, i) => {
      const texts = table.rows.map((row) => row.cells[i] ?? "").filter((text) => text !== "");
      return texts.length > 0 && texts.every((text) => kNumber.test(text));
    });
    for (const row of [this.head, ...rows]) {
      let i = 0;
      for (const cell of row.children) cell.classList.toggle("number", isNumeric[i++]);
    }
  }

  /** Nobody takes a part for the whole. */
  private showRest(table: Table, shown: Table): void {
    const [rows, allRows] = [shown.rows.length, table.rows.length];
    const [columns, allColumns] = [shown.columns.length, table.columns.length];
    if (rows === allRows && columns === allColumns) return this.rest.remove();
    const { tablePart } = this.page.texts;
    setText(this.rest, tablePart(`${rows} / ${allRows}`, `${columns} / ${allColumns}`));
    if (!this.rest.parentNode) this.append(this.rest);
  }

  override showOperable(): void {
    const value = this.page.isOperable ? null : "true";
    for (const button of this.body.querySelectorAll("button")) {
      setAttribute(button, "aria-disabled", value);
    }
  }

  private showColumns(table: Table): void {
    const cells = [...this.head.cells];
    const columns = [...this.columns.children] as HTMLElement[];
    for (const extra of cells.splice(table.columns.length)) extra.remove();
    for (const extra of columns.splice(table.columns.length)) extra.remove();
    table.columns.forEach((title, i) => {
      setText(cells[i] ?? this.addTitle(), title);
      const width = Number.parseFloat(table.widths[i] ?? "");
      (columns[i] ?? this.addColumn()).style.width = width > 0 ? `${width}ch` : "";
    });
  }

  private addTitle(): HTMLElement {
    const cell = make("th");
    cell.scope = "col";
    this.head.append(cell);
    return cell;
  }

  private addColumn(): HTMLElement {
    const column = make("col");
    this.columns.append(column);
    return column;
  }

  private addRow(rows: HTMLTableRowElement[]): HTMLTableRowElement {
    const row = make("tr");
    this.body.append(row);
    rows.push(row);
    return row;
  }

  private showRow(element: HTMLTableRowElement, row: TableRow, table: Table): void {
    const cells = [...element.children] as HTMLTableCellElement[];
    for (const extra of cells.splice(table.columns.length)) extra.remove();
    while (cells.length < table.columns.length) {
      const cell = make("td");
      element.append(cell);
      cells.push(cell);
    }
    setAttribute(element, "data-state", table.isAlarms ? row.state : null);
    element.classList.toggle("open", row.needsAck && row.state !== "NORMAL");
    cells.forEach((cell, i) => {
      if (i === table.ackColumn && row.needsAck) this.showAck(cell, row);
      else this.showCell(cell, row.cells[i] ?? "", i === table.stateColumn ? row : null);
    });
  }

  private showCell(cell: HTMLTableCellElement, text: string, state: TableRow | null): void {
    const word = state ? this.page.texts.states[state.state] : "";
    setText(cell, word === "" ? text : word);
    cell.classList.toggle("state", state !== null);
  }

  private showAck(cell: HTMLTableCellElement, row: TableRow): void {
    let button = cell.firstElementChild;
    if (!(button instanceof HTMLButtonElement)) {
      const made = makeButton("ack", "", () => this.acknowledge(made.dataset["row"] ?? ""));
      cell.replaceChildren(made);
      button = made;
    }
    const { ack } = this.page.texts;
    setText(button, ack);
    setAttribute(button, "data-row", row.key);
    setAttribute(button, "aria-label", `${ack}: ${row.text || row.key}`);
    setAttribute(button, "disabled", this.item.isEnabled && !this.item.isReadOnly ? null : "");
    setAttribute(button, "aria-disabled", this.page.isOperable ? null : "true");
  }

  /** Also for the bar of alarms. */
  acknowledge(row: string): void {
    if (this.mayTouch) this.act({ Row: row });
  }
}
