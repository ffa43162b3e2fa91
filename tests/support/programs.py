"""Hosts that tests of programs start, and waiting for what they do."""
import os, signal, subprocess, tempfile, threading, time

PATIENCE = 60 * float(os.environ.get("DORN_TEST_TIMEOUT_SCALE", "1"))


def fail(why):
    raise AssertionError(why)


def until(condition, what, seconds=PATIENCE):
    """Waits until `condition()` gives something true, and returns it."""
    end = time.monotonic() + seconds
    while True:
        got = condition()
        if got:
            return got
        if time.monotonic() > end:
            fail("waited in vain for " + (what() if callable(what) else what))
        time.sleep(0.01)


class Host:
    """A host program at a port that the system chooses, or at a given one."""

    def __init__(self, program, *arguments, port=0, said=None, **environment):
        self.command = [program, *arguments]
        self.said = said or os.devnull  # The file for what it says on standard error.
        self.environment = environment
        self.start(port)

    def start(self, port=0):
        with tempfile.TemporaryDirectory() as folder:
            told = os.path.join(folder, "told")
            environment = dict(os.environ, DORN_STATION="127.0.0.1:%d" % port, DORN_STATION_FILE=told, **self.environment)
            with open(self.said, "wb") as said:
                self.process = subprocess.Popen(self.command, env=environment, cwd=os.path.dirname(self.command[0]),
                                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=said)
            until(lambda: os.path.exists(told) and ":" in open(told).read(), "the host to listen")
            self.port = int(open(told).read().rsplit(":", 1)[1])
        self.at = "127.0.0.1:%d" % self.port

    def stop(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop(signal.SIGKILL)


class ComingBack:
    """Stays somewhere in a thread of its own, and comes back whenever its connection ends."""

    def __init__(self):
        self.ends = False
        self.thread = threading.Thread(target=self.live, daemon=True)
        self.thread.start()

    def live(self):
        while not self.ends:
            try:
                self.stay()
            except OSError:
                pass
            time.sleep(0.05)
