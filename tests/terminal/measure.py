#!/usr/bin/env python3
"""How fast dorn-terminal shows keys, and what a busy host costs it. Prints figures, judges nothing.

usage: measure.py PROGRAM GALLERY [SECONDS]
"""
import itertools, os, sys, tempfile, time
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from stations import Host, RawTerminal


def measured(what, program, arguments, host, prepare, keys, every, seconds, width=132, height=43):
    figures = tempfile.mktemp()
    terminal = RawTerminal(program, [*arguments, "--figures", figures, "127.0.0.1:%d" % host.port], width=width, height=height)
    terminal.see(b"online")
    prepare(terminal)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if keys:
            terminal.type(next(keys))
        until = time.monotonic() + every
        while time.monotonic() < until:
            terminal.read()
            time.sleep(0.002)
        terminal.bytes = terminal.bytes[-1000:]
    terminal.type(b"\x1b[21~")
    terminal.exit_code()
    print("%s (%dx%d, %d s)" % (what, width, height, seconds))
    print("  " + open(figures).read().strip().replace("\n", "\n  "))


def rate(times):
    def prepare(terminal):
        terminal.type(b"/rate\r" + b"\x1bOC" * times)
        time.sleep(1)
        terminal.read()
    return prepare


def main(program, gallery, seconds="10"):
    host = Host(gallery)
    seconds = float(seconds)
    guest = ["--id", "guest", "--pass", "guest"]
    many = [*guest, "--dialog", "many"]
    measured("typing, a quiet host", program, guest, host, lambda t: t.type(b"/story\r"), itertools.repeat(b"x"), 0.03, seconds)
    measured("1,000 updates a second of 1,000 numbers", program, many, host, rate(10), None, 0.1, seconds)
    measured("2,000 updates a second of 1,000 numbers", program, many, host, rate(20), None, 0.1, seconds)
    measured("moving at 1,000 updates a second", program, many, host, rate(10),
             itertools.repeat(b"\x1b[6~\x1b[5~"), 0.1, seconds)
    measured("a slider at 1,000 updates a second", program, many, host, rate(10), itertools.cycle((b"\x1bOC", b"\x1bOD")), 0.1, seconds)
    measured("the widest, 1,000 updates a second", program, many, host, rate(10), None, 0.1, seconds, 200, 60)
    host.stop()


main(*sys.argv[1:])
