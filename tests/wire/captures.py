"""Writes captures: TCP connections of stations with a host, without a network."""
import struct

HOST_PORT = 5000


def checksum(data):
    if len(data) % 2:
        data += b"\0"
    total = sum(struct.unpack("!%dH" % (len(data) // 2), data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


class Capture:
    """A pcap file of raw IPv4 packets, one a millisecond."""

    def __init__(self, path):
        self.file = open(path, "wb")
        self.file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
        self.packets = 0

    def add(self, packet, kept=None):
        kept = len(packet) if kept is None else kept
        self.packets += 1
        seconds, milliseconds = divmod(self.packets, 1000)
        self.file.write(struct.pack("<IIII", seconds, milliseconds * 1000, kept, len(packet)) + packet[:kept])

    def close(self):
        self.file.close()


class Connection:
    """Segments of one connection. `say` takes bytes and where to cut them."""

    STATION, HOST = 0, 1

    def __init__(self, capture, station_port, host_port=HOST_PORT, shakes_hands=True):
        self.capture = capture
        self.ports = (station_port, host_port)
        self.sent = [1000, 2000]
        if shakes_hands:
            self.segment(self.STATION, b"", flags=0x02)
            self.segment(self.HOST, b"", flags=0x12)
            self.segment(self.STATION, b"")

    def packet(self, side, data, flags, at):
        addresses = (b"\x0a\0\0\1", b"\x0a\0\0\2")
        source, target = addresses[side], addresses[1 - side]
        acknowledged = self.sent[1 - side] if flags & 0x10 else 0
        head = struct.pack("!HHIIBBHHH", self.ports[side], self.ports[1 - side], at, acknowledged, 0x50, flags, 65535, 0, 0)
        pseudo = source + target + struct.pack("!BBH", 0, 6, len(head) + len(data))
        total = checksum(pseudo + head + data)
        head = head[:16] + struct.pack("!H", total) + head[18:]
        ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(head) + len(data), 0, 0x4000, 64, 6, 0, source, target)
        return ip[:10] + struct.pack("!H", checksum(ip)) + ip[12:] + head + data

    def segment(self, side, data, flags=0x18, kept=None, again_at=None):
        """One segment; with `again_at` one that was sent before, from there on."""
        at = self.sent[side] if again_at is None else again_at
        if not data and flags == 0x18:
            flags = 0x10
        self.capture.add(self.packet(side, data, flags, at & 0xFFFFFFFF), kept)
        if again_at is None:
            self.sent[side] += len(data) + (1 if flags & 0x03 else 0)

    def say(self, side, data, cuts=()):
        places = [0, *sorted(cuts), len(data)]
        for start, end in zip(places, places[1:]):
            for piece in range(start, end, 60000):
                self.segment(side, data[piece:min(end, piece + 60000)])


def framed(text):
    return b"\x02" + (text.encode() if isinstance(text, str) else text) + b"\x03"
