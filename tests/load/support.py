"""What the tests of dorn-load share: the program, hosts that are real and hosts that are not."""
import json, os, re, socket, subprocess, sys, threading

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from programs import PATIENCE, Host, until

PROGRAM = sys.argv[2]
# A machine that is busy for seconds is no host that does not answer.
SLOWLY = ["--timeout", "%ds" % (PATIENCE / 2)]
# Where a time-out is what a test wants: long enough for a host in Python to let stations in, and less
# than the silence after which they ask whether it is there.
SOON = PATIENCE / 20
SOON_OUT = ["--timeout", "%ds" % SOON]
GUEST = ["--id", "guest", "--pass", "guest"]


def check(condition, why):
    if not condition:
        raise AssertionError(why)


class Listener:
    """Accepts, sends `bytes` to each, and reads without an answer."""

    def __init__(self, answer=b""):
        self.socket = socket.socket()
        self.socket.bind(("127.0.0.1", 0))
        self.socket.listen(100)
        self.at = "127.0.0.1:%d" % self.socket.getsockname()[1]
        self.answer = answer
        self.peers = []
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            peer = self.socket.accept()[0]
            self.peers.append(peer)
            peer.sendall(self.answer)

    def await_peer(self):
        until(lambda: self.peers, "somebody to connect")


class FakeHost(Listener):
    """A host with one button; what it does when that is clicked is the test's."""

    TREE = b'{"Name":"d","Objects":[{"Name":"b","Type":"BUTTON"}]}'

    def __init__(self, refused="", on_click=None):
        self.refused = refused.encode()
        self.on_click = on_click
        super().__init__()

    def accept(self):
        while True:
            peer = self.socket.accept()[0]
            self.peers.append(peer)
            threading.Thread(target=self.serve, args=(peer,), daemon=True).start()

    def serve(self, peer):
        held = b""
        while got := peer.recv(65536):
            *texts, held = (held + got).split(b"\x03")
            for text in texts:
                self.take(peer, text)

    def take(self, peer, text):
        if b'"HELLO"' in text:
            known = not self.refused or b'"%s"' % self.refused not in text
            opens = b'{"Command":"OPEN","DialogName":"d","File":"d.json","FileSource":"SERVER","SessionId":"s"}'
            return self.send(peer, opens if known else b'{"Command":"ERROR","Status":"Authentication","Message":"no"}')
        if b'"CONDITION"' in text and self.on_click:
            return self.on_click(peer)
        for name in re.findall(rb'"File":"([^"]*)"', text):
            if name.startswith(b"?"):
                self.send(peer, b'{"Command":"PUTFILE","File":"%s","Info":"FILE NOT FOUND","Status":"ERROR"}' % name)
            else:
                self.send(peer, b'{"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"%s","Length":%d}' % (name, len(self.TREE)),
                          self.TREE)

    def send(self, peer, text, payload=b""):
        peer.sendall(b"\x02" + text + b"\x03" + payload)


def begin(*arguments, **settings):
    return subprocess.Popen([PROGRAM, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **settings)


def end(process):
    out, err = process.communicate(timeout=PATIENCE * 3)
    return process.returncode, out, err


def await_line(process, is_it):
    """The first line of which that is true."""
    while True:
        line = process.stdout.readline()
        check(line, "ended")
        if is_it(line):
            return line


def await_ramp(process):
    await_line(process, lambda line: " stations are in after " in line)


def await_second(process):
    """A line of figures of a whole second, in columns."""
    return await_line(process, lambda line: line[:5].strip().isdigit() and line.count("|") >= 4).split()


def load(*arguments):
    return end(begin(*arguments))


def load_json(*arguments):
    code, out, err = load("--json", *arguments)
    check(out.count("\n") == 1, "more than one line: %r" % out)
    report = json.loads(out)
    check(report["exit_code"] == code, "ends with %d and says %r" % (code, out))
    return code, report, err


def check_seconds(trial):
    """What was counted is in one of the seconds."""
    seconds = trial["each_second"]
    for what, key in (("traffic", "messages_in"), ("traffic", "messages_out"), ("traffic", "bytes_in"), ("traffic", "bytes_out"),
                      ("confirm", "count"), ("update", "count"), ("errors", "sum")):
        told = sum(each[what][key] for each in seconds)
        check(told == trial[what][key], "%s %s: %d of %d" % (what, key, told, trial[what][key]))
    check(sum(each["actions"] for each in seconds) == trial["actions"], seconds)


def run(tests):
    """The one that the command line names."""
    tests[sys.argv[1]](*sys.argv[3:])
