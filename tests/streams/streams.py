#!/usr/bin/env python3
"""streams.py PROGRAMS [GATEWAY]: the tools where standard output takes nothing, and where streams are closed."""
import os, socket, subprocess, sys, threading

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from folders import new_folder
from programs import PATIENCE, fail, until

programs = sys.argv[1]
os.chdir(new_folder())
with open("bad.json", "w") as bad:
    bad.write("{")
with open("right.scene", "w") as scene:
    scene.write("a: login x y\n")
EXPECT_OPEN = ["--expect", "OPEN", "--timeout", "%d" % (PATIENCE / 2)]
OPEN = b'\x02{"Command":"OPEN","File":"d.json","SessionId":"s"}\x03'


class Host:
    """Greets whoever connects, and keeps what it is sent."""

    def __init__(self):
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = str(self.socket.getsockname()[1])
        self.got = b""
        self.serving = threading.Thread(target=self.serve, daemon=True)
        self.serving.start()

    def serve(self):
        line = self.socket.accept()[0]
        try:
            line.sendall(OPEN)
            while got := line.recv(4096):
                self.got += got
        except ConnectionError:  # Who goes without having read all resets it.
            pass

    def all_that_came(self):
        self.serving.join(PATIENCE)
        return self.got


def run(redirected, program, *arguments):
    command = ["sh", "-c", 'exec "$0" "$@" ' + redirected, os.path.join(programs, program), *arguments]
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE)
    except subprocess.TimeoutExpired:
        fail("%s %s %s does not end" % (program, arguments, redirected))
    return done.returncode, done.stdout.decode(), done.stderr.decode()


def check(redirected, expected, said, program, *arguments):
    code, _, err = run(redirected, program, *arguments)
    lost = "%s: standard output did not take everything" % program
    if code != expected or (lost in err) != said:
        fail("%s %s %s: ends with %d: %r" % (program, arguments, redirected, code, err))


# Whoever prints what nobody gets says so.
for redirected in ">/dev/full", ">&-":
    for command in (["dorn-lint", "--rules"], ["dorn-lint", "--schema"], ["dorn-lint", "bad.json"], ["dorn-lint", "--json", "bad.json"],
                    ["dorn-lint", "--help"], ["dorn-top", "--once", "--interval", "0", "none"], ["dorn-top", "--json", "none"],
                    ["dorn-load", "--json", "127.0.0.1:1"], ["dorn-load", "--help"], ["dorn-station", "--help"],
                    ["dorn-station", "run", "--help"], ["dorn-terminal", "--help"], ["dorn-station", "run", "--verbose", "--port", "1", "right.scene"],
                    ["dorn-station", "--port", Host().port, *EXPECT_OPEN],
                    ["dorn-station", "--json", "--port", Host().port, *EXPECT_OPEN]):
        check(redirected, 2, True, *command)
    for gateway in sys.argv[2:]:
        for option in "--help", "--version":
            code, _, err = run(redirected, gateway, option)
            if code != 2 or "dorn-gateway: standard output did not take everything" not in err:
                fail("dorn-gateway %s %s: ends with %d: %r" % (option, redirected, code, err))
    # What prints nothing misses nothing.
    check(redirected, 2, False, "dorn-lint", "none.json")
    check(redirected, 3, False, "dorn-station", "--port", "1")
    check(redirected, 3, False, "dorn-load", "127.0.0.1:1")
    check(redirected, 3, False, "dorn-terminal", "127.0.0.1:1")
    check(redirected, 0, False, "dorn-station", "--quiet", "--port", Host().port, *EXPECT_OPEN)

# A host gets nothing that was meant for people, and what it says is not taken for what somebody types.
for redirected in ">&-", "<&-", "<&- >&-", "<&- >&- 2>&-", "2>&-":
    host = Host()
    run(redirected, "dorn-station", "--port", host.port, "--id", "a", "--pass", "b", "--expect", "OPEN", "--expect", "none", "--timeout", "0.1")
    got = host.all_that_came()
    if got.count(b"\x02") != 1 or not got.startswith(b'\x02{"Command":"HELLO"') or not got.endswith(b"}\x03"):
        fail("%s: the host got %r" % (redirected, got))

# Nor does anything of the gateway's take the place of a stream.
def opened(process):
    found = {}
    for number in os.listdir("/proc/%d/fd" % process.pid):
        try:
            found[int(number)] = os.readlink("/proc/%d/fd/%s" % (process.pid, number))
        except OSError:  # Closed meanwhile.
            pass
    return found


for gateway in sys.argv[2:]:
    for closed in (0,), (1,), (2,), (0, 1, 2):
        process = subprocess.Popen([gateway, "--listen", "127.0.0.1:0"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, preexec_fn=lambda: [os.close(stream) for stream in closed])
        try:
            until(lambda: any(name.startswith("socket:") for name in opened(process).values()), "the gateway to listen")
            if any(opened(process).get(stream) != "/dev/null" for stream in (0, 1, 2)):
                fail("without the streams %s the gateway has %s" % (closed, opened(process)))
        finally:
            process.kill()
            process.wait()
