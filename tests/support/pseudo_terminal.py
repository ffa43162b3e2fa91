"""A program on a terminal of which every byte is seen."""
import fcntl, os, pty, select, struct, subprocess, termios
from programs import until


class PseudoTerminal:
    """Its own one, from which it gets signals, or not."""

    def __init__(self, command, width=80, height=24, environment=None, is_its_own=True, stdin=None):
        self.bytes = b""
        self.master, self.slave = pty.openpty()
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", height, width, 0, 0))
        self.before = self.attributes()

        def lead():
            os.setsid()
            if is_its_own:
                fcntl.ioctl(1, termios.TIOCSCTTY, 0)
        self.process = subprocess.Popen(command, stdin=self.slave if stdin is None else stdin, stdout=self.slave,
                                        stderr=self.slave, env=environment, preexec_fn=lead)

    def read(self):
        """What has come so far."""
        while self.master is not None and select.select([self.master], [], [], 0)[0]:
            try:
                self.bytes += os.read(self.master, 65536)
            except OSError:
                break
        return self.bytes

    def see(self, text):
        until(lambda: text in self.read(), lambda: "%r in %r" % (text, self.bytes[-2000:]))

    def type(self, keys):
        os.write(self.master, keys.encode() if isinstance(keys, str) else keys)

    def attributes(self):
        return termios.tcgetattr(self.slave)

    def exit_code(self, reads=True):
        def has_ended():
            if reads:
                self.read()
            return self.process.poll() is not None
        until(has_ended, lambda: "the end of the program: %r" % self.bytes[-500:])
        return self.process.returncode

    def hang_up(self):
        os.close(self.slave)
        os.close(self.master)
        self.master = None
