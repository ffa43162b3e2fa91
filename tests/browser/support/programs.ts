// The real programs behind a page, each at a port that the system chooses: hosts and the gateway.
import {spawn, type ChildProcess} from 'node:child_process';
import {existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join, resolve} from 'node:path';

import {patiently} from './patience';

export const build = resolve(process.env.DORN_BUILD ?? '../../build/dev');
export const sources = resolve('../..');

const startMs = patiently(20_000);

export const pause = (ms: number) => new Promise<void>((done) => setTimeout(done, ms));

// Until `asked` gives something, which is the result.
export async function until<T>(what: string, asked: () => T | undefined, ms = startMs): Promise<T> {
  for (const end = Date.now() + ms; ; ) {
    const found = asked();
    if (found !== undefined) return found;
    if (Date.now() > end) throw new Error(`${what}: not within ${ms} ms`);
    await pause(10);
  }
}

// A program that runs until it is stopped, with what it has printed.
class Program {
  output = '';
  private readonly process: ChildProcess;
  private readonly ended: Promise<void>;

  constructor(file: string, args: string[], environment: Record<string, string>) {
    if (!existsSync(file)) throw new Error(`${file} is missing: build it, or set DORN_BUILD`);
    this.process = spawn(file, args, {env: {...process.env, ...environment}});
    this.process.stdout!.on('data', (bytes: Buffer) => this.keep(bytes));
    this.process.stderr!.on('data', (bytes: Buffer) => this.keep(bytes));
    this.ended = new Promise((done) => this.process.once('close', () => done()));
  }

  // Hosts print every message; only the last of it is of interest.
  private keep(bytes: Buffer) {
    this.output = (this.output + bytes.toString()).slice(-200_000);
  }

  get isRunning() {
    return this.process.exitCode === null && this.process.signalCode === null;
  }

  signal(name: NodeJS.Signals) {
    this.process.kill(name);
  }

  async stop(name: NodeJS.Signals = 'SIGTERM') {
    if (!this.isRunning) return;
    this.signal(name);
    this.signal('SIGCONT');
    const tooLong = setTimeout(() => this.signal('SIGKILL'), patiently(5_000));
    await this.ended;
    clearTimeout(tooLong);
  }
}

// A dialog server: one of the examples.
export class Host {
  port = 0;
  private program!: Program;
  private readonly folder = mkdtempSync(join(tmpdir(), 'dorn-browser-'));
  private readonly clock = join(this.folder, 'clock');

  private constructor(private readonly name: string, private readonly movesClock: boolean) {}

  static async start(name: 'gallery' | 'pumphouse' | 'smallest', options = {movesClock: false}) {
    const host = new Host(name, options.movesClock);
    await host.begin();
    return host;
  }

  // Starts anew after stop() or kill(), at the port where it was.
  async begin() {
    const address = join(this.folder, 'address');
    rmSync(address, {force: true});
    writeFileSync(this.clock, Buffer.alloc(8));
    const environment: Record<string, string> = {
      DORN_STATION: `127.0.0.1:${this.port}`,
      DORN_STATION_FILE: address,
    };
    if (this.movesClock) {
      environment.LD_PRELOAD = join(build, 'tests/browser/libmoved_clock.so');
      environment.DORN_MOVED_CLOCK = this.clock;
    }
    this.program = new Program(join(build, this.name, this.name), [], environment);
    this.port = await until(`${this.name} listens`, () => {
      if (!this.program.isRunning) throw new Error(`${this.name} ended: ${this.program.output}`);
      return existsSync(address) ? Number(readFileSync(address, 'utf8').split(':')[1]) || undefined : undefined;
    });
  }

  // Its clock is that much ahead from now on.
  moveClock(seconds: number) {
    const ahead = Buffer.alloc(8);
    ahead.writeBigInt64LE(BigInt(seconds));
    writeFileSync(this.clock, ahead, {flag: 'r+'});
  }

  get output() {
    return this.program.output;
  }
  kill = () => this.program.stop('SIGKILL');
  freeze = () => this.program.signal('SIGSTOP');
  thaw = () => this.program.signal('SIGCONT');

  async stop() {
    await this.program.stop();
    rmSync(this.folder, {recursive: true, force: true});
  }
}

// The gateway in front of a host, or of a line to one.
export class Gateway {
  address = '';
  private program!: Program;

  private constructor(private readonly hostPort: number, private readonly options: string[]) {}

  static async start(hostPort: number, ...options: string[]) {
    const gateway = new Gateway(hostPort, options);
    await gateway.begin('127.0.0.1:0');
    return gateway;
  }

  private async begin(listen: string) {
    const args = ['--listen', listen, '--host', `127.0.0.1:${this.hostPort}`, ...this.options];
    if (process.env.DORN_PAGE) args.push('--page', process.env.DORN_PAGE);
    this.program = new Program(join(build, 'bin/dorn-gateway'), args, {});
    this.address = await until('the gateway listens', () => {
      if (!this.program.isRunning) throw new Error(`dorn-gateway ended: ${this.program.output}`);
      return /listening on (\S+)/.exec(this.program.output)?.[1];
    });
  }

  // Starts anew after stop(), at the address where it was.
  async again() {
    await this.begin(new URL(this.address).host);
  }

  get output() {
    return this.program.output;
  }
  stop = () => this.program.stop();
  kill = () => this.program.stop('SIGKILL');
}
