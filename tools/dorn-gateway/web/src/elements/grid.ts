// GRID: a table, or the list of alarms with a button for each that nobody has acknowledged.

import { make, makeButton, setAttribute, setText } from "../dom";
import type { Item } from "../screen";
import type { Table, TableRow } from "../table";
import { ObjectElement } from "./object";

const kNumber = /^[-+]?\d[\d.,]*$/;

export class GridElement extends ObjectElement {
  private readonly table = make("table");
  private readonly head = make("tr");
  private readonly body = make("tbody");
  private readonly scroller = make("div", "scroller");
  private columns = make("colgroup");

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
    this.showColumns(table);
    for (const [i, row] of table.rows.entries()) this.showRow(this.rowAt(i), row, table);
    while (this.body.rows.length > table.rows.length) this.body.deleteRow(-1);
    this.alignColumns(table);
  }

  /** Numbers stand on the right, with their title, where a column holds nothing else. */
  private alignColumns(table: Table): void {
    table.columns.forEach((_, i) => {
      const texts = table.rows.map((row) => row.cells[i] ?? "").filter((text) => text !== "");
      const isNumeric = texts.length > 0 && texts.every((text) => kNumber.test(text));
      for (const row of this.table.rows) row.cells[i]?.classList.toggle("number", isNumeric);
    });
  }

  override showOperable(): void {
    const value = this.page.isOperable ? null : "true";
    for (const button of this.body.querySelectorAll("button")) {
      setAttribute(button, "aria-disabled", value);
    }
  }

  private showColumns(table: Table): void {
    while (this.head.cells.length > table.columns.length) {
      this.head.deleteCell(-1);
      this.columns.lastElementChild?.remove();
    }
    while (this.head.cells.length < table.columns.length) {
      const cell = make("th");
      cell.scope = "col";
      this.head.append(cell);
      this.columns.append(make("col"));
    }
    table.columns.forEach((title, i) => {
      const cell = this.head.cells[i];
      if (cell) setText(cell, title);
      const column = this.columns.children[i] as HTMLElement | undefined;
      const width = Number.parseFloat(table.widths[i] ?? "");
      if (column) column.style.width = width > 0 ? `${width}ch` : "";
    });
  }

  private rowAt(index: number): HTMLTableRowElement {
    return this.body.rows[index] ?? this.body.insertRow();
  }

  private showRow(element: HTMLTableRowElement, row: TableRow, table: Table): void {
    while (element.cells.length > table.columns.length) element.deleteCell(-1);
    while (element.cells.length < table.columns.length) element.insertCell();
    setAttribute(element, "data-state", table.isAlarms ? row.state : null);
    element.classList.toggle("open", row.needsAck && row.state !== "NORMAL");
    table.columns.forEach((_, i) => {
      const cell = element.cells[i];
      if (!cell) return;
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
