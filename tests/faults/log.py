"""The log of a site, read from its brokers and counted here by the rules that hosts go by, written down a second time: what of
it must have been applied, and in which order."""
import base64, json, socket, struct


class Broker:
    """One connection to a broker, as a client that asks and waits."""

    def __init__(self, address, user, password, patience=3.0):
        self.line = socket.create_connection((address, 4222), timeout=patience)
        self.held = b""
        self.read_line()  # INFO
        words = {"verbose": False, "pedantic": False, "user": user, "pass": password, "name": "checker", "lang": "python",
                 "version": "1", "protocol": 1}
        self.line.sendall(b"CONNECT " + json.dumps(words).encode() + b"\r\nSUB answers 1\r\nPING\r\n")
        while self.read_line() != b"PONG":
            pass

    def more(self):
        got = self.line.recv(65536)
        if not got:
            raise OSError("the broker has closed")
        self.held += got

    def read_line(self):
        while b"\r\n" not in self.held:
            self.more()
        line, _, self.held = self.held.partition(b"\r\n")
        if line.startswith(b"-ERR"):
            raise OSError(line.decode())
        return line

    def ask(self, subject, question):
        text = json.dumps(question).encode()
        self.line.sendall(b"PUB %s answers %d\r\n%s\r\n" % (subject.encode(), len(text), text))
        while True:
            line = self.read_line()
            if line == b"PING":
                self.line.sendall(b"PONG\r\n")
            if line.startswith(b"MSG "):
                size = int(line.split()[-1])
                while len(self.held) < size + 2:
                    self.more()
                text, self.held = self.held[:size], self.held[size + 2:]
                return json.loads(text)

    def close(self):
        self.line.close()


def read(addresses, user, password, stream):
    """All entries of the stream, in order, as (sequence, bytes). Any broker that answers will do; None if none does."""
    for address in addresses:
        broker = None
        try:
            broker = Broker(address, user, password)
            state = broker.ask("$JS.API.STREAM.INFO." + stream, {}).get("state")
            if state is None:
                continue
            entries = []
            for sequence in range(max(state["first_seq"], 1), state["last_seq"] + 1):
                message = broker.ask("$JS.API.STREAM.MSG.GET." + stream, {"seq": sequence}).get("message")
                if message:
                    entries.append((message["seq"], base64.b64decode(message.get("data", ""))))
            return entries
        except (OSError, ValueError):
            continue
        finally:
            if broker:
                broker.close()
    return None


class Bytes:
    def __init__(self, held):
        self.held, self.at = held, 0

    def take(self, layout):
        got = struct.unpack_from("<" + layout, self.held, self.at)
        self.at += struct.calcsize("<" + layout)
        return got[0]

    def text(self):
        return self.take("%ds" % self.take("I"))


def items_of(entry):
    for _ in range(entry.take("I")):
        kind = entry.take("B")
        if kind == 0:
            yield {"kind": "change", "dialog": entry.text(), "session": entry.take("Q"), "token": entry.take("Q"),
                   "time": entry.take("q"), "command": entry.text()}
        elif kind == 1:
            yield {"kind": "session", "sid": entry.take("32s"), "interval": entry.take("I"), "data": entry.text()}
        elif kind == 2:
            yield {"kind": "extend", "session": entry.take("Q")}
        else:
            raise ValueError("an item of the kind %d" % kind)


class Counted:
    """What counts of a log: `changes` in the order in which they are applied, `dropped` items, `takes` of keepers."""

    def __init__(self, entries):
        self.changes, self.dropped, self.takes = [], 0, 0
        self.token, self.is_begun, self.origins, self.batches = 0, False, {}, 0
        for sequence, held in entries:
            entry = Bytes(held)
            if entry.take("B") != 1:
                continue
            kind = entry.take("B")
            kinds = (self.batch, self.generation, self.take, None, None, self.manifest)
            if kind < len(kinds) and kinds[kind]:
                kinds[kind](sequence, entry)

    def batch(self, sequence, entry):
        self.batches += 1
        origin, generation, number = entry.take("16s"), entry.take("I"), entry.take("Q")
        for item in items_of(entry):
            known = self.origins.get(origin, (0, 0))
            if not self.is_begun or known != (generation, number - 1):
                self.dropped += 1
            else:
                self.origins[origin] = (generation, number)
                if item["kind"] == "change":
                    if item["token"] in (0, self.token):
                        self.changes.append(item)
                    else:
                        self.dropped += 1
            number += 1

    def generation(self, sequence, entry):
        origin, generation = entry.take("16s"), entry.take("I")
        if self.origins.get(origin, (0, 0))[0] < generation:
            self.origins[origin] = (generation, 0)

    def take(self, sequence, entry):
        entry.take("16s")  # Who takes.
        if entry.take("Q") == self.token:
            self.token = sequence
            self.takes += 1

    def manifest(self, sequence, entry):
        self.is_begun = self.is_begun or entry.take("Q") == self.token
