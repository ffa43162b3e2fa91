#!/usr/bin/env python3
"""terminal.py DORN-STATION: a terminal gets nothing of a host that it would obey; a pipe gets all."""
import subprocess, sys
from scripted import fail, host, run, text
from pseudo_terminal import PseudoTerminal

station = sys.argv[1]
said = b'{"Command":"ERROR","Message":"\x1b]0;owned\x07\x1b[2J\xc2\x9b\x9b\x7f \xe6\xb0\xb4"}'
shown = b'\\u001b]0;owned\\u0007\\u001b[2J\\u009b\xef\xbf\xbd\\u007f \xe6\xb0\xb4"}'


def tells(line):
    line.sendall(text(said))


done = run(station, host(tells), "--linger", "-1", "say hello")
if said not in done.stdout:
    fail("through a pipe: %r" % done.stdout)

terminal = PseudoTerminal([station, "--port", str(host(tells)), "--linger", "-1", "say hello"],
                          stdin=subprocess.DEVNULL)
terminal.see(shown)
terminal.exit_code()
got = terminal.read()
if b"\x1b" in got:
    fail("on a terminal: %r" % got)
