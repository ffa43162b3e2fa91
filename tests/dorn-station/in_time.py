#!/usr/bin/env python3
"""in_time.py DORN-STATION: time limits hold, whatever a host does."""
import sys, threading, time
from scripted import fail, host, run, text

station = sys.argv[1]
over = threading.Event()


def flood(line):
    while True:
        line.sendall(text('{"Command":"UPDATE","Objects":[]}') * 2000)


def deaf(line):
    over.wait()


def check(what, code, said, acts, *arguments, **more):
    began = time.monotonic()
    done = run(station, host(acts), "--quiet", "--timeout", "1", *arguments, **more)
    if done.returncode != code or said not in done.stderr:
        fail("%s: %d %r" % (what, done.returncode, done.stderr[:200]))
    if time.monotonic() - began < 0.9:
        fail("%s: did not wait" % what)


check("lingers while a host sends without a pause", 0, b"", flood, "--linger", "1", "say hello")
check("expects while a host sends without a pause", 1, b"nothing within 1 s contained: another", flood,
      "expect another")
# More than the buffers of both sides hold.
check("sends to a host that takes nothing", 4, b"did not take everything within 1 s", deaf,
      input=("set a Value " + "x" * 400000 + "\n") * 60)

over.set()
