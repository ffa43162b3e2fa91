#!/usr/bin/env python3
"""lines.py DORN-STATION HOST: what --json prints, line by line."""
import json, random, subprocess, sys
from hosts import PATIENCE, Host, Saying, fail, text

station, host_program = sys.argv[1:3]


def run(port, *arguments, code=0):
    done = subprocess.run([station, "--json", "--port", str(port), *arguments], capture_output=True,
                          timeout=PATIENCE, stdin=subprocess.DEVNULL)
    if done.returncode != code:
        fail("%s: %d instead of %d: %r" % (arguments, done.returncode, code, done.stderr))
    # Some take other characters for line ends as well.
    lines = done.stdout.decode("utf-8").splitlines()
    return [json.loads(line, parse_constant=fail) for line in lines], done.stdout


def same(got, expected):
    if got != expected:
        fail("%r instead of %r" % (got, expected))


def without_time(lines):
    times = [line.pop("at") for line in lines]
    if times != sorted(times) or any(type(each) is not int or each < 0 for each in times):
        fail("no times: %r" % times)
    return lines


host = Host(host_program)
lines, _ = run(host.port, "--id", "user", "--pass", "right", "--dialog", "page", "set text Value a\"b",
               "get lines.txt", "expect [file lines.txt", "say so far", "touch nothing", "--linger", "0")
lines = without_time(lines)
same(lines[0], {"direction": "out", "message": {
    "Command": "HELLO", "Id": "user", "Pass": "***", "Type": "STATION", "ResolutionH": 1024, "ResolutionV": 768}})
same(lines[1], {"direction": "out", "message": {"Command": "CHANGE", "DialogName": "page"}})
received = [line["message"] for line in lines if line.get("direction") == "in" and "message" in line]
if not any(each["Command"] == "OPEN" and each["DialogName"] == "page" for each in received):
    fail("no OPEN: %r" % received)
if {"said": "so far"} not in lines:
    fail("nothing was said: %r" % lines)
file = [line for line in lines if "file" in line]
size = [each["Length"] for each in received if each["Command"] == "PUTFILE"]
same(file, [{"direction": "in", "file": "lines.txt", "bytes": int(size[0])}])
host.stop()

# A line that is none is found before anything is sent, and before anybody is asked to take it.
lines, _ = run(1, "touch nothing", "tuoch nothing", code=2)
same(lines, [])

# What hosts write loosely is strict here, and no control character gets through.
saying = Saying(b"go", b"".join([
    text(b'{"Command":"UPDATE","Objects":[{"Name":"a","Value":"3/4" pipe\x1b[31m\x9b1m \xc2\x9b2J \x7f","Nothing":}]}'),
    text('{"Command":"UPDATE","Objects":[{"Name":"b","Value":12345678901234567890,"Data":[["1",]]}]}'),
    text(b"{" * 3000),
    text('{"Command":"PUTFILE","File":"no.d","Length":5}'),
    text('{"Command":"UPDATE","Objects":[]}'),
    text('{"Command":"PUTFILE","File":"yes.d","Length":3}') + b"\x02\x00\x03"]))
saying.over.set()
lines, raw = run(saying.port, '{"Command":"go"}', "--expect", "closed by", "--timeout", "60", code=0)
same(without_time(lines), [
    {"direction": "out", "message": {"Command": "go"}},
    {"direction": "in", "message": {"Command": "UPDATE", "Objects": [
        {"Name": "a", "Value": '3/4" pipe\x1b[31m\ufffd1m \x9b2J \x7f'}]}},
    {"direction": "in", "message": {"Command": "UPDATE", "Objects": [
        {"Name": "b", "Value": 12345678901234567890, "Data": [["1", ""]]}]}},
    {"direction": "in", "unreadable": "{" * 3000},
    {"direction": "in", "message": {"Command": "PUTFILE", "File": "no.d", "Length": 5}},
    {"direction": "in", "file": "no.d", "bytes": None},
    {"direction": "in", "message": {"Command": "UPDATE", "Objects": []}},
    {"direction": "in", "message": {"Command": "PUTFILE", "File": "yes.d", "Length": 3}},
    {"direction": "in", "file": "yes.d", "bytes": 3},
    {"direction": "in", "closed": True}])
if any(byte < 0x20 and byte != 0x0A or byte == 0x7F for byte in raw) or b"\xc2\x9b" in raw:
    fail("control characters: %r" % raw)

# Whatever it is, there is one line for it.
random.seed(11)
pieces = ['{', '}', '[', ']', ':', ',', '"', "'", '"a":', '"Command":', '"PUTFILE"', '"Pass":"secret"', '"Commands":[', "1",
          "-0", "007", "1e999", ".5", "0x1", "NaN", "Infinity", "true", "nil", "null", "\\u000a", "\\ud800", "\\", "\\x", " ",
          "\u2028", "\u2029", "\u0085", "\n", "\r\n", "\t", "\x0c", "\x1e", "\u6f22", "12345678901234567890123456789"]
texts = ["{" + "".join(random.choices(pieces, k=random.randrange(20))) + random.choice(["", "}", '"}']) for _ in range(3000)]
saying = Saying(b"go", b"".join(map(text, texts)) + text(b"{\"a\":\"" + bytes(range(4, 256)) * 4000 + b"\"}"))
saying.over.set()
lines, raw = run(saying.port, '{"Command":"go"}', "--expect", "closed by", "--timeout", "60")
same(len(without_time(lines)), len(texts) + 3)
kinds = [set(line) - {"direction"} for line in lines]
same([kind for kind in kinds if kind not in ({"message"}, {"unreadable"}, {"closed"})], [])
for kind in ({"message"}, {"unreadable"}):
    if kinds.count(kind) < 100:
        fail("few of %r" % kind)
if len(lines[-2]["message"]["a"]) < 900000 or any(byte < 0x20 and byte != 0x0A for byte in raw):
    fail("a huge text: %r" % lines[-2]["message"]["a"][:300])

# Exit codes and expectations are as without it.
saying = Saying(b"go", text('{"Command":"X"}'))
run(saying.port, '{"Command":"go"}', "--expect", "never", "--timeout", "0.2", code=1)
saying.over.set()
run(1, "quit", code=3)
run(1, "--quiet", "quit", code=2)
