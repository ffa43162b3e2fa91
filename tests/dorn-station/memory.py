#!/usr/bin/env python3
"""memory.py DORN-STATION: whoever listens for long takes no more memory with each message."""
import os, resource, sys
from scripted import fail, host, run, text

station = sys.argv[1]
message = text('{"Command":"UPDATE","Objects":[{"Name":"a","Value":"%s"}]}' % ("x" * 20000))
# A sanitizer keeps what was freed for a while.
os.environ["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=8"


def says(line):
    for _ in range(100):
        line.sendall(message * 100)
    line.sendall(text('{"Command":"LAST"}'))


done = run(station, host(says), "--quiet", "--linger", "-1", "say hello")
if done.returncode != 0:
    fail("%r" % done)
# What came last is there for who asks later.
done = run(station, host(says), "--quiet", "--timeout", "60", "wait 0.2", "expect LAST")
if done.returncode != 0:
    fail("%r" % done.stderr)
megabytes = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024
if megabytes > 120:
    fail("%.0f MB for %.0f MB of messages" % (megabytes, 10000 * len(message) / 1e6))
