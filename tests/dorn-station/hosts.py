"""Hosts for the tests of dorn-station: a real one, and one that says what a test wants it to say."""
import os, signal, socket, subprocess, tempfile, threading, time
from scripted import PATIENCE, fail, text


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
    """A host program at a port that the system chooses."""

    def __init__(self, program):
        told = tempfile.mktemp()
        environment = dict(os.environ, DORN_STATION="127.0.0.1:0", DORN_STATION_FILE=told)
        self.process = subprocess.Popen([program], env=environment, cwd=os.path.dirname(program),
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        until(lambda: os.path.exists(told) and ":" in open(told).read(), "the host to listen")
        self.port = int(open(told).read().rsplit(":", 1)[1])
        os.unlink(told)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()


class Saying:
    """One connection; waits for `before` to arrive, says `bytes`, and ends when told to."""

    def __init__(self, before, said):
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        self.got = b""
        self.over = threading.Event()
        threading.Thread(target=self.serve, args=(before, said), daemon=True).start()

    def serve(self, before, said):
        line = self.socket.accept()[0]
        while before not in self.got:
            self.got += line.recv(4096)
        line.sendall(said)
        self.over.wait()
        line.close()
