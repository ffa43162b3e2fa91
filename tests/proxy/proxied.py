"""What the tests of a proxy before hosts share: hosts, the proxy as examples/site sets it up, stations that come back."""
import contextlib, csv, getpass, grp, os, signal, socket, subprocess, sys, tempfile, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
import programs
from programs import PATIENCE, ComingBack, fail, until


class Host(programs.Host):
    """The pumphouse at a port that the system chooses; believes a proxy at 127.0.0.1."""

    def __init__(self, program, folder, name):
        super().__init__(program, said=os.path.join(folder, name + ".said"), PUMPHOUSE_PROXIES="127.0.0.1")
        self.name = name

    def log(self):
        return open(self.said, encoding="utf-8").read()

    def end(self):
        self.stop(signal.SIGKILL)


class Proxy:
    """HAProxy with the configuration of the example, before hosts a, b and c; at a port that the system chooses."""

    def __init__(self, program, configuration, folder, hosts):
        self.socket = os.path.join(folder, "proxy.socket")
        self.said = os.path.join(folder, "proxy.said")
        listening = socket.create_server(("127.0.0.1", 0), backlog=128)
        self.port = listening.getsockname()[1]
        environment = dict(os.environ, SITE_BIND="fd@%d" % listening.fileno(), SITE_PROXY_SOCKET=self.socket,
                           SITE_PROXY_USER=getpass.getuser(), SITE_PROXY_GROUP=grp.getgrgid(os.getgid()).gr_name)
        for host in hosts:
            environment["HOST_" + host.name.upper()] = host.at
        with open(self.said, "wb") as out:
            self.process = subprocess.Popen([program, "-db", "-f", configuration], env=environment, stdout=out, stderr=out,
                                            stdin=subprocess.DEVNULL, pass_fds=[listening.fileno()])
        listening.close()
        with contextlib.ExitStack() as failed:
            failed.callback(self.end)
            until(lambda: os.path.exists(self.socket) or self.process.poll() is not None, "the proxy")
            if self.process.poll() is not None:
                fail("the proxy ends: " + open(self.said).read())
            failed.pop_all()

    def hosts(self):
        """What it thinks of each: "UP" or "DOWN", perhaps with more behind it, and how many connections it has there."""
        with socket.socket(socket.AF_UNIX) as asking:
            asking.settimeout(PATIENCE)
            asking.connect(self.socket)
            asking.sendall(b"show stat\n")
            told = b""
            while got := asking.recv(65536):
                told += got
        rows = csv.DictReader(told.decode().lstrip("# ").splitlines())
        return {row["svname"]: (row["status"], int(row["scur"])) for row in rows
                if row["svname"] not in ("FRONTEND", "BACKEND")}

    def where(self):
        """The names of the hosts that have connections."""
        return [name for name, (_, count) in self.hosts().items() if count > 0]

    def end(self):
        self.process.kill()
        self.process.wait()


class Station(ComingBack):
    """Logs in, and again whenever its connection ends; notes when."""

    def __init__(self, port, address="127.0.0.1"):
        self.port, self.address = port, address
        self.served, self.lost = [], []
        super().__init__()

    def stay(self):
        with socket.create_connection(("127.0.0.1", self.port), timeout=PATIENCE, source_address=(self.address, 0)) as line:
            line.sendall(b'\x02{"Command":"HELLO","Id":"suzuki","Pass":"valve"}\x03')
            held, opened = b"", False
            while got := line.recv(65536):
                held = (held + got)[-100000:]
                if not opened and b'"Command":"OPEN"' in held:
                    opened = True
                    self.served.append(time.monotonic())
        if opened:
            self.lost.append(time.monotonic())


class Site:
    """Three hosts and the proxy, in a folder of their own."""

    def __init__(self, pumphouse, configuration, proxy):
        with contextlib.ExitStack() as made:
            folder = made.enter_context(tempfile.TemporaryDirectory())
            self.hosts = {}
            for name in "abc":
                self.hosts[name] = Host(pumphouse, folder, name)
                made.callback(self.hosts[name].end)
            self.proxy = Proxy(proxy, configuration, folder, self.hosts.values())
            made.callback(self.proxy.end)
            self.made = made.pop_all()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.made.close()
