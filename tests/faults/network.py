"""A network of its own for each run: machines are network namespaces at one bridge, whose links can be cut. All of it, with every
program that runs in it, is gone when the run is, however that ends."""
import os, shutil, signal, subprocess, sys

BRIDGE = "site0"
HERE = "10.0.0.254"  # Where stations and the checker are.
MARK = "DORN_SITE_NETWORK"
NOT_PERMITTED = 77  # The code of that end alone.
TRIAL = """set -e
mount -t tmpfs none /run
ip netns add site-try
ip link add site-try type bridge
ip link add to-try type veth peer name eth0 netns site-try
ip link set to-try master site-try up
ip netns exec site-try ip link set lo up"""


def run(*command, **settings):
    return subprocess.run(list(map(str, command)), check=True, capture_output=True, text=True, **settings)


def enter():
    """Starts this program once more, in namespaces of its own for network, mounts and processes; as root of one for users where it
    is not root. Says why and ends where the system does not permit that: a run that shows nothing must not pass."""
    if os.environ.get(MARK):
        set_up()
        return
    needed = [each for each in ("ip", "unshare", "mount") if shutil.which(each) is None]
    if needed:
        sys.exit("site-faults: FAILED: %s is missing; script/setup installs it" % needed[0])
    unshare = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.getuid() != 0:
        unshare[1:1] = ["--user", "--map-root-user"]
    tried = subprocess.run([*unshare, "sh", "-c", TRIAL], capture_output=True, text=True)
    if tried.returncode != 0:
        print("site-faults: FAILED: this system permits no network namespaces, so no fault was tried and nothing is shown: "
              + tried.stderr.strip(), file=sys.stderr)
        sys.exit(NOT_PERMITTED)
    os.environ[MARK] = "1"
    inside = subprocess.Popen([*unshare, sys.executable, "-B", *sys.argv])
    for number in (signal.SIGTERM, signal.SIGINT):  # unshare itself heeds neither while it waits.
        signal.signal(number, lambda *_: inside.kill())
    sys.exit(inside.wait())


def set_up():
    run("mount", "-t", "tmpfs", "none", "/run")
    run("ip", "link", "set", "lo", "up")
    run("ip", "link", "add", BRIDGE, "type", "bridge", "forward_delay", "0")
    run("ip", "address", "add", HERE + "/24", "dev", BRIDGE)
    run("ip", "link", "set", BRIDGE, "up")


class Machine:
    """A namespace with one address, and the programs in it."""

    def __init__(self, name, address):
        self.name, self.address = name, address
        self.port = "to-" + name
        run("ip", "netns", "add", name)
        run("ip", "link", "add", self.port, "type", "veth", "peer", "name", "eth0", "netns", name)
        run("ip", "link", "set", self.port, "master", BRIDGE, "up")
        for command in ("link set lo up", "address add %s/24 dev eth0" % address, "link set eth0 up"):
            run("ip", "-n", name, *command.split())

    def start(self, *command, **settings):
        """A program in it. Its process is the program's own."""
        return subprocess.Popen(["ip", "netns", "exec", self.name, *map(str, command)], stdin=subprocess.DEVNULL, **settings)

    def cut(self):
        run("ip", "link", "set", self.port, "down")

    def join(self):
        run("ip", "link", "set", self.port, "up")
