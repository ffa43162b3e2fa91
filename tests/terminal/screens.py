#!/usr/bin/env python3
"""Whole screens of the examples, compared with those beside this file.

usage: screens.py PROGRAM HOST GOLDEN WIDTH HEIGHT ID PASS [KEY...]
With DORN_WRITE_GOLDEN in the environment the file is written anew: look at what has changed.
What runs by itself (the line's port, the quality, trends and their values) is replaced by #.
"""
import os, re, sys
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from stations import Host, Terminal, fail, until


def still(screen, port):
    """The screen without what runs by itself."""
    lines = screen.rstrip("\n").split("\n")
    lines[0] = re.sub(r" +\S+@127.*", " #", lines[0].replace(str(port), "#"))
    text = "\n".join(line.rstrip() for line in lines)
    text = re.sub(r"\d\d:\d\d:\d\d", "hh:mm:ss", text)
    # A value that runs, with its mark; its trend; its bar, if it has no limits.
    text = re.sub(r"│..(Trend|Level|Flow) +[\d.]+ ", r"│  \1 # ", text)
    text = re.sub(r"│[ ?!-]{2}[ ▁▂▃▄▅▆▇█]*[▁▂▃▄▅▆▇][ ▁▂▃▄▅▆▇█]*│", "│ trend │", text)
    return re.sub(r"[█░]{20,}", "bar", text)


def main(program, host_program, golden, width, height, user, password, *keys):
    host = Host(host_program)
    terminal = Terminal(program, "--id %s --pass %s 127.0.0.1:%d" % (user, password, host.port), int(width), int(height))
    try:
        terminal.see("F2")
        for key in keys:
            terminal.keys(key)
        if "DORN_WRITE_GOLDEN" in os.environ:
            import time
            time.sleep(2)
            with open(golden, "w") as out:
                out.write(still(terminal.screen(), host.port) + "\n")
            return
        expected = open(golden).read().rstrip("\n")
        until(lambda: still(terminal.screen(), host.port) == expected,
              lambda: "this screen:\n%s\nand got:\n%s" % (expected, still(terminal.screen(), host.port)))
        terminal.keys("F10")
        if terminal.exit_code() != 0:
            fail("it did not end well")
    finally:
        terminal.close()
        host.stop()


main(*sys.argv[1:])
