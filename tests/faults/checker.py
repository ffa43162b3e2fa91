"""What must hold when a schedule has been played: what the log says was applied, once and in one order, by every host."""
import re

OFFSET, PRIME, MASK = 0xcbf29ce484222325, 0x100000001b3, (1 << 64) - 1


def chain(digest, text):
    """As the host does it: FNV-1a over each text and a line feed."""
    for byte in text + b"\n":
        digest = (digest ^ byte) * PRIME & MASK
    return digest


def texts(counted):
    """The text that each change carries: that of a station, or of the keeper."""
    for change in counted.changes:
        found = re.findall(rb"(?:s|k)\d+:\d+", change["command"])
        yield found[-1] if found else b"?"


def is_resting(counted):
    """Whether the keeper has been told to propose nothing more."""
    return b"s99:1" in texts(counted)


def check(counted, stations, seen):
    """What is wrong, a line each."""
    wrong = list(seen.wrong)
    applied = list(texts(counted))
    if b"?" in applied:
        wrong.append("%d changes in the log carry nothing that was written" % applied.count(b"?"))
    if not is_resting(counted):
        wrong.append("the last change of all was not applied")
    digest, digests = OFFSET, [OFFSET]
    for text in applied:
        digest = chain(digest, text)
        digests.append(digest)
    for count, shown in sorted(seen.chains.items()):
        if count >= len(digests) or "%016x" % digests[count] != shown:
            wrong.append("behind %d changes hosts show %s, which is not what the log says" % (count, shown))
            break
    for station in stations:
        if seen.latest.get(station) != len(applied):
            wrong.append("%s shows %s changes in the end, the log has %d" % (station.name, seen.latest.get(station), len(applied)))
        wrong += of_station(station, applied)
    return wrong


def of_station(station, applied):
    mark = station.name.encode() + b":"
    numbers = [int(text[len(mark):]) for text in applied if text.startswith(mark)]
    if len(set(numbers)) != len(numbers):
        yield "%s: written once, applied twice: %s" % (station.name, sorted({n for n in numbers if numbers.count(n) > 1})[:9])
    there = set(numbers)
    # In one connection nothing overtakes, and whatever was sent in the last one, the end of which nobody has seen, is there.
    for connection in range(1, station.connection + 1):
        ours = [n for n in numbers if 0 < n <= len(station.writes) and station.writes[n - 1][1] == connection]
        if ours != sorted(ours):
            yield "%s: not in the order in which it was written" % station.name
    refused = max(station.refused, default=0)
    lost = [n for n, (when, connection) in enumerate(station.writes, 1)
            if connection == station.connection and when > refused and n not in there]
    if lost:
        yield "%s: never applied, and nobody said so: %s" % (station.name, lost[:9])
    if station.sessions_lost:
        yield "%s: its session was lost %d times" % (station.name, station.sessions_lost)
