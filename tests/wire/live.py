#!/usr/bin/env python3
"""What a station and a host really say to each other, as the dissector shows it and as the station prints it.

usage: live.py DISSECTOR HOST DORN-STATION
"""
import os, re, signal, socket, subprocess, sys, threading
here = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [here, os.path.join(os.path.dirname(here), "terminal")]
from captures import Capture, Connection
from dissector import tshark
from stations import Host, fail, new_folder

FILES = ("manual.txt", "help/pumps.png")


class Recorder:
    """Stands between a station and a host, and writes each piece as it comes into a capture."""

    def __init__(self, host_port, path):
        self.capture = Capture(path)
        self.lock = threading.Lock()
        self.server = socket.create_server(("127.0.0.1", 0))
        self.port = self.server.getsockname()[1]
        self.thread = threading.Thread(target=self.record, args=(host_port,), daemon=True)
        self.thread.start()

    def record(self, host_port):
        near, _ = self.server.accept()
        far = socket.create_connection(("127.0.0.1", host_port))
        connection = Connection(self.capture, 40000)
        carriers = [threading.Thread(target=self.carry, args=(connection, *way))
                    for way in ((Connection.STATION, near, far), (Connection.HOST, far, near))]
        for carrier in carriers:
            carrier.start()
        for carrier in carriers:
            carrier.join()

    def carry(self, connection, side, source, target):
        try:
            while data := source.recv(1000):
                with self.lock:
                    connection.say(side, data)
                target.sendall(data)
        except OSError:
            pass
        try:
            target.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass

    def end(self):
        self.thread.join(60)
        self.capture.close()


def shown(dissector, path, field, port):
    """The values of a field in everything that came from a port."""
    rows = tshark(dissector, path, "-Y", "tcp.srcport == %d" % port, "-T", "fields", "-E", "aggregator=/s", "-e", field)
    return rows.split()


def main(dissector, host_program, station):
    folder = new_folder()
    path, saved = os.path.join(folder, "capture.pcap"), os.path.join(folder, "saved")
    os.mkdir(saved)
    host = Host(host_program)
    try:
        recorder = Recorder(host.port, path)
        lines = ["touch pump1_start", "expect RUNNING", *("get " + name for name in FILES), "touch mode_auto", "enter notes",
                 "set note Value 鈴木", "get nothing.txt", "expect nothing.txt"]
        done = subprocess.run([station, "--port", str(recorder.port), "--id", "tanaka", "--pass", "water", "--dialog", "panel",
                               "--timeout", "60", "--save", saved, *lines], capture_output=True)
        if done.returncode != 0:
            fail("the station ends with %d: %s" % (done.returncode, done.stderr.decode()))
        recorder.end()
    finally:
        host.stop(signal.SIGKILL)
    printed = re.split(r"^(?=-> |<- )", done.stdout.decode(), flags=re.M)
    for port, arrow in ((40000, "-> "), (5000, "<- ")):
        texts = [text for text in printed if text.startswith(arrow)]
        for field, pattern in (("dorn.command", r'"Command":"([A-Z]+)"'), ("dorn.name", r'"Name":"([^"]*)"')):
            expected = re.findall(pattern, "".join(texts))
            got = shown(dissector, path, field, port)
            if not expected or got != expected:
                fail("%s from %d:\n%s\nthe station printed\n%s" % (field, port, got, expected))
    files = [bytes.fromhex(text) for text in shown(dissector, path, "dorn.payload", 5000)]
    for name, data in zip(FILES, files):
        source = os.path.join(os.path.dirname(host_program), "resources", name)
        if open(source, "rb").read() != data:
            fail("%s has %d bytes, shown are %d" % (name, os.path.getsize(source), len(data)))
    notes = tshark(dissector, path, "-Y", "_ws.expert.severity >= 0x00400000", "-T", "fields", "-e", "_ws.expert.message")
    if len(files) != len(FILES) or notes:
        fail("%d files, notes: %s" % (len(files), notes))


main(*sys.argv[1:])
