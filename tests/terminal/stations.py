"""What the tests of dorn-terminal as a program need: hosts, terminals, time-outs."""
import os, re, socket, subprocess, sys, threading

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from folders import new_folder
from programs import Host, fail, until
from pseudo_terminal import PseudoTerminal


class Terminal:
    """dorn-terminal inside a tmux of its own."""

    def __init__(self, program, arguments, width=80, height=24, locale="C.UTF-8"):
        self.folder = new_folder()
        self.height = height
        self.ended = os.path.join(self.folder, "ended")
        command = "LC_ALL=%s '%s' %s; echo $? >'%s'; sleep 1000" % (locale, program, arguments, self.ended)
        self.tmux("new-session", "-d", "-x", str(width), "-y", str(height), command)

    def tmux(self, *words):
        socket_path = os.path.join(self.folder, "tmux")
        done = subprocess.run(["tmux", "-u", "-S", socket_path, "-f", "/dev/null", *words], capture_output=True,
                              env=dict(os.environ, LC_ALL="C.UTF-8", TERM="screen"))
        return done.stdout.decode("utf-8", "replace")

    def keys(self, *keys):
        self.tmux("send-keys", *keys)

    def type(self, text):
        self.tmux("send-keys", "-l", text)

    def screen(self):
        return self.tmux("capture-pane", "-p")

    def see(self, text):
        return until(lambda: text in (shown := self.screen()) and shown, lambda: "%r in\n%s" % (text, self.screen()))

    def see_no(self, text):
        until(lambda: text not in self.screen(), lambda: "no %r in\n%s" % (text, self.screen()))

    def exit_code(self):
        def code():
            return os.path.exists(self.ended) and open(self.ended).read().strip()
        return int(until(code, lambda: "the end of\n" + self.screen()))

    def close(self):
        self.tmux("kill-server")


class RawTerminal(PseudoTerminal):
    """dorn-terminal, or another program of the screen, without a tmux between."""

    def __init__(self, program, arguments, locale="C.UTF-8", term="xterm-256color", **more):
        super().__init__([program, *arguments], environment=dict(os.environ, LC_ALL=locale, TERM=term), **more)


class Proxy:
    """Between a terminal and a host; its connections can be cut."""

    def __init__(self, port):
        self.to = port
        self.pairs = []
        self.is_open = True
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            near, _ = self.server.accept()
            if not self.is_open:
                near.close()
                continue
            far = socket.create_connection(("127.0.0.1", self.to))
            self.pairs.append((near, far))
            for source, target in ((near, far), (far, near)):
                threading.Thread(target=self.carry, args=(source, target), daemon=True).start()

    @staticmethod
    def carry(source, target):
        try:
            while data := source.recv(65536):
                target.sendall(data)
        except OSError:
            pass

    def cut(self):
        self.is_open = False
        for pair in self.pairs:
            for end in pair:
                try:
                    end.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass
        self.pairs = []

    def mend(self):
        self.is_open = True


class WildHost:
    """Logs everybody in and shows what it was given, readable or not."""

    def __init__(self, tree, after=b""):
        self.tree = tree
        self.after = after
        self.connections = []
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            connection, _ = self.server.accept()
            self.connections.append(connection)
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        held = b""
        is_after = False
        try:
            while data := connection.recv(65536):
                held += data
                while b"\x03" in held:
                    text, held = held.split(b"\x03", 1)
                    is_tree = self.answer(connection, text)
                    if is_tree and not is_after:
                        is_after = True
                        connection.sendall(self.after)
        except OSError:
            pass

    def answer(self, connection, text):
        if b'"HELLO"' in text:
            connection.sendall(b'\x02{"Command":"OPEN","DialogName":"wild","SessionId":"s"}\x03')
        is_tree = False
        for name in re.findall(rb'"GETFILE","File":"([^"]*)"', text):
            if name.startswith(b"?"):
                connection.sendall(b'\x02{"Command":"PUTFILE","File":"%s","Status":"ERROR"}\x03' % name)
            else:
                is_tree = True
                connection.sendall(b'\x02{"Command":"PUTFILE","Date":"24-01-02 03:04:05","File":"%s","Length":%d}\x03'
                                   % (name, len(self.tree)) + self.tree)
        return is_tree


def run(tests):
    """Runs the test that the command line names, with the arguments behind it."""
    name = sys.argv[1]
    tests[name](*sys.argv[2:])
    print(name + ": passed")
