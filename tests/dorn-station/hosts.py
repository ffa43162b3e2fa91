"""A host that says what a test wants it to say, beside those of the library."""
import socket, threading
from scripted import PATIENCE, fail, text
from programs import Host, until


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
