#!/usr/bin/env python3
"""hostile.py HOST NATS-SERVER
Two hosts of a site with a real broker, and strangers who write into the log, over the snapshots and at a station's port:
whatever is no entry of this version is refused and counted, the stations go on, and hosts that start meanwhile come in."""
import base64, itertools, json, os, pathlib, random, re, select, signal, socket, subprocess, sys, tempfile, threading, time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from programs import fail, until  # noqa: E402

SITE = "hostile"
MODES = itertools.cycle(("mode_auto", "mode_manual"))  # The station has the second one at the beginning.
random.seed(20)


class Broker:
    """What a client without a library says to a broker."""

    def __init__(self, at):
        self.line = socket.create_connection(at)
        self.held = b""
        self.read_line()  # INFO
        words = {"verbose": False, "pedantic": False, "lang": "python", "version": "1", "protocol": 1}
        self.line.sendall(b"CONNECT " + json.dumps(words).encode() + b"\r\nSUB told 1\r\n")
        self.settle()

    def more(self):
        got = self.line.recv(65536)
        if not got:
            fail("the broker has closed: %r" % self.held)
        self.held += got

    def read_line(self):
        while b"\r\n" not in self.held:
            self.more()
        line, _, self.held = self.held.partition(b"\r\n")
        if line.startswith(b"-ERR"):
            fail("the broker says " + line.decode())
        return line

    def message(self):
        size = int(self.read_until(b"MSG ").split()[-1])
        while len(self.held) < size + 2:
            self.more()
        text, self.held = self.held[:size], self.held[size + 2:]
        return json.loads(text)

    def read_until(self, word):
        while not (line := self.read_line()).startswith(word):
            if line == b"PING":
                self.line.sendall(b"PONG\r\n")
        return line

    def publish(self, subject, payload, answer=b""):
        self.line.sendall(b"PUB %s %s %d\r\n" % (subject.encode(), answer, len(payload)) + payload + b"\r\n")

    def settle(self):
        self.line.sendall(b"PING\r\n")
        self.read_until(b"PONG")

    def ask(self, subject, **question):
        self.publish("$JS.API.STREAM." + subject, json.dumps(question).encode(), b"told")
        return self.message()

    def entries(self):
        """All that the log holds, as (subject, bytes)."""
        state = self.ask("INFO.DORN_" + SITE)["state"]
        numbers = range(state["first_seq"], state["last_seq"] + 1)
        got = (self.ask("MSG.GET.DORN_" + SITE, seq=number)["message"] for number in numbers)
        return [(each["subject"], base64.b64decode(each.get("data", ""))) for each in got]

    def pieces(self):
        """Of snapshots, by subject."""
        state = self.ask("INFO.DORN_%s_SNAP" % SITE, subjects_filter=">")["state"]
        got = (self.ask("MSG.GET.DORN_%s_SNAP" % SITE, last_by_subj=subject)["message"] for subject in state["subjects"])
        return {each["subject"]: base64.b64decode(each["data"]) for each in got}


class Host:
    def __init__(self, program, name, folder, broker):
        self.folder = folder / name
        self.folder.mkdir()
        told = self.folder / "port"
        self.output = self.folder / "log"
        environment = dict(os.environ, DORN_SITE=SITE, DORN_SITE_BROKERS="nats://%s:%d" % broker, DORN_STATION="127.0.0.1:0",
                           DORN_STATION_FILE=str(told), RUNTIME_DIRECTORY=str(self.folder), ASAN_OPTIONS="detect_leaks=0")
        with open(self.output, "wb") as out:
            self.process = subprocess.Popen([program], env=environment, stdout=out, stderr=subprocess.STDOUT)
        until(lambda: told.exists() and ":" in told.read_text(), "host %s to listen" % name)
        self.at = ("127.0.0.1", int(told.read_text().rsplit(":", 1)[1]))

    def status(self, name):
        if self.process.poll() is not None:
            fail("a host has ended with %d: %s" % (self.process.returncode, self.output.read_text()))
        told = b""
        with socket.socket(socket.AF_UNIX) as asking:
            asking.connect(str(self.folder / "statistics"))
            while got := asking.recv(65536):
                told += got
        found = re.search(r"^dorn_site_%s (-?\d+)$" % name, told.decode(), re.M)
        return int(found[1]) if found else 0

    def words(self):
        return [line for line in self.output.read_text().splitlines() if line.startswith("dorn-site: ")]

    def serves(self):
        # It opens the socket when it has its port.
        return (self.folder / "statistics").exists() and self.status("healthy") == 1

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        if self.process.wait() != 0:
            fail("a host ended with %d: %s" % (self.process.returncode, self.output.read_text()))


class Station:
    """A good one, in the panel."""

    def __init__(self, host, user, word):
        self.line = socket.create_connection(host.at)
        self.seen = ""
        self.send(Command="HELLO", Id=user, Pass=word)
        self.sees('"SessionId":"')
        self.send(Command="CHANGE", DialogName="panel")
        self.sees("mode_auto")

    def send(self, **command):
        self.line.sendall(b"\x02" + json.dumps(command).encode() + b"\x03")

    def sees(self, pattern):
        def look():
            if select.select([self.line], [], [], 0.05)[0]:
                got = self.line.recv(65536)
                if not got:
                    fail("a good station was disconnected")
                self.seen += got.decode()
            return re.search(pattern, self.seen)
        until(look, lambda: "%s at a station; it has seen %s" % (pattern, self.seen[-500:]))
        self.seen = ""

    def switch(self, other):
        """To the next mode, which the other station is to see."""
        mode = next(MODES)
        other.seen = ""
        self.send(Command="CONDITION", ActionName=mode, ActionType="CHANGE", Objects=[{"Name": mode, "Attr": "ON"}])
        other.sees(r'"Attr":"ON"[^}]*"Name":"%s"' % mode)


def garbage(genuine):
    """What is no entry of this version, from all that makes one."""
    yield b""
    for length in (1, 2, 7, 100, 5000):
        yield b"\x02" + random.randbytes(length)
    for kind in range(16):
        yield bytes([1, kind]) + b"\xff" * 100  # Counts and lengths beyond all that follows.
    yield bytes([1, 200])
    for _, entry in genuine[:12]:
        for version in (0, 2, 255):
            yield bytes([version]) + entry[1:]
        for end in {1, len(entry) // 2, len(entry) - 1}:
            yield entry[:end]
        yield entry + b"\x00"
    for _ in range(3):
        yield b"\x01" + b"\xff" * 1_000_000  # Almost as much as brokers take.


class Crowd:
    """Strangers at a station's port until it ends."""

    def __init__(self, at):
        self.at, self.ends = at, threading.Event()
        acts = (self.noise, self.endless, self.silent, self.guess)
        self.threads = [threading.Thread(target=self.live, args=(act,)) for act in acts]
        for each in self.threads:
            each.start()

    def live(self, act):
        while not self.ends.is_set():
            try:
                act()
            except OSError:
                pass
            self.ends.wait(0.02)

    def connect(self):
        return socket.create_connection(self.at, timeout=1)

    def noise(self):
        with self.connect() as line:
            line.sendall(b"\x02" + random.randbytes(3000) + b"\x03")

    def endless(self):
        with self.connect() as line:
            line.sendall(b"\x02" + b"x" * 600_000)

    def silent(self):
        lines = [self.connect() for _ in range(50)]
        self.ends.wait(0.3)
        for each in lines:
            each.close()

    def guess(self):
        with self.connect() as line:
            line.sendall(b'\x02{"Command":"HELLO","Id":"tanaka","Pass":"%d"}\x03' % random.randrange(1000))
            line.sendall(b'\x02{"Command":"CHANGE","SessionId":"%d"}\x03' % random.randrange(1000))

    def end(self):
        self.ends.set()
        for each in self.threads:
            each.join()


def main(program, nats, folder):
    server = subprocess.Popen([nats, "-js", "-sd", folder / "log", "-a", "127.0.0.1", "-p", "-1", "--ports_file_dir", folder],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    hosts = []
    try:
        ports = folder / ("nats-server_%d.ports" % server.pid)
        told = until(lambda: ports.exists() and re.search(r"nats://[^:]+:(\d+)", ports.read_text()), "the broker")
        play(program, folder, ("127.0.0.1", int(told[1])), hosts)
    finally:
        for each in [*(host.process for host in hosts), server]:
            each.kill()
            each.wait()


def play(program, folder, at, hosts):
    def start(name):
        hosts.append(Host(program, name, folder, at))
        return hosts[-1]

    a, b = start("a"), start("b")
    until(lambda: a.serves() and b.serves(), "both hosts to serve")
    first, second = Station(a, "tanaka", "water"), Station(b, "suzuki", "valve")
    first.switch(second)
    stranger = Broker(at)
    genuine = stranger.entries()
    crowd = Crowd(a.at)

    # Into the log, beside what is good. Some of it stands there as the newest manifest.
    sent = 0
    for number, entry in enumerate(garbage(genuine)):
        stranger.publish("dorn.%s.%s" % (SITE, ("log", "manifest")[number % 2]), entry)
        sent += 1
        if number % 25 == 0:
            second.switch(first)
    for subject, entry in genuine:
        stranger.publish(subject, entry)  # All that was true once.
    stranger.publish("dorn.%s.manifest" % SITE, b"the newest manifest")
    stranger.settle()
    sent += 1
    first.switch(second)
    second.switch(first)
    for host in (a, b):
        until(lambda: host.status("garbage_total") == sent,
              lambda: "%d refused entries: %d" % (sent, host.status("garbage_total")))
        if host.status("dropped_total") < len(genuine):
            fail("what came twice was not dropped: %d" % host.status("dropped_total"))
        if len(host.words()) != 1 or "none of this version" not in host.words()[0]:
            fail("a host says: %s" % host.words())

    c = start("c")
    until(c.serves, "a host to begin without a manifest that can be read")
    first.switch(Station(c, "tanaka", "water"))

    # Over the pieces of the snapshot, and beside them.
    stranger.publish(*next(each for each in reversed(genuine) if each[0].endswith("manifest")))
    whole = stranger.pieces()
    beside = ("x.y", "1", "99999999999999999999.0", "5.99999999999", "0.0.0")
    for subject in [*whole, *("dorn.%s.snap.%s" % (SITE, each) for each in beside)]:
        stranger.publish(subject, random.randbytes(1000))
    stranger.settle()
    d = start("d")
    until(lambda: any("snapshot" in word for word in d.words()), "a host to say that it cannot take the snapshot")
    if d.serves():
        fail("a host serves what a stranger has written")
    for subject, piece in whole.items():
        stranger.publish(subject, piece)
    until(d.serves, "a host to begin with the snapshot that is good again")
    third = Station(d, "tanaka", "water")
    second.switch(third)
    first.switch(third)

    # Somebody who keeps the site, and does not.
    token = until(lambda: a.status("keeper_token"), "a keeper")
    stranger.publish("dorn.%s.log" % SITE, genuine[0][1][:2] + random.randbytes(16) + token.to_bytes(8, "little"))
    until(lambda: a.status("keeper_token") > token, "the false keeper")
    until(lambda: sum(host.status("keeper") for host in hosts) == 1, "a true keeper again")
    third.switch(second)

    crowd.end()
    for host in hosts:
        if host.status("diverged_total") or not host.serves() or len(host.words()) > 2:
            fail("a host differs, or says too much: %s" % host.words())
    for host in hosts:
        host.end()
    print("%d entries refused by each host" % sent)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as made:
        main(sys.argv[1], sys.argv[2], pathlib.Path(made))
