#!/usr/bin/env python3
"""dorn-top as a program.

usage: top.py TEST PROGRAM [HOST]
"""
import json, os, signal, socket, subprocess, sys, threading, time
here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(here), "terminal"))
from stations import Host, RawTerminal, Terminal, fail, new_folder, run, until

TEXT = b"""# HELP dorn_stations Connections.
# TYPE dorn_stations gauge
dorn_stations 1234
dorn_stations_logged_in 3
process_cpu_seconds_total 0.5
dorn_messages_in_total 40
dorn_closed_total{reason="no_login"} 7
dorn_closed_total{reason="station"} 0
dorn_longest_pass_microseconds 12345
"""


def framed(text):
    return b"\x02" + text.encode() + b"\x03"


def new_path():
    return os.path.join(new_folder(), "statistics")


def host_with(program, path):
    """A host that serves its statistics."""
    host = Host(program, path)
    until(lambda: os.path.exists(path), "the socket")
    return host


def serve(answer):
    """A socket at which everybody gets what `answer` sends to a peer, or is; the path of the socket."""
    path = new_path()
    listener = socket.socket(socket.AF_UNIX)
    listener.bind(path)
    listener.listen()

    def answer_one(peer):
        try:
            if callable(answer):
                answer(peer)
            else:
                peer.sendall(answer)
        except OSError:
            pass
        peer.close()

    def answer_all():
        while True:
            peer, _ = listener.accept()
            threading.Thread(target=answer_one, args=(peer,), daemon=True).start()
    threading.Thread(target=answer_all, daemon=True).start()
    return path


def endless(peer):
    while True:
        peer.sendall(b"dorn_stations 1\n" * 1000)


def silent(peer):
    peer.recv(1)


def dripping(peer):
    while True:
        peer.sendall(b"#")
        time.sleep(0.001)


def end_of(program, *arguments, **more):
    return subprocess.run([program, *arguments], capture_output=True, stdin=subprocess.DEVNULL, **more)


def said_by(program, *arguments, code=0, **more):
    done = end_of(program, *arguments, **more)
    if done.returncode != code:
        fail("%s: %d, not %d: %s" % (arguments, done.returncode, code, done.stdout + done.stderr))
    return (done.stdout + done.stderr).decode()


def usage(program):
    """Exit codes."""
    for arguments, code, text in (["--help"], 0, "--interval"), ([], 2, "sockets missing"), (["--nonsense", "a"], 2, ""), \
            (["--interval", "-1", "a"], 2, ""), (["--interval", "nan", "a"], 2, "'nan' is not a number from 0 to 86400"), (["a"], 3, "must be a terminal"):
        said = said_by(program, *arguments, code=code)
        if text not in said:
            fail("%s says %s" % (arguments, said))
    terminal = RawTerminal(program, ["a"], term="nobody-knows-this")
    if terminal.exit_code() != 3 or b"the terminal is not known" not in terminal.read():
        fail("on an unknown terminal it ends with %d: %r" % (terminal.process.returncode, terminal.bytes))


def once(program, host_program):
    """A real host with two stations, one of them logged in."""
    path = new_path()
    host = host_with(host_program, path)
    try:
        one, two = (socket.create_connection(("127.0.0.1", host.port)) for _ in range(2))
        one.sendall(framed('{"Command":"HELLO","Id":"a","Pass":"b"}'))

        def told():
            done = end_of(program, "--json", "--interval", "0.05", path)
            row = json.loads(done.stdout)[0]
            now = row.get("now", {})
            wanted = (now.get("stations"), now.get("stations_logged_in"), now.get("messages_in_total")) == (2, 1, 1)
            return row if wanted and done.returncode == 0 and row["rates"]["messages_in_total"] == 0 else None
        row = until(told, "two stations")
        if row["host"] != path or row["closed"]["station"] != 0 or row["now"]["longest_pass_microseconds"] <= 0:
            fail("it tells %s" % row)
        lines = said_by(program, "--once", "--interval", "0", path).split("\n")
        if lines[1].split()[:5] != ["2", "1", "1", "-", "-"] or not lines[1].endswith(path):
            fail("it prints %s" % lines)
        if "accepted 2, refused 0, unreadable 0, closed: none" not in lines[2]:
            fail("it prints %s" % lines)
        two.close()
        until(lambda: "closed: station 1" in said_by(program, "--once", "--interval", "0", path), "the station to be counted as gone")
    finally:
        host.stop()
    said = said_by(program, "--once", "--interval", "0", path, code=1)
    if "No such file" not in said and "Connection refused" not in said:
        fail("the host is gone and it says %s" % said)


def rates(program):
    """What is counted between two looks, a second apart or so."""
    looks = []

    def count(peer):
        looks.append(1)
        peer.sendall(b"dorn_stations 1\ndorn_messages_in_total %d\ndorn_bytes_out_total 5000\n" % (1000 * len(looks)))
    path = serve(count)
    row = json.loads(said_by(program, "--json", "--interval", "0.5", path))[0]
    # Beside other work it is more than half a second.
    if not 100 < row["rates"]["messages_in_total"] <= 2000 or row["rates"]["bytes_out_total"] != 0 or len(looks) != 2:
        fail("after %d looks it tells %s" % (len(looks), row))


def garbage(program):
    """What is no text for Prometheus is told as such, and does not hide the other hosts."""
    good = serve(TEXT)
    for text in b"", b"hello\n", TEXT[:-3], b"dorn_stations nan\n", b"dorn_timers 1\n", b"dorn_stations{ 1\n", \
            bytes(range(256)) * 40, b"x" * 3000000:
        lines = said_by(program, "--once", "--interval", "0", serve(text), good, code=1).split("\n")
        if not lines[1].startswith("says nothing  " if not text else "no statistics  "):
            fail("%r: %s" % (text[:40], lines))
        if lines[2].split()[:3] != ["1.2K", "3", "-"] or "12.3ms" not in lines[2] or "closed: no_login 7" not in lines[3]:
            fail("beside %r: %s" % (text[:40], lines))
    unknown = b'dorn_closed_total{reason="\x1b[2J"} 1\ndorn_\x1b 1\nother\xff line\n'
    said = end_of(program, "--once", "--interval", "0", serve(unknown + TEXT))
    if said.returncode != 0 or b"\x1b" in said.stdout or b"no_login 7" not in said.stdout:
        fail("beside lines that it does not know: %s" % said)


def no_answer(program):
    """Hosts that never end or never begin to answer: all are given up, together."""
    paths = [serve(endless), serve(silent), serve(dripping), serve(TEXT)]
    began = time.monotonic()
    lines = said_by(program, "--once", "--interval", "0", *paths, code=1).split("\n")
    taken = time.monotonic() - began
    reasons = [line.split("  ")[0] for line in lines[1:4]]
    if reasons != ["no statistics", "does not answer", "does not answer"] or not lines[4].startswith("    1.2K"):
        fail("it prints %s" % lines)
    if taken < 4.9:
        fail("it has waited for %.1f s only" % taken)


def screen(program, host_program):
    """The table on a terminal; a host that goes and comes back."""
    path = new_path()
    host = host_with(host_program, path)
    terminal = Terminal(program, "--interval 0.2 " + path)
    try:
        terminal.see("STATIONS LOGIN")
        terminal.see("closed: none")
        host.stop()
        terminal.see_no("closed: none")
        terminal.see("Connection refused   " if os.path.exists(path) else "No such file or directory   ")
        host = host_with(host_program, path)
        terminal.see("closed: none")
        terminal.keys("q")
        if terminal.exit_code() != 0:
            fail("it did not end well")
    finally:
        terminal.close()
        host.stop()


def hostile_screen(program):
    """Beside hosts that send without an end, or nothing, the others go on and keys are heard."""
    looks = []

    def count(peer):
        looks.append(1)
        peer.sendall(b"dorn_stations %d\n" % len(looks))
    paths = [serve(endless), serve(silent), serve(dripping), serve(count), serve(b'dorn_closed_total{reason="\x1b]0;x\x07"} 1\n' + TEXT)]
    terminal = Terminal(program, "--interval 0.1 " + " ".join(paths), width=160)
    try:
        for why in "\nno statistics  ", "\ndoes not answer  ":
            terminal.see(why)
        until(lambda: terminal.screen().count("\ndoes not answer  ") == 2, terminal.screen)
    finally:
        terminal.close()
    before = len(looks)
    terminal = RawTerminal(program, ["--interval", "0.1", *paths], width=160)
    until(lambda: terminal.read() and len(looks) > before + 20, "twenty looks")
    terminal.type(b"q")
    if terminal.exit_code() != 0:
        fail("it ended with %d" % terminal.process.returncode)
    if b"\x1b]0;x" in terminal.bytes:
        fail("a host has reached the terminal")


def resized(program):
    """Any size: what does not fit is left out, and told if it is hosts."""
    paths = [serve(TEXT) for _ in range(12)]
    terminal = Terminal(program, "--interval 0.2 " + " ".join(paths), width=100, height=30)
    try:
        terminal.see(paths[11])
        for width, height in (200, 60), (40, 10), (19, 4), (80, 2), (1, 1), (3, 40), (80, 8):
            terminal.tmux("resize-window", "-x", str(width), "-y", str(height))
            time.sleep(0.3)
        terminal.see("8 more hosts")
        lines = terminal.screen().split("\n")
        if not lines[2].startswith("STATIONS") or not lines[3].startswith("    1.2K") or not lines[7].startswith("8 more"):
            fail("it shows %s" % lines)
        terminal.tmux("resize-window", "-x", "160", "-y", "40")
        terminal.see(paths[11] + "\n  accepted -")
        terminal.see_no("more hosts")
        terminal.keys("F10")
        if terminal.exit_code() != 0:
            fail("it did not end well")
    finally:
        terminal.close()


def signals(program):
    """Signals and keys restore the terminal."""
    for how in signal.SIGTERM, signal.SIGINT, signal.SIGHUP, b"q", b"Q", b"\x03":
        terminal = RawTerminal(program, [serve(TEXT)])
        terminal.see(b"1.2K")
        if terminal.attributes() == terminal.before:
            fail("the test sees nothing: the terminal's modes are as before")
        if isinstance(how, bytes):
            terminal.type(how)
        else:
            terminal.process.send_signal(how)
        if terminal.exit_code() != 0:
            fail("%s: it ended with %s" % (how, terminal.process.returncode))
        until(lambda: b"\x1b[?1049l" in terminal.read(), "the screen to be given back after %s" % how)
        if terminal.attributes() != terminal.before:
            fail("%s: the terminal's modes are not restored" % how)


def hung_up(program):
    """The terminal goes away, with a signal and, where it is not the program's own, without one."""
    for is_its_own in True, False:
        terminal = RawTerminal(program, ["--interval", "3600", serve(TEXT)], is_its_own=is_its_own)
        terminal.see(b"1.2K")
        terminal.hang_up()
        if terminal.exit_code(reads=False) != 0:
            fail("it ended with %s" % terminal.process.returncode)


run({name: thing for name, thing in globals().items() if callable(thing)})
