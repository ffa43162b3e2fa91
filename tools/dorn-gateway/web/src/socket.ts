// The WebSocket to the gateway: one for each line that the session asks for.

export interface SocketEvents {
  connected(line: number): void;
  receivedText(line: number, text: string): void;
  receivedBytes(line: number, bytes: ArrayBuffer): void;
  closed(line: number): void;
}

export class Socket {
  private socket: WebSocket | null = null;
  private line = 0;

  constructor(
    private readonly url: string,
    private readonly events: SocketEvents,
  ) {}

  /** Opens a new one for another line than before; none for 0. */
  follow(line: number): void {
    if (line === this.line) return;
    this.line = line;
    this.socket?.close();
    this.socket = line === 0 ? null : this.open(line);
  }

  send(text: string): void {
    this.socket?.send(text);
  }

  private open(line: number): WebSocket {
    const socket = new WebSocket(this.url, "dorn.1");
    socket.binaryType = "arraybuffer";
    socket.onopen = () => this.events.connected(line);
    socket.onclose = () => this.events.closed(line);
    socket.onmessage = ({ data }) => {
      if (typeof data === "string") this.events.receivedText(line, data);
      else this.events.receivedBytes(line, data as ArrayBuffer);
    };
    return socket;
  }
}
