// A station without a screen, to ask the host itself what it holds and to change it from elsewhere.
import {connect, type Socket} from 'node:net';

import {until} from './programs';

type Json = {[key: string]: unknown};
export type Tree = {Name?: string; Objects?: Tree[]; [key: string]: unknown};

export class Station {
  readonly texts: string[] = [];
  private bytes = Buffer.alloc(0);
  private payload?: {file: string; length: number};
  private readonly files = new Map<string, string>();

  private constructor(private readonly socket: Socket) {
    socket.setNoDelay(true);
    socket.on('data', (more) => {
      this.bytes = Buffer.concat([this.bytes, more]);
      while (this.take());
    });
    socket.on('error', () => socket.destroy());
  }

  static async logIn(port: number, id: string, pass: string) {
    const socket = connect(port, '127.0.0.1');
    await new Promise<void>((done, failed) => socket.once('connect', done).once('error', failed));
    const station = new Station(socket);
    station.send({Command: 'HELLO', Id: id, Pass: pass});
    await station.receives(/"OPEN"/);
    return station;
  }

  // One text or one payload off the front; false when neither is complete.
  private take(): boolean {
    if (this.payload) {
      const {file, length} = this.payload;
      if (this.bytes.length < length) return false;
      this.files.set(file, this.bytes.subarray(0, length).toString());
      this.bytes = this.bytes.subarray(length);
      this.payload = undefined;
      return true;
    }
    const end = this.bytes.indexOf(3);
    if (end < 0) return false;
    const text = this.bytes.subarray(1, end).toString();
    this.bytes = this.bytes.subarray(end + 1);
    this.texts.push(text);
    const announced = /"PUTFILE".*"File":"([^"]*)".*"Length":(\d+)/.exec(text);
    if (announced) this.payload = {file: announced[1]!, length: Number(announced[2])};
    return true;
  }

  send(command: Json) {
    this.socket.write(`\x02${JSON.stringify(command)}\x03`);
  }

  async receives(pattern: RegExp) {
    return until(`${pattern} is received`, () => this.texts.find((text) => pattern.test(text)));
  }

  enter(dialog: string) {
    this.send({Command: 'CHANGE', DialogName: dialog});
  }

  // Sends what a screen would send of a change.
  act(name: string, attributes: Json = {}, type = 'CHANGE') {
    this.send({Command: 'CONDITION', ActionName: name, ActionType: type, Objects: [{Name: name, ...attributes}]});
  }
  click = (name: string) => this.act(name, {}, 'CLICK');

  // The tree as the host has it now.
  async tree(dialog: string): Promise<Tree> {
    const file = `${dialog}.json`;
    this.files.delete(file);
    this.send({Command: 'GETFILE', File: file});
    const text = await until(`${file} comes`, () => this.files.get(file));
    const tree = JSON.parse(text) as Tree;
    return (tree.Commands as Tree[] | undefined)?.[0] ?? tree;
  }

  async object(dialog: string, name: string): Promise<Tree> {
    const found = find(await this.tree(dialog), name);
    if (!found) throw new Error(`the host has no ${name}`);
    return found;
  }

  close() {
    this.socket.destroy();
  }
}

function find(tree: Tree, name: string): Tree | undefined {
  if (tree.Name === name) return tree;
  for (const child of tree.Objects ?? []) {
    const found = find(child, name);
    if (found) return found;
  }
  return undefined;
}
