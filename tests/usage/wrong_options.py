#!/usr/bin/env python3
"""wrong_options.py PROGRAMS [GATEWAY]: wrong command lines end with 2 and one line on standard error that says what is right."""
import os, shlex, subprocess, sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from folders import new_folder
from programs import PATIENCE, fail

PORT = "is not a whole number from 1 to 65535"
MISSING = "its value is missing"
TWICE = "it is given more than once"
NO_OPTION = "there is no option"
NO_VALUE = "it takes no value"
EMPTY = "it is empty; give"
PLACE = "is not HOST:PORT; such as 127.0.0.1:5000"
SECONDS = "is not a number from 0 to 31536000"
DURATION = "is no duration; such as 250us, 50ms, 1.5s or 2m"
SIZE = "is not a size from 20x5 to 500x500, such as 80 or 132x43"
LISTEN = "it takes ADDRESS:PORT, such as"
HOST = "--host: it takes HOST:PORT, such as 127.0.0.1:5000"
ORIGIN = "it takes SCHEME://HOST[:PORT] without a path"
NETWORK = "it takes an address or a network"

# What would be right, and the lines that must be told so; "%s" stands in for what varies.
LINES = {
    "dorn-station": [
        (PORT, "--port %s quit", ["0", "65536", "abc", "-1", "5000x", "1e3", "0x10", "''", "nan"]),
        (MISSING, "%s", ["--port", "--host", "--id", "--pass", "--timeout"]),
        (SECONDS, "--port 1 --timeout %s quit", ["-1", "nan", "inf", "1e400", "abc", "''", "--json"]),
        ("is not a number from -1 to 31536000", "--port 1 --linger %s quit", ["nan", "-2", "1e400", "1e300", "5s"]),
        ("is not a whole number from 0 to 1000000", "--port 1 %s quit", ["--width -5", "--height abc", "--width 99999999999"]),
        (EMPTY, "--host '' --port 1 %s", ["quit"]),
        ("is none of escape, replace, raw", "--port 1 --quotes %s quit", ["x", "''"]),
        ("does not exist", "--port 1 --save none %s", ["quit"]),
        (TWICE, "%s quit", ["--port 1 --port 2", "--id a --id b", "--timeout 1 --timeout 1"]),
        (NO_VALUE, "--port 1 %s quit", ["--json=3", "--quiet=maybe"]),
        (NO_OPTION, "--port 1 %s quit", ["--nonsense", "-x"]),
        ("does not go together with", "--port 1 %s quit", ["--quiet --json"]),
        ("write: wait SECONDS, at most 31536000", "--port 1 %s", ["wait", "'wait -1'", "'wait nan'", "'wait 1e400'"]),
        ("unknown word", "--port 1 %s", ["frobnicate", "-- --nonsense"]),
        (PORT, "run --port %s right.scene", ["0", "65536", "abc"]),
        ("is not a number from 0.001 to 86400", "run --timeout %s right.scene", ["0", "-1", "nan", "1e400"]),
        ("is not a number from 0.1 to 1000", "run --patience %s right.scene", ["0", "nan", "inf", "abc"]),
        (EMPTY, "%s --host '' right.scene", ["run"]),
        ("does not go together with", "run %s right.scene", ["--start true --host a", "--start true --port 5", "--quiet --verbose"]),
        ("missing", "%s", ["run", "record", "run --junit right.scene"]),
        ("is not a number from 0.001 to 86400", "record --timeout nan %s", ["new.scene"]),
        (NO_OPTION, "%s", ["run --nonsense right.scene", "record --nonsense new.scene"]),
    ],
    "dorn-load": [
        ("is missing; such as 127.0.0.1:5000", "%s", ["", "''"]),
        (PLACE, "%s", ["127.0.0.1:0", "127.0.0.1:65536", "a:abc", "a:", ":5000", "a:b:c", "[::1", "[]:5000", "' '"]),
        ("is not a whole number from 1 to 60000", "--stations %s a", ["0", "60001", "-1", "abc", "1e3"]),
        ("is not a number from 0.1 to 1000000", "--rate %s a", ["0", "-1", "nan", "inf", "1e400", "abc", "0x10"]),
        ("such as click:70,edit:20,enter:10, each at most once", "--mix %s a",
         ["''", "click", "click:0", "click:-1", "click:1,click:2", "click:1,", "jump:5", "click:1e9"]),
        (DURATION, "%s a", ["--for ''", "--for 0", "--for -5s", "--for nan", "--for 1e400", "--for 5h", "--ramp -1", "--timeout ''"]),
        ("such as p99=50ms, with p50, p90, p99 or worst", "--until %s a", ["p98=5ms", "p99", "''", "p99=-5ms"]),
        ("is not a whole number from 1 to 2147483647", "--pid %s a", ["0", "-1", "abc", "1e400"]),
        ("is not a whole number from 0 to 4294967295", "--seed %s a", ["-1", "abc"]),
        (EMPTY, "--only '' %s", ["a"]),
        (TWICE, "--rate 1 --rate 2 %s", ["a"]),
        ("too many arguments: b", "%s", ["a b"]),
        (NO_OPTION, "%s a", ["--nonsense"]),
        (NO_VALUE, "%s a", ["--json=maybe"]),
    ],
    "dorn-top": [
        ("is not a number from 0 to 86400", "--once --interval %s s", ["-1", "-0.001", "nan", "inf", "1e400", "86401", "abc", "''", "1s", "0x10", "1,5"]),
        ("sockets missing", "%s", ["", "--", "--once", "--json"]),
        (EMPTY, "%s", ["''", "--once ''", "--json a ''"]),
        (MISSING, "%s", ["--interval"]),
        (TWICE, "--interval 1 --interval 2 %s", ["s"]),
        (NO_OPTION, "%s s", ["--nonsense", "--oncee", "-x"]),
        (NO_VALUE, "%s s", ["--once=5", "--json=maybe"]),
    ],
    "dorn-lint": [
        (SIZE, "--preview %s good.json", ["0x0", "-1x5", "99999999x99999999", "80x", "x24", "80x24x1", "19", "501", "80x4", "1e400"]),
        ("has no resource file", "%s", ["empty", "empty good.json", "--preview empty", "--preview 80x24 empty"]),
        ("no files to check", "%s", ["", "--", "--json", "--preview", "--preview 80x24"]),
        (MISSING, "%s", ["--exceptions", "--language"]),
        (EMPTY, "--exceptions '' %s", ["good.json"]),
        (TWICE, "%s good.json", ["--exceptions a --exceptions b", "--preview 80 --preview 90"]),
        ("--language requires --preview", "--language ja %s", ["good.json"]),
        ("does not go together with", "--preview 80 %s good.json", ["--json", "--exceptions a"]),
        ("is not there", "%s", ["none.json", "''", "-- --rules"]),
        (NO_OPTION, "%s good.json", ["--nonsense", "-x"]),
        (NO_VALUE, "%s good.json", ["--json=maybe", "--rules=3"]),
    ],
    "dorn-terminal": [
        (PLACE, "%s", ["''", "' '", ":5000", "a:0", "a:65536", "a:abc", "a:", "a:-1", "a:1e3", "a:b:c", "[::1", "[]:5"]),
        ("host missing", "%s", ["", "--", "--mono"]),
        ("is none of en, ja", "--language %s a", ["xx", "''"]),
        ("is none of escape, replace, raw", "--quotes %s a", ["x", "''"]),
        ("is none of strict, literal", "--reading %s a", ["x", "strict-first"]),
        (MISSING, "%s", ["--id", "--pass", "--dialog", "--figures", "--language"]),
        (TWICE, "--id a --id b %s", ["a"]),
        ("too many arguments: b", "%s", ["a b"]),
        (NO_OPTION, "%s a", ["--nonsense", "-x"]),
        (NO_VALUE, "%s a", ["--mono=maybe", "--no-mouse=7"]),
    ],
    "dorn-gateway": [
        (LISTEN, "--listen %s", ["''", "127.0.0.1", "127.0.0.1:", "127.0.0.1:abc", "127.0.0.1:65536", "127.0.0.1:-1", "a:80", ":80", "::1:80", "[::1]"]),
        (HOST, "--host %s", ["''", ":5000", "a:0", "a:65536", "a:abc", "a", "[]:5", "[:5", "]:5", "' :5'"]),
        (ORIGIN, "--origin %s", ["''", "a", "ftp://a", "httpx://a", "https://a/", "https://", "'http://a b'", "http://a:99999", "http://a:", "http://u@a"]),
        (NETWORK, "%s", ["--trusted-proxy 300.1.1.1", "--trusted-proxy 1.2.3.4/33", "--metrics-from ''", "--metrics-from ::1/129"]),
        ("is none of derived, fixed", "--source-address %s", ["x", "''", "'derived fixed'"]),
        ("is not a whole number from 1 to 999", "--max-pages %s", ["0", "1000", "nan", "-1", "1e2", "''"]),
        ("is not a whole number from 1 to 100000", "%s", ["--max-websockets 100001", "--max-per-address 0"]),
        ("is none of", "%s", ["--quotes x", "--reading strict", "--log xml"]),
        ("requires", "%s", ["--cert good.json", "--key good.json"]),
        ("does not exist", "%s", ["--cert none", "--local none", "--page none"]),
        (EMPTY, "--menu %s", ["''"]),
        ("too many arguments: extra", "%s", ["extra", "--menu a,b extra"]),
        (MISSING, "%s", ["--listen", "--menu"]),
        (TWICE, "--listen 127.0.0.1:0 --listen %s", ["127.0.0.1:0"]),
        (NO_OPTION, "%s", ["--nonsense", "-x"]),
        (NO_VALUE, "%s", ["--insecure=maybe", "--version=3"]),
    ],
}

programs = {name: os.path.join(sys.argv[1], name) for name in LINES}
programs["dorn-gateway"] = sys.argv[2] if len(sys.argv) > 2 else None
os.chdir(new_folder())
os.mkdir("empty")
with open("good.json", "w") as good:
    good.write('{"Command": "DIALOG", "Name": "good", "Objects": []}')
with open("right.scene", "w") as scene:
    scene.write("a: login x y\n")

wrong = []
for name, program in programs.items():
    for right, line, words in LINES[name] if program else []:
        for word in words:
            command = shlex.split(line % word)
            try:
                done = subprocess.run([program, *command], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE)
            except subprocess.TimeoutExpired:
                fail("%s %s does not end" % (name, command))
            is_told = done.stderr.startswith(name) and done.stderr.count("\n") == 1 and right in done.stderr
            if done.returncode != 2 or done.stdout or not is_told:
                wrong.append("%s %s ends with %d: %r %r, not %r" % (name, command, done.returncode, done.stdout[:200], done.stderr[:400], right))
if os.path.exists("new.scene"):
    wrong.append("a scene is written all the same")
if wrong:
    fail("\n".join(wrong))
