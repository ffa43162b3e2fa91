#!/usr/bin/env python3
"""dorn-terminal as a program.

usage: program.py TEST PROGRAM [HOST [STATION]]
"""
import contextlib, os, random, re, signal, subprocess, sys, time
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from stations import Host, Proxy, RawTerminal, Terminal, WildHost, fail, new_folder, run, until

LEAVES = b"\x1b[?1049l"  # Back from the screen that xterm keeps for such programs.


@contextlib.contextmanager
def typing(program, host_program, text):
    """A host, and a guest at it who has begun to type this into the text of his own screen."""
    host = Host(host_program)
    terminal = Terminal(program, "--id guest --pass guest --dialog mine 127.0.0.1:%d" % host.port)
    try:
        terminal.see("Characters")
        terminal.keys("Tab")
        terminal.type(text)
        yield host, terminal
    finally:
        terminal.close()
        host.stop()


def usage(program):
    """Exit codes without a terminal."""
    for arguments, code, text in (["--help"], 0, "HOST:PORT"), ([], 2, ""), (["--nonsense", "a"], 2, ""), \
            (["a:b:c"], 2, "not HOST:PORT"), ([" "], 2, "not HOST:PORT"), (["127.0.0.1:1"], 3, "must be a terminal"):
        done = subprocess.run([program, *arguments], capture_output=True, stdin=subprocess.DEVNULL)
        said = (done.stdout + done.stderr).decode()
        if done.returncode != code or text not in said:
            fail("%s: %d and %s" % (arguments, done.returncode, said))
    unknown = RawTerminal(program, ["127.0.0.1:1"], term="no-such-terminal")
    if unknown.exit_code() != 3:
        fail("an unknown terminal is taken")


def too_small(program, host_program):
    """Where nothing has room it says so as far as that has, and a larger terminal brings the dialog."""
    host = Host(host_program)
    try:
        for width, height, said in (10, 3, "Terminal\ntoo small\n"), (19, 5, "Terminal too small\n"), (80, 4, "Terminal too small\n"), \
                (9, 2, "Terminal\ntoo small"), (3, 2, "Te"), (1, 1, ""):
            terminal = Terminal(program, "--id guest --pass guest 127.0.0.1:%d" % host.port, width, height)
            try:
                until(lambda: terminal.screen().startswith(said), lambda: "%r in %r" % (said, terminal.screen()))
                terminal.keys("Tab", "Enter", "F2", "Down", "Escape", "F1", "Escape")
                terminal.tmux("resize-window", "-x", "80", "-y", "24")
                terminal.see(" Gallery ")
            finally:
                terminal.close()
    finally:
        host.stop()


def log_in(program, host_program):
    """The form, a wrong password, nobody who listens."""
    host = Host(host_program)
    terminal = Terminal(program, "127.0.0.1:%d" % host.port)
    try:
        terminal.see("Password")
        terminal.type("guest")
        terminal.keys("Enter")
        terminal.type("wrong")
        terminal.keys("Enter")
        terminal.see("Wrong user or password")
        terminal.type("guest")
        terminal.keys("Enter")
        terminal.see("Captions")
        host.stop()
        terminal.see("Connection to the host lost; trying again")
        terminal.keys("F8")
        terminal.see("Password")
        terminal.keys("BTab")
        terminal.keys("Enter")
        terminal.type("guest")
        terminal.keys("Enter")
        terminal.see("The host cannot be reached")
        terminal.keys("F10")
        assert terminal.exit_code() == 0
    finally:
        terminal.close()


def comes_back(program, host_program):
    """The line is cut and comes back: same screen, and what was typed is there."""
    host = Host(host_program)
    proxy = Proxy(host.port)
    terminal = Terminal(program, "--id guest --pass guest 127.0.0.1:%d" % proxy.port)
    try:
        terminal.see("Captions")
        terminal.type("/your")
        terminal.keys("Enter")
        terminal.type("half")
        terminal.see("half")
        proxy.cut()
        terminal.see("Connection to the host lost; trying again for")
        terminal.type(" typed")
        terminal.see("half typed")
        proxy.mend()
        terminal.see_no("Connection to the host lost")
        terminal.see("+ Your name      half typed")
        terminal.keys("Enter")
        terminal.see("  Your name      half typed")
    finally:
        terminal.close()
        host.stop()


def host_killed(program, host_program):
    """A host that is killed has forgotten the session: the form, and then the same dialog with the text."""
    with typing(program, host_program, "unsent") as (host, terminal):
        terminal.see("unsent")
        host.stop(signal.SIGKILL)
        terminal.see("Connection to the host lost; trying again for")
        host.start(host.port)
        terminal.see("The session has ended")
        terminal.type("guest")
        terminal.keys("Enter")
        terminal.see("+ Text")
        terminal.see("unsent")
        terminal.keys("Tab")
        terminal.keys("Enter")
        terminal.see("Characters                         6")


def value_at_host(station, port, name):
    """What the host has, by a station of its own."""
    folder = new_folder()
    subprocess.run([station, "--port", str(port), "--id", "guest", "--pass", "guest", "--dialog", "gallery", "--save", folder,
                    "get gallery.json", "expect [file"], capture_output=True, check=True)
    tree = open(os.path.join(folder, "gallery.json"), encoding="utf-8").read()
    return re.search(r'"Value":"([^"]*)"[^{}]*"Name":"%s"|"Name":"%s"[^{}]*"Value":"([^"]*)"' % (name, name), tree)


def racing(program, host_program, station):
    """Two stations set one object as fast as they can; both end with the host's value."""
    host = Host(host_program)
    terminal = Terminal(program, "--id guest --pass guest 127.0.0.1:%d" % host.port)
    try:
        terminal.see("Captions")
        terminal.type("/your")
        terminal.keys("Enter")
        terminal.see("Your name")
        for turn in range(5):
            lines = ["set name Value other%d-%d" % (turn, i) for i in range(60)]
            other = subprocess.Popen([station, "--port", str(host.port), "--id", "guest", "--pass", "guest", "--dialog",
                                      "gallery", "--quiet", "--linger", "0.2", *lines])
            for i in range(10):
                terminal.type("mine%d-%d" % (turn, i))
                terminal.keys("Enter")
            other.wait()

            def same():
                held = value_at_host(station, host.port, "name")
                value = next(group for group in held.groups() if group is not None)
                return re.search(r"  Your name +%s +│" % re.escape(value), terminal.screen())
            until(same, lambda: "the host's value %s in\n%s" % (value_at_host(station, host.port, "name"), terminal.screen()))
    finally:
        terminal.close()
        host.stop()


def hostile(program):
    """Nothing of what a host says reaches the terminal raw."""
    evil = "\x1b]0;EVIL\x07\x1b[2Jx\x9b31m\x90q\r\x08\x0e\u202e\u200b"
    labels = ",".join('{"Name":"n%d","Type":"LABEL","Value":"v%d"}' % (i, i) for i in range(10000))
    tree = ('{"Name":"wild","Title":"%s","Objects":[{"Name":"shown","Type":"EDIT","Label":"%s","Value":"%s"},'
            '{"Name":"%s","Type":"BUTTON","Label":"Go"},{"Name":"t","Type":"GRID","Columns":["%s"],"Rows":[["%s"]]},%s]}'
            % (evil, evil, evil + "y" * 2000000, evil, evil, evil, labels)).encode() + b""
    tree = tree.replace(b"n9999", b"n\xff\xfe\xc0999")
    after = b"garbage \x1b[31m" + b"\x02{{{[[[\x03" + b'\x02{"Command":"UPDATE","Objects":[{"Name":"shown","Value":"\x1b[5mEVIL\xff"}]}\x03'
    chance = random.Random(7)
    after += bytes(chance.randrange(256) for _ in range(100000)).replace(b"\x02", b"")
    host = WildHost(tree, after)
    terminal = RawTerminal(program, ["--id", "a", "--pass", "b", "127.0.0.1:%d" % host.port])
    terminal.see(b"online")
    terminal.see(b"[5mEVIL")
    for key in b"\t", b"\x1bOB", b"\x1b[6~" * 50, b"/", b"n123", b"\r":
        terminal.type(key)
        time.sleep(0.1)
        terminal.read()
    terminal.type(b"\x1b[21~")
    if terminal.exit_code() != 0:
        fail("it ended badly")
    for bad in b"\x1b]0;EVIL", b"\x1b[5mEVIL", b"\x9b31m", b"\xff", "\u202e".encode(), b"\x0e":
        if bad in terminal.bytes:
            fail("%r reached the terminal" % bad)
    terminal.bytes.decode("utf-8")


def signals(program, host_program):
    """SIGTERM and SIGINT restore the terminal; so does q."""
    host = Host(host_program)
    for how in signal.SIGTERM, signal.SIGINT, signal.SIGHUP, b"q":
        terminal = RawTerminal(program, ["--id", "guest", "--pass", "guest", "127.0.0.1:%d" % host.port])
        terminal.see(b"Captions")
        if terminal.attributes() == terminal.before:
            fail("the test sees nothing: the terminal's modes are as before")
        if how == b"q":
            terminal.type(how)
        else:
            terminal.process.send_signal(how)
        if terminal.exit_code() != 0:
            fail("%s: it ended with %s" % (how, terminal.process.returncode))
        until(lambda: LEAVES in terminal.read(), "the screen to be given back after %s" % how)
        if terminal.attributes() != terminal.before:
            fail("%s: the terminal's modes are not restored" % how)
    host.stop()


def busy(host, program):
    """A terminal of a thousand numbers that change all the time."""
    terminal = RawTerminal(program, ["--id", "guest", "--pass", "guest", "--dialog", "many", "127.0.0.1:%d" % host.port])
    terminal.see(b"Updates a second")
    terminal.type(b"\t\x1b[F\x1bOF")
    terminal.see(b"2000")
    return terminal


def hung_up(program, host_program):
    """The terminal is closed in the middle of an update."""
    host = Host(host_program)
    terminal = busy(host, program)
    terminal.hang_up()
    if terminal.exit_code(reads=False) != 0:
        fail("it ended with %s" % terminal.process.returncode)
    host.stop()


def stopped(program, host_program):
    """Nobody reads what the terminal is told, and SIGTERM ends it all the same."""
    host = Host(host_program)
    terminal = busy(host, program)
    time.sleep(1)
    terminal.process.send_signal(signal.SIGTERM)
    if terminal.exit_code(reads=False) != 0:
        fail("it ended with %s" % terminal.process.returncode)
    if terminal.attributes() != terminal.before:
        fail("the terminal's modes are not restored")
    host.stop()


def resized(program, host_program):
    host = Host(host_program)
    terminal = Terminal(program, "--id guest --pass guest 127.0.0.1:%d" % host.port)
    try:
        terminal.see("Captions")
        for width, height in (200, 60), (132, 43), (19, 10), (80, 4), (1, 1), (40, 12), (81, 25), (80, 24):
            terminal.tmux("resize-window", "-x", str(width), "-y", str(height))
            if width >= 20 and height >= 5:
                boxes = width // 40

                def fits():
                    lines = terminal.screen().split("\n")
                    return lines[1].count("┌") == boxes and "F1Help" in lines[height - 1]
                until(fits, lambda: "%d boxes in\n%s" % (boxes, terminal.screen()))
        terminal.see("Captions")
    finally:
        terminal.close()
        host.stop()


def ascii_only(program, host_program):
    """Another locale than UTF-8: every byte is ASCII, and the boxes still stand."""
    host = Host(host_program)
    terminal = RawTerminal(program, ["--id", "yamada", "--pass", "yama", "127.0.0.1:%d" % host.port], locale="C")
    terminal.see(b"is normal")
    terminal.see(b"+-")
    terminal.type(b"q")
    if terminal.exit_code() != 0:
        fail("it ended badly")
    if not terminal.bytes.isascii():
        fail("not ASCII: %r" % terminal.bytes)
    host.stop()


def colours(program, host_program):
    """Where the terminal has them and nobody asks for none; marks tell the states in any case."""
    host = Host(host_program)
    for term, options, no_color, has in (("xterm-256color", [], "", True), ("xterm-256color", ["--mono"], "", False),
                                         ("xterm-256color", [], "1", False), ("vt100", [], "", False)):
        at = "127.0.0.1:%d" % host.port
        os.environ["NO_COLOR"] = no_color
        terminal = RawTerminal(program, ["--id", "guest", "--pass", "guest", *options, at], term=term)
        for seen in b"is bad", b"!!", b"??":
            terminal.see(seen)
        terminal.type(b"q")
        terminal.exit_code()
        if bool(re.search(rb"\x1b\[[0-9;]*[34][0-7](;|m)", terminal.read())) != has:
            fail("%s %s NO_COLOR=%s: %s colours" % (term, options, no_color, "no" if has else "has"))
    host.stop()


def unknown_keys(program, host_program):
    """Sequences that the terminal's description does not know are no text; arrows are arrows in both forms."""
    with typing(program, host_program, "ac") as (_, terminal):
        for sequence in b"\x1b[27;5;13~", b"\x1b[D", b"\x1b[200~", b"\x1b[1;99Q", b"\x1bx":
            terminal.tmux("send-keys", "-H", *("%02x" % byte for byte in sequence))
        terminal.type("b")
        terminal.keys("Enter")
        terminal.see("Text           abc  ")
        terminal.see("Characters                         3")


def mouse(program, host_program):
    """A click acts where it points."""
    host = Host(host_program)
    terminal = RawTerminal(program, ["--id", "tanaka", "--pass", "water", "127.0.0.1:%d" % host.port])
    terminal.see(b"All off")
    # The line below the two pumps, in the way of xterm: a button pressed and let go at column, line.
    terminal.type(b"\x1b[<0;8;15M\x1b[<0;8;15m")
    terminal.see(b"Stop all pumps?")
    terminal.type(b"y")
    terminal.see(b"answers in")
    terminal.type(b"\x1b[21~")
    assert terminal.exit_code() == 0
    host.stop()


run({name: value for name, value in globals().items() if callable(value)})
