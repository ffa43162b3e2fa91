#!/usr/bin/env python3
"""Captures that somebody made to break the dissector, or that lack what was sent.

usage: hostile.py TEST DISSECTOR
"""
import os, sys
here = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [here, os.path.join(os.path.dirname(here), "support")]
from captures import Capture, Connection, framed
from folders import new_folder
from dissector import fail, tshark

HOST = Connection.HOST
ALIVE = framed('{"Command":"KEEPALIVE"}')
MEGA = 1000000


def text(value):
    return framed('{"Command":"UPDATE","Objects":[{"Name":"n","Value":"%s"}]}' % value)


def announced(length):
    return framed('{"Command":"PUTFILE","File":"a","Length":%s}' % length)


def told(dissector, fills, *more):
    """What is told of each capture's KEEPALIVEs: how many of them, by stream."""
    path = os.path.join(new_folder(), "capture.pcap")
    capture = Capture(path)
    for index, fill in enumerate(fills):
        fill(Connection(capture, 30000 + index))
    capture.close()
    rows = tshark(dissector, path, "-T", "fields", "-e", "tcp.stream", "-e", "dorn.command", "-e", "_ws.expert.message", *more)
    if "Malformed Packet" in rows:
        fail("a packet is called malformed")
    seen = [0] * len(fills)
    for row in rows.split("\n"):
        if row:
            stream, commands, _ = row.split("\t")
            seen[int(stream)] += commands.split(",").count("KEEPALIVE")
    os.unlink(path)
    return seen


def large(dissector):
    """Texts of ten million bytes, deep ones, lengths that are none: what comes behind them is seen."""
    texts = {
        "deep arrays": framed('{"Command":"UPDATE","Objects":' + "[" * MEGA),
        "deep objects": framed('{"a":' * 300000),
        "one long value": text("x" * 10 * MEGA),
        "objects": framed('{"Command":"UPDATE","Objects":[' + ",".join('{"Name":"n%d"}' % index for index in range(110000)) + "]}"),
        "quotes": text('"' * (MEGA // 2)),
        "ends of strings": text('", "a ' * 100000),
        "backslashes": text("\\" * MEGA),
        "no UTF-8": framed(b'{"Command":"X","V":"' + b"\xff" * MEGA + b'"}'),
        "empty texts": b"\x02\x03" * 30000,
        "starts": b"\x02" * MEGA,
        "ends": b"\x03" * MEGA,
        "a negative length": announced(-5),
        "a length beyond all numbers": announced("9" * 400),
        "a length that is none": announced('"5"'),
        "a length with an exponent": announced("1e3"),
        "no length": framed('{"Command":"PUTFILE","File":"a"}'),
        "a large file": announced(10 * MEGA) + b"\x02{" + b"x" * (10 * MEGA - 2),
    }
    # The first one ends what is open.
    seen = told(dissector, [lambda line, data=data: [line.say(HOST, part) for part in (data, ALIVE, ALIVE)] for data in texts.values()])
    missing = [name for name, count in zip(texts, seen) if count not in (1, 2)]
    if missing:
        fail("behind these nothing is seen: %s" % missing)


def pieces(dissector):
    """A file in many pieces that begins as a text does, and a text that does not end."""
    def say(data):
        return lambda line: line.say(HOST, data, range(100, len(data), 1400))
    seen = told(dissector, [say(announced(10 * MEGA) + b"\x02" + b"x" * (10 * MEGA - 1) + ALIVE), say(b"\x02{" + b"x" * MEGA + b"\x03" + ALIVE)])
    if seen != [1, 1]:
        fail("seen are %s" % seen)


def endless(dissector):
    """What does not end is not looked at anew with each small segment; what comes behind its end is seen."""
    folder = new_folder()
    counting, looks = os.path.join(folder, "dorn.lua"), os.path.join(folder, "looks")
    head = "function dorn.dissector(tvb, pinfo, tree)\n"
    program = open(dissector).read()
    if program.count(head) != 1:
        fail("the dissector's first line is not found")
    with open(counting, "w") as out:
        out.write(program.replace(head, head + 'io.open("%s", "a"):write(tvb:len(), "\\n"):close()\n' % looks))
    for begin in b"\x02{", announced(10 * MEGA) + b"\x02{":
        data = begin + b"x" * (MEGA // 2)

        def say(line):
            line.say(HOST, data, range(100, len(data), 100))
            line.say(HOST, b"\x03" + ALIVE)
            line.say(HOST, ALIVE * 2000)
            line.say(HOST, ALIVE)
        seen = told(counting, [say])
        looked = sum(int(count) for count in open(looks))
        os.unlink(looks)
        # Each time all of it, that were 1.25e9.
        if looked > 200 * len(data):
            fail("%d bytes were looked at" % looked)
        if begin == b"\x02{" and seen != [2002]:
            fail("seen are %s" % seen)


def lossy(data, size, lost):
    """Says `data` in pieces, without those of these numbers."""
    def say(line):
        for index in range(0, len(data), size):
            if index // size in lost:
                line.sent[HOST] += size
            else:
                line.segment(HOST, data[index:index + size])
    return say


def overlapping(data, other, before):
    """Says `data`, and in the middle of it other bytes for some that were sent before."""
    def say(line):
        line.segment(HOST, data[:200])
        line.segment(HOST, other, again_at=line.sent[HOST] - before)
        line.segment(HOST, data[200:])
        line.segment(HOST, ALIVE)
    return say


def far_ahead(line):
    line.segment(HOST, ALIVE, again_at=line.sent[HOST] + MEGA)
    line.segment(HOST, text("v"))
    line.segment(HOST, ALIVE)


def losses(dissector):
    """Segments that were never captured, or come again with other bytes."""
    value, file = text("v" * 300), announced(1000) + b"f" * 1000
    fills = [lossy(ALIVE + value + ALIVE * 3, 100, {2}), lossy(ALIVE + file + ALIVE * 3, 100, {4}), lossy(value * 3 + ALIVE, 50, {0}),
             lossy(file * 2 + ALIVE, 97, {3, 4}), overlapping(value, b"\3\2\3\2" * 50, 100), overlapping(file, b"Z" * 400, 300), far_ahead]
    for passes in (), ("-2",):
        seen = told(dissector, fills, *passes)
        if seen != [4, 4, 1, 1, 1, 1, 1]:
            fail("seen are %s" % seen)
    # Where Wireshark waits for what is missing, it shows less, and nothing breaks.
    seen = told(dissector, fills, "-o", "tcp.reassemble_out_of_order:TRUE")
    if seen[0] < 1 or seen[4:6] != [1, 1]:
        fail("in order, seen are %s" % seen)


if __name__ == "__main__":
    {name: thing for name, thing in globals().items() if callable(thing)}[sys.argv[1]](*sys.argv[2:])
