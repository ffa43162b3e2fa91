"""Stations that write counters, come back when their connection ends, and note what they see and when."""
import json, os, re, select, socket, sys, threading, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from programs import ComingBack

REST = "s99:1"
SILENCE = 0.1  # How long one waits for something to read before it looks whether it is time to write.


class Station(ComingBack):
    """Writes 1, 2, 3 ... to the object of its name, as "NAME:NUMBER", a few times a second while it may."""

    def __init__(self, name, at, interval, seen):
        self.name, self.at, self.interval, self.seen = name, at, interval, seen
        self.served, self.lost, self.refused, self.pending = [], [], [], 0  # Times; how often the outcome was unknown.
        self.writes = []  # (time, connection) of each, the first one's number is 1.
        self.connection = 0  # Which one it is now, counted from 1; 0 before the first.
        self.session = None
        self.sessions_lost = 0
        self.may_write = threading.Event()
        self.is_served = self.rests = False
        super().__init__()

    def stay(self):
        with socket.create_connection(self.at, timeout=2) as line:
            line.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            if self.session:
                self.send(line, Command="CHANGE", SessionId=self.session, DialogName="counters")
            else:
                self.send(line, Command="HELLO", Id=self.name, Pass="counts")
            self.connection += 1
            self.is_served = False
            try:
                self.talk(line)
            finally:
                if self.is_served:
                    self.lost.append(time.monotonic())
                    self.is_served = False

    def send(self, line, **command):
        line.sendall(b"\x02" + json.dumps(command).encode() + b"\x03")

    def talk(self, line):
        held, came = b"", time.monotonic()
        due = came
        while not self.ends:
            now = time.monotonic()
            if self.is_served and self.may_write.is_set() and now >= due:
                due = now + self.interval
                self.write(line, now)
            if self.is_served and self.rests:
                self.rests = False
                self.set(line, "rest", REST)
            if select.select([line], [], [], min(SILENCE, self.interval))[0]:
                got = line.recv(65536)
                if not got:
                    return
                came = time.monotonic()
                *texts, held = (held + got).split(b"\x03")
                for text in texts:
                    self.take(line, text.lstrip(b"\x02").decode("utf-8"), came)
            elif not self.is_served and now - came > 12:
                return  # Whoever is not let in within the limit tries elsewhere.

    def write(self, line, now):
        self.writes.append((now, self.connection))
        self.set(line, self.name, "%s:%d" % (self.name, len(self.writes)))

    def set(self, line, name, value):
        self.send(line, Command="CONDITION", ActionName=name, ActionType="CHANGE", Objects=[{"Name": name, "Value": value}])

    def rest(self):
        """The keeper is to propose nothing more."""
        self.rests = True

    def take(self, line, text, now):
        command = re.search(r'"Command":"(\w+)"', text)
        command = command[1] if command else ""
        if command == "KEEPALIVE":
            self.send(line, Command="KEEPALIVE")
        elif command == "ERROR" and "InvalidSessionId" in text:
            self.sessions_lost += 1
            self.session = None
        else:
            if command == "OPEN" and (found := re.search(r'"SessionId":"([^"]+)"', text)):
                self.session = found[1]
                self.send(line, Command="CHANGE", DialogName="counters")
            self.look(text, now)

    def look(self, text, now):
        objects = {}
        for each in re.findall(r'\{[^{}]*\}', text):
            if name := re.search(r'"Name":"([^"]*)"', each):
                value = re.search(r'"Value":"([^"]*)"', each)
                error = re.search(r'"Error":"([^"]*)"', each)
                objects[name[1]] = (value[1] if value else None, error[1] if error else "")
        if not self.is_served and "chain" in objects:
            self.is_served = True
            self.served.append(now)
        if "chain" in objects and objects["chain"][0]:
            self.seen.chain(self, objects["chain"][0], now)
        if "kept" in objects and objects["kept"][0]:
            self.seen.kept(objects["kept"][0], now)
        _, error = objects.get(self.name, (None, ""))
        self.pending += error == "pending"
        if error == "refused":
            self.refused.append(now)


class Seen:
    """What all stations together have seen. Whoever shows as many changes as another one has applied the same."""

    def __init__(self):
        self.lock = threading.Lock()
        self.chains = {}  # How many changes -> their digest.
        self.wrong = []
        self.latest = {}  # Station -> how many changes it has seen last.
        self.applied_at = []  # When a count of changes was seen for the first time.
        self.keeps = []  # (when, host) of each proposal of the keeper that was seen for the first time.
        self.last_kept = ""

    def chain(self, station, text, now):
        count, digest = text.split(":")
        count = int(count)
        with self.lock:
            if self.chains.setdefault(count, digest) != digest:
                self.wrong.append("%s sees %s behind %d changes, others %s" % (station.name, digest, count, self.chains[count]))
            if count > max(self.latest.values(), default=0):
                self.applied_at.append(now)
            self.latest[station] = count

    def kept(self, text, now):
        with self.lock:
            if text != self.last_kept and text not in self.known_keeps():
                self.keeps.append((now, text))
            self.last_kept = text

    def known_keeps(self):
        return {text for _, text in self.keeps[-50:]}
