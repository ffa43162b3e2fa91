// A page whose gateway and host are the scene itself: for what no example does, or not in that order.
import {readFileSync} from 'node:fs';
import {join} from 'node:path';

import {build, until} from './programs';
import {expect, freshPage, main, object, typeLogIn, type Page} from './test';

import type {Browser, WebSocketRoute} from '@playwright/test';

type Json = {[key: string]: unknown};
export type Command = {Command: string; File?: string; Objects?: Json[]; Commands?: Command[]; [key: string]: unknown};

const address = 'http://localhost:1';
const files: Record<string, [string, string]> = {
  '/': ['index.html', 'text/html'],
  '/app.js': ['app.js', 'text/javascript'],
  '/app.css': ['app.css', 'text/css'],
  '/icon.svg': ['icon.svg', 'image/svg+xml'],
};

export class Script {
  readonly sent: Command[] = [];  // By the page, one by one.
  readonly missing = new Set<string>();  // Files that are asked for and not answered yet.
  isSilent = false;  // Fences and trees are not answered.
  private line!: WebSocketRoute;
  private readonly errors: Error[] = [];

  private constructor(readonly page: Page, public objects: Json[]) {}

  // Logged in, with these objects as the dialog "d".
  static async show(browser: Browser, objects: Json[], prepare: (page: Page) => Promise<unknown> = async () => {}) {
    const page = await freshPage(browser, {});
    const script = new Script(page, objects);
    page.on('pageerror', (error) => script.errors.push(error));
    await prepare(page);
    await page.route(`${address}/**`, (route) => {
      const [file, contentType] = files[new URL(route.request().url()).pathname] ?? [];
      if (!file) return route.fulfill({status: 404});
      return route.fulfill({contentType, body: readFileSync(join(build, 'tools/dorn-gateway/web', file))});
    });
    await page.routeWebSocket(/\/station$/, (line) => script.serve(line));
    await page.goto(address);
    await typeLogIn(page, {name: 'u', password: 'p'});
    await expect(object(page, String(objects[0]!.Name))).toBeAttached();
    await expect(main(page)).not.toHaveAttribute('data-stale');
    return script;
  }

  private serve(line: WebSocketRoute) {
    this.line = line;
    this.tell({t: 'hello', menu: [], local: false});
    line.onMessage((text) => {
      const read = JSON.parse(String(text)) as Command;
      for (const command of read.Commands ?? [read]) this.receive(command);
    });
  }

  private receive(command: Command) {
    this.sent.push(command);
    if (this.isSilent) return;
    if (command.Command === 'HELLO') {
      this.tell({t: 'up'});
      this.command({Command: 'OPEN', DialogName: 'd', SessionId: 's'});
    }
    if (command.Command !== 'GETFILE') return;
    const head = {Command: 'PUTFILE', File: command.File};
    if (command.File === 'd.json') this.tell({t: 'file', head, live: true, tree: {Name: 'd', Objects: this.objects}});
    else if (command.File!.startsWith('?')) this.command({...head, Status: 'ERROR'});
    else this.missing.add(command.File!);
  }

  tell(frame: Json) {
    this.line.send(JSON.stringify(frame));
  }
  command(c: Json) {
    this.tell({t: 'cmd', c});
  }
  update(name: string, attributes: Json) {
    this.command({Command: 'UPDATE', Objects: [{Name: name, ...attributes}]});
  }

  // Answers the question for a file, once it has come.
  async file(name: string, bytes: Buffer | null, date = '2026-01-02 03:04:05') {
    await until(`${name} is asked for`, () => this.missing.delete(name) || undefined);
    const head = {Command: 'PUTFILE', File: name, Date: date};
    this.tell({t: 'file', head, live: false, bytes: bytes?.length ?? 0, missing: bytes === null});
    if (bytes) this.line.send(bytes);
  }

  // What was set so far of an object, in order.
  setOf(name: string): Json[] {
    return this.sent
      .filter((each) => each.Command === 'CONDITION' && each['ActionName'] === name)
      .map((each) => each.Objects![0]!);
  }

  // The line breaks; the page will try again.
  async cut() {
    await this.line.close();
  }

  async end() {
    await this.page.context().close();
    expect(this.errors, 'errors of the page').toEqual([]);
  }
}
