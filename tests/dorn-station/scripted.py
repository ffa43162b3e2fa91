"""A host of one connection that does what a test wants, and dorn-station against it."""
import os, socket, subprocess, sys, threading
sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from programs import PATIENCE, fail


def text(words):
    return b"\x02" + (words if isinstance(words, bytes) else words.encode()) + b"\x03"


def host(acts):
    """Listens; `acts(line)` gets the first connection. Returns the port."""
    listening = socket.create_server(("127.0.0.1", 0))

    def serve():
        line = listening.accept()[0]
        try:
            acts(line)
        except OSError:
            pass
        line.close()

    threading.Thread(target=serve, daemon=True).start()
    return listening.getsockname()[1]


def run(station, port, *arguments, input=""):
    """A run that ends by itself; fails when it does not."""
    try:
        return subprocess.run([station, "--port", str(port), *arguments], capture_output=True,
                              input=input.encode(), timeout=PATIENCE)
    except subprocess.TimeoutExpired:
        fail("%s: does not end" % (arguments,))
