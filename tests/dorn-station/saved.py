#!/usr/bin/env python3
"""saved.py DORN-STATION: what --save writes, and what it leaves alone."""
import os, sys, tempfile
from scripted import fail, host, run, text

station = sys.argv[1]


def saved(said, before):
    """What is in the folder, and what was told, after a host has said this and closed."""
    with tempfile.TemporaryDirectory() as top:
        folder = os.path.join(top, "saved")
        os.mkdir(folder)
        for name, content in before.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content)
        done = run(station, host(lambda line: line.sendall(said)), "--save", folder, "--linger", "-1",
                   "say hello")
        if os.listdir(top) != ["saved"]:
            fail("written beside the folder: %r" % os.listdir(top))
        after = {}
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), "rb") as file:
                after[name] = file.read()
        return after, done


def same(what, said, before, expected):
    after, done = saved(said, before)
    if after != expected:
        fail("%s: %r instead of %r: %r" % (what, after, expected, done.stderr))
    return done


old = {"panel.json": b"saved earlier", "other.txt": b"mine"}

same("a file that is as new as ours", text('{"Command":"PUTFILE","File":"panel.json","Status":"LATEST"}'),
     old, old)
same("a value that reads like the command",
     text('{"Command":"UPDATE","File":"other.txt","Objects":[{"Name":"a","Value":"PUTFILE"}]}'), old, old)
same("a file that does not come",
     text('{"Command":"PUTFILE","File":"panel.json","Length":9}') + text('{"Command":"KEEPALIVE"}'), old, old)
same("half a file", text('{"Command":"PUTFILE","File":"panel.json","Length":9}') + b"four", old, old)

same("a file", text('{"Command":"PUTFILE","File":"panel.json","Length":3}') + b"new", old,
     dict(old, **{"panel.json": b"new"}))
same("an empty file", text('{"Command":"PUTFILE","File":"panel.json","Length":0}'), old,
     dict(old, **{"panel.json": b""}))
same("two files", text('{"Command":"PUTFILE","File":"a","Length":1}') + b"1" +
     text('{"Command":"PUTFILE","File":"b","Length":2}') + b"22", {}, {"a": b"1", "b": b"22"})
same("other folders", text('{"Command":"PUTFILE","File":"../../x/a","Length":1}') + b"1" +
     text('{"Command":"PUTFILE","File":"/etc/b","Length":1}') + b"2", {}, {"a": b"1", "b": b"2"})
for name in ("..", ".", "", "a/"):
    done = same("no name: " + name,
                text('{"Command":"PUTFILE","File":"%s","Length":1}' % name) + b"1", old, old)
    if b"cannot write" not in done.stderr:
        fail("said nothing of %r: %r" % (name, done.stderr))
