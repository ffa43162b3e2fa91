#!/usr/bin/env python3
"""The dissector for Wireshark, by what tshark shows of captures that this writes.

usage: dissector.py TEST DISSECTOR [GOLDEN]
With DORN_WRITE_GOLDEN in the environment the golden file is written anew: look at what has changed.
"""
import os, random, shutil, subprocess, sys
here = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [here, os.path.join(os.path.dirname(here), "support")]
from captures import Capture, Connection, framed
from folders import new_folder

STATION, HOST = Connection.STATION, Connection.HOST
FIELDS = ("dorn.command", "dorn.name", "dorn.attribute", "dorn.session", "dorn.payload.length", "dorn.proxy")

# A file that looks like messages, with bytes that are none of UTF-8.
FILE = b"\x89PNG\r\n\x02\x03\x02{\"Command\":\"UPDATE\",\"Objects\":[]}\x03\xff\xfe\x00 end"

# What a station and the host of a pumping station say to each other, in order.
DIALOGUE = [
    (STATION, b"PROXY TCP4 192.168.1.7 10.0.0.2 51234 5000\r\n"),
    (STATION, framed('{"Command":"HELLO","Id":"tanaka","Pass":"water","Type":"PANEL","ResolutionH":1280,"ResolutionV":800}')),
    (HOST, framed('{"Command":"OPEN","File":"panel.json","FileSource":"SERVER","DialogName":"panel","SessionId":"S-1"}')),
    (STATION, framed('{"Command":"CHANGE","DialogName":"panel","SessionId":"S-1"}')
     + framed('{"Command":"GETFILE","File":"panel.json","Date":""}')),
    (HOST, framed('{"Command":"PUTFILE","Date":"2026-11-22 09:00:00","File":"panel.json","Length":%d}' % len(FILE)) + FILE
     + framed('{"Command":"UPDATE","Objects":[{"Value":"124","Name":"level"}]}')),
    (STATION, framed('{"Command":"CONDITION","ActionName":"pump1_start","ActionType":"CLICK","Objects":[{"Name":"pump1_start"}]}')
     + framed('{"Command":"GETFILE","File":"?f1"}')),
    (HOST, framed("{'Commands':[{ \"Command\":\"UPDATE\", \"Objects\":[{\"State\":\"ON\",\"Value\":\"RUNNING\",\"Name\":\"pump1_state\"},"
                  "{\"Enabled\":\"OFF\",\"Name\":\"pump1_start\"},{\"Value\":\"ON\",\"Name\":\"lamp\"},{\"Data\":,\"Name\":\"alarms\"}]}\n"
                  ",{ \"Command\":\"DELETE\",\"Delete\":\"THIS\",\"Name\":\"operator2\"}\n"
                  ",{ \"Command\":\"ADD\",\"Name\":\"operators\",\"Objects\":[{\"Label\":\"鈴木\",\"Name\":\"operator3\",\"Objects\":"
                  "[{\"Name\":\"inner\",\"Rows\":[[\"a\",],[7,true]],\"Value\":\"say \"stop\", then C:\\new\"}]}]}]}")
     + framed('{"Command":"PUTFILE","File":"?f1","Info":"FILE NOT FOUND","Status":"ERROR"}')),
    (STATION, framed('{"Command":"GETFILE","File":"folder"}')),
    (HOST, framed('{"Command":"PUTFILE","Date":"","File":"folder","Length":4096}')
     + framed('{"Command":"PUTFILE","Date":"","File":"empty.txt","Length":0}')),
    (HOST, framed('{"Command":"KEEPALIVE"}')),
    (STATION, framed('{"Command":"KEEPALIVE"}')),
    (HOST, framed('{"Command":"ERROR","Message":"無効なセッションです。","Status":"InvalidSessionId"}')),
]


def say_dialogue(connection):
    for side, data in DIALOGUE:
        connection.say(side, data)


def fail(why):
    sys.exit("FAILED: " + why)


def tshark(dissector, capture, *arguments):
    """What tshark says, with nothing on standard error but its warning of being root."""
    home = new_folder()
    if not shutil.which("tshark"):
        fail("tshark is missing: script/setup installs it")
    done = subprocess.run(["tshark", "-n", "-X", "lua_script:" + dissector, "-r", capture, *arguments],
                          capture_output=True, env=dict(os.environ, HOME=home, LC_ALL="C.UTF-8", XDG_CONFIG_HOME=home))
    said = [line for line in done.stderr.decode("utf-8", "replace").split("\n") if line and "Running as user" not in line]
    shown = done.stdout.decode("utf-8", "replace")
    if done.returncode != 0 or said:
        fail("tshark ends with %d and says %s" % (done.returncode, said))
    if "Lua Error" in shown:
        fail("the dissector breaks: " + shown[shown.index("Lua Error"):][:500])
    return shown


def capture_file():
    return os.path.join(new_folder(), "capture.pcap")


def rows(dissector, capture, *more):
    """A row of fields for each packet in which there is something."""
    arguments = [word for field in FIELDS for word in ("-e", field)]
    shown = tshark(dissector, capture, "-Y", "dorn", "-T", "fields", "-E", "aggregator=/s", "-e", "tcp.stream", "-e", "tcp.srcport",
                   *arguments, *more)
    return [row.split("\t") for row in shown.rstrip("\n").split("\n")]


def said_by(rows_of_capture):
    """What was said in each stream from each side: the fields' texts, joined over its packets."""
    said = {}
    for stream, port, *fields in rows_of_capture:
        side = said.setdefault((stream, port == "5000"), [[] for _ in FIELDS])
        for texts, text in zip(side, fields):
            if text:
                texts.append(text)
    return {key: [" ".join(texts) for texts in side] for key, side in said.items()}


def compare(shown, golden):
    if "DORN_WRITE_GOLDEN" in os.environ:
        with open(golden, "w") as out:
            out.write(shown)
        return
    expected = open(golden).read()
    if shown != expected:
        fail("expected\n%s\nand got\n%s" % (expected, shown))


def details(dissector, capture):
    """The column and the tree of each packet of stations and hosts."""
    shown = tshark(dissector, capture, "-Y", "dorn", "-P", "-O", "dorn", "-T", "text")
    blocks = ("Frame ", "Raw packet", "Internet Protocol", "Transmission Control", "[")
    lines = [line.rstrip()[:130] for line in shown.split("\n") if line.strip() and not line.startswith(blocks)]
    return "\n".join(lines).replace(" [truncated]", "") + "\n"


def dialogue(dissector, golden):
    """A dialogue as people look at it; one message in a segment or two."""
    path = capture_file()
    capture = Capture(path)
    say_dialogue(Connection(capture, 40001))
    capture.close()
    compare(details(dissector, path), golden)


def splits(dissector):
    """Cut in ten thousand ways, a dialogue tells the same."""
    chance = random.Random(20261122)
    path = capture_file()
    capture = Capture(path)
    cuts = 0
    streams = 0
    while cuts < 10000:
        connection = Connection(capture, 20000 + streams)
        for side, data in together(DIALOGUE) if streams % 2 else DIALOGUE:
            many = 0 if streams == 0 else chance.choice((1, 2, 3, 8))
            places = chance.sample(range(1, len(data)), min(many, len(data) - 1))
            cuts += len(places)
            connection.say(side, data, places)
        streams += 1
    capture.close()
    said = said_by(rows(dissector, path))
    if len(said) != 2 * streams or not all(said["0", is_host][0] for is_host in (False, True)):
        fail("%d sides of %d streams" % (len(said), streams))
    for (stream, is_host), texts in said.items():
        if texts != said["0", is_host]:
            fail("stream %s, host %s: %s, uncut %s" % (stream, is_host, texts, said["0", is_host]))
    print("%d cuts, %d streams, %d packets" % (cuts, streams, capture.packets))


def together(dialogue_parts):
    """The same bytes with neighbours of one side in one write."""
    joined = []
    for side, data in dialogue_parts:
        if joined and joined[-1][0] == side:
            joined[-1] = (side, joined[-1][1] + data)
        else:
            joined.append((side, data))
    return joined


def notes(dissector, golden):
    """What is not as it should be: a note for each."""
    path = capture_file()
    capture = Capture(path)
    said = [
        (HOST, b"lost" + framed("{{{ no text")),
        (HOST, framed('["neither"]') + b"between" + framed('{"Command":"KEEPALIVE"}')),
        (HOST, framed(b'{"Command":"UPDATE","Objects":[{"Name":"\xff\xc0\x80","Value":"a\x00b\nc"},{"Value":"' + b"\xe6\x97\xa5" * 3000 + b'"}]}')),
        (HOST, framed('{"Command":"PUTFILE","File":"all","Length":99999999999}')),
        (HOST, framed('{"Command":"UPDATE","Objects":' + '[{"Name":"n","Objects":' * 60 + "[]" + "}]" * 60 + "}")),
        (HOST, framed('{"Command":"UPDATE","Objects":' + "[" * 1500 + "]" * 1500 + "}")),
        (STATION, framed('{"Command":"X","Text":"' + "x" * 530000 + '"}')),
        (STATION, b"PROXY nothing"),
    ]
    for index, (side, data) in enumerate(said):
        connection = Connection(capture, 41000 + index)
        connection.say(side, data)
    Connection(capture, 42000).segment(HOST, framed('{"Command":"UPDATE","Objects":[]}'), kept=60)
    whole = framed('{"Command":"PUTFILE","File":"a","Length":100}') + b"x" * 100
    Connection(capture, 42001).segment(HOST, whole, kept=130)
    capture.close()
    compare(details(dissector, path), golden)


def garbage(dissector):
    """Any bytes: the dissector holds, and what is whole behind them is seen."""
    chance = random.Random(5000)
    path = capture_file()
    capture = Capture(path)
    words = [data for _, data in DIALOGUE] + [b"\x02", b"\x03", b"\x02{\"Command\":\"PUTFILE\",\"Length\":3}\x03", b"'", b'"', b"[[[", b"\\u"]
    streams = 80
    for stream in range(streams):
        connection = Connection(capture, 20000 + stream, shakes_hands=stream % 3 != 0)
        side = stream % 2
        for _ in range(8):
            data = bytearray(chance.choice(words) if chance.random() < 0.7 else chance.randbytes(chance.randrange(1, 300)))
            for _ in range(chance.randrange(0, 6)):
                place = chance.randrange(len(data))
                data[place:place + chance.randrange(0, 9)] = chance.choice((b"", b"\x02", b"\x03", b"\xff", b'"', b"{", b"]", b","))
                data = data or bytearray(b"x")
            connection.say(side, bytes(data), chance.sample(range(1, len(data)), min(3, len(data) - 1)))
        connection.say(side, b"\x03")
        connection.say(side, framed('{"Command":"MARKER%d"}' % stream))
    capture.close()
    for passes in ((), ("-2",)):
        everything = tshark(dissector, path, "-V", *passes)
        if "Malformed Packet" in everything:
            fail("a packet is called malformed")
    seen = tshark(dissector, path, "-Y", 'dorn.command matches "^MARKER"', "-T", "fields", "-e", "dorn.command")
    seen = set(seen.replace(",", " ").split())
    missing = [stream for stream in range(streams) if "MARKER%d" % stream not in seen]
    from_stations = [stream for stream in missing if stream % 2 == STATION]
    # Behind what announces a file, a host's text is part of the file.
    if from_stations or len(missing) > streams // 20:
        fail("not seen: the markers of %s, of stations %s" % (missing, from_stations))
    print("%d of %d markers seen" % (streams - len(missing), streams))


def order(dissector):
    """Segments that come twice, in another order, or never: the same is told, or what is lost is not made up."""
    path = capture_file()
    capture = Capture(path)
    data = b"".join(data for side, data in DIALOGUE if side == HOST)
    pieces = [data[at:at + 37] for at in range(0, len(data), 37)]
    uncut = Connection(capture, 30000)
    uncut.say(HOST, data)
    twice = Connection(capture, 30001)
    begin = twice.sent[HOST]
    for index, piece in enumerate(pieces):
        twice.segment(HOST, piece)
        if index % 3 == 2:
            twice.segment(HOST, piece, again_at=begin + 37 * index)
        if index % 7 == 6:
            twice.segment(HOST, data[37 * (index - 3):37 * (index + 1)], again_at=begin + 37 * (index - 3))
    swapped = Connection(capture, 30002)
    begin = swapped.sent[HOST]
    for index in range(0, len(pieces) - 1, 2):
        swapped.segment(HOST, pieces[index + 1], again_at=begin + 37 * (index + 1))
        swapped.segment(HOST, pieces[index], again_at=begin + 37 * index)
    if len(pieces) % 2:
        swapped.segment(HOST, pieces[-1], again_at=begin + 37 * (len(pieces) - 1))
    capture.close()
    for passes in ((), ("-2",)):
        said = said_by(rows(dissector, path, "-o", "tcp.reassemble_out_of_order:TRUE", *passes))
        for stream in "012":
            if said.get((stream, True)) != said["0", True]:
                fail("stream %s: %s, uncut %s" % (stream, said.get((stream, True)), said["0", True]))


def settings(dissector):
    """Another port, passwords, and nothing guessed at ports that nobody named."""
    path = capture_file()
    capture = Capture(path)
    for station_port, host_port in (40000, 5000), (40001, 6000):
        say_dialogue(Connection(capture, station_port, host_port))
    capture.close()
    for more, streams in ((), {"0"}), (("-o", "dorn.port:6000"), {"1"}), (("-d", "tcp.port==6000,dorn"), {"0", "1"}):
        seen = {row[0] for row in rows(dissector, path, *more)}
        if seen != streams:
            fail("with %s the streams %s are seen" % (more, seen))
    told = [tshark(dissector, path, "-Y", "dorn.pass", "-T", "fields", "-e", "dorn.pass", *more).strip()
            for more in ((), ("-o", "dorn.passwords:TRUE"))]
    if told != ["(hidden)", "water"]:
        fail("the passwords are %s" % told)


if __name__ == "__main__":
    {name: thing for name, thing in globals().items() if callable(thing)}[sys.argv[1]](*sys.argv[2:])
