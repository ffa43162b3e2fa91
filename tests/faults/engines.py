"""The programs of a site, each on a machine of its own: three brokers, three hosts, HAProxy, with the files of examples/site."""
import csv, os, pathlib, signal, socket, subprocess, time
from network import Machine

EXAMPLE = pathlib.Path(__file__).resolve().parents[2] / "examples" / "site"


def variables(file):
    """Of a file such as systemd reads."""
    lines = (line.strip() for line in file.read_text().splitlines())
    pairs = (line.split("=", 1) for line in lines if line and not line.startswith("#"))
    return {name: value.strip('"') for name, value in pairs}


# Far more than anything takes on a quiet machine: what is later than it may be is measured, not waited for.
PATIENCE = 60 * float(os.environ.get("DORN_TEST_TIMEOUT_SCALE", "1"))


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while not (got := condition()):
        if time.monotonic() > end:
            raise TimeoutError("waited %d s in vain for %s" % (PATIENCE, what))
        time.sleep(0.02)
    return got


class Engine:
    """A program on its machine, which can be killed, stopped and cut off, and comes back."""

    def __init__(self, machine, folder):
        self.machine, self.name = machine, machine.name
        self.output = folder / (self.name + ".log")
        self.process = None

    def start(self):
        with open(self.output, "ab") as out:
            self.process = self.machine.start(*self.command(), env=dict(os.environ, **self.environment()), stdout=out,
                                              stderr=subprocess.STDOUT, cwd=self.folder())

    def folder(self):
        return None

    def environment(self):
        return {}

    def fault(self, kind):
        if kind == "link":
            self.machine.cut()
        else:
            self.process.send_signal({"kill": signal.SIGKILL, "stop": signal.SIGSTOP}[kind])
            if kind == "kill":
                self.process.wait()

    def mend(self, kind):
        if kind == "link":
            self.machine.join()
        elif kind == "stop":
            self.process.send_signal(signal.SIGCONT)
        else:
            self.start()

    def end(self):
        if self.process and self.process.poll() is None:
            self.process.kill()
            self.process.wait()


class Broker(Engine):
    def __init__(self, number, machine, program, folder):
        super().__init__(machine, folder)
        self.number, self.program = number, program
        self.store = folder / (self.name + ".store")

    def command(self):
        return [self.program, "-c", EXAMPLE / ("nats-%d.conf" % self.number)]

    def environment(self):
        return dict(variables(EXAMPLE / "broker.env"), SITE_STORE=str(self.store))


class Proxy(Engine):
    def __init__(self, machine, program, folder):
        super().__init__(machine, folder)
        self.program, self.socket = program, folder / "proxy.socket"

    def command(self):
        return [self.program, "-db", "-f", EXAMPLE / "haproxy.cfg"]

    def hosts_up(self):
        """How many hosts it takes for good ones."""
        with socket.socket(socket.AF_UNIX) as asking:
            asking.settimeout(3)
            try:
                asking.connect(str(self.socket))
                asking.sendall(b"show stat\n")
                told = b""
                while got := asking.recv(65536):
                    told += got
            except OSError:
                return 0
        return sum(row["status"] == "UP" for row in csv.DictReader(told.decode().lstrip("# ").splitlines())
                   if row["svname"] not in ("FRONTEND", "BACKEND"))

    def environment(self):
        return dict(SITE_PROXY_USER="root", SITE_PROXY_GROUP="root", SITE_PROXY_SOCKET=str(self.socket))


class Host(Engine):
    def __init__(self, number, machine, program, folder, site):
        super().__init__(machine, folder)
        self.program = pathlib.Path(program).resolve()
        self.settings = dict(variables(EXAMPLE / ("host-%d.env" % number)), DORN_SITE=site,
                             DORN_STATION_FILE=str(folder / (self.name + ".port")))

    def command(self):
        return [self.program]

    def folder(self):
        return self.program.parent

    def environment(self):
        return self.settings


class Machines:
    """Those of a site; made once for all schedules, since making them takes longer than emptying them."""

    def __init__(self):
        self.hosts = [Machine("host-%d" % number, "10.0.0.1%d" % number) for number in (1, 2, 3)]
        self.brokers = [Machine("broker-%d" % number, "10.0.0.2%d" % number) for number in (1, 2, 3)]
        self.proxy = Machine("proxy", "10.0.0.31")


class Site:
    def __init__(self, machines, programs, folder, name):
        self.name, self.folder = name, folder
        self.brokers = [Broker(number, machine, programs.nats, folder) for number, machine in enumerate(machines.brokers, 1)]
        self.hosts = [Host(number, machine, programs.host, folder, name) for number, machine in enumerate(machines.hosts, 1)]
        self.proxy = Proxy(machines.proxy, programs.haproxy, folder)
        self.stream = "DORN_" + name
        self.credentials = variables(EXAMPLE / "broker.env")

    def all(self):
        return [*self.brokers, *self.hosts, self.proxy]

    def addresses(self):
        """Of brokers."""
        return [each.machine.address for each in self.brokers]

    def __enter__(self):
        for each in self.all():
            each.start()
        return self

    def __exit__(self, *_):
        for each in self.all():
            each.machine.join()
            each.end()
