// A line between gateway and host that takes its time: what comes in leaves in order, each piece 15
// to 60 ms later, and cut anew. It can be silenced and broken.
import {connect, createServer, type AddressInfo, type Server, type Socket} from 'node:net';

// Numbers that look random and are the same for the same seed.
export class Random {
  constructor(private state: number) {}
  next() {
    this.state = (Math.imul(this.state, 1664525) + 1013904223) >>> 0;
    return this.state / 2 ** 32;
  }
  between(low: number, high: number) {
    return low + Math.floor(this.next() * (high - low + 1));
  }
}

export class Line {
  port = 0;
  isSilent = false;  // Nothing gets through, and nobody is told.
  private readonly server: Server;
  private readonly sockets = new Set<Socket>();

  private constructor(hostPort: number, private readonly random: Random, private readonly delays: [number, number]) {
    this.server = createServer((near) => {
      const far = connect(hostPort, '127.0.0.1');
      this.join(near, far);
      this.join(far, near);
    });
  }

  static async start(hostPort: number, seed: number, delays: [number, number] = [15, 60]) {
    const line = new Line(hostPort, new Random(seed), delays);
    await new Promise<void>((done) => line.server.listen(0, '127.0.0.1', done));
    line.port = (line.server.address() as AddressInfo).port;
    return line;
  }

  private join(from: Socket, to: Socket) {
    let free = 0;  // When the last piece has left.
    // Timers of one instant fire in any order: each takes what is first, not what it was set for.
    const queue: (() => void)[] = [];
    this.sockets.add(from);
    from.setNoDelay(true);
    const later = (act: () => void) => {
      free = Math.max(free, Date.now() + this.random.between(...this.delays));
      queue.push(act);
      setTimeout(() => queue.shift()!(), free - Date.now());
    };
    from.on('data', (bytes) => {
      for (let at = 0; at < bytes.length; ) {
        const piece = bytes.subarray(at, at + this.random.between(1, Math.max(1, bytes.length)));
        at += piece.length;
        later(() => {
          if (!this.isSilent && !to.destroyed) to.write(piece);
        });
      }
    });
    from.on('error', () => from.destroy());
    from.on('close', () => {
      this.sockets.delete(from);
      later(() => to.destroy());
    });
  }

  // Breaks every connection that there is now.
  cut() {
    for (const socket of this.sockets) socket.resetAndDestroy();
  }

  async stop() {
    this.cut();
    await new Promise<void>((done) => this.server.close(() => done()));
  }
}
