#!/usr/bin/env python3
"""prompt.py DORN-STATION HOST [STOPPED-LINE]: dorn-station for somebody at a terminal."""
import os, re, signal, subprocess, sys, tempfile, termios, time
from hosts import PATIENCE, Host, Saying, fail, text, until
from pseudo_terminal import PseudoTerminal

station, host_program, *stopped_line = sys.argv[1:]
SEQUENCE = re.compile(r"\x1b\[[0-9;]*[A-Za-z]")


class Terminal(PseudoTerminal):
    """dorn-station on a terminal of its own."""

    def __init__(self, port, *arguments, columns=80, **environment):
        self.seen = 0
        names = dict(os.environ, TERM="xterm", NO_COLOR="1")
        names.update(environment)
        names = {key: value for key, value in names.items() if value is not None}
        super().__init__([station, "--port", str(port), *arguments], width=columns, environment=names)

    def shown(self):
        self.read()
        return SEQUENCE.sub("", self.bytes.decode("utf-8", "replace")).replace("\r", "\n")

    def expect(self, words):
        """Behind what was expected before."""
        def comes():
            shown = self.shown()
            at = shown.find(words, self.seen)
            if at >= 0:
                self.seen = at + len(words)
            return at >= 0
        until(comes, lambda: "%r in %r" % (words, self.shown()[self.seen:]))

    def absent(self, words):
        if words in self.shown():
            fail("%r in %r" % (words, self.shown()))

    def do(self, line, *expected):
        self.type(line + "\r")
        for words in expected:
            self.expect(words)

    def end(self, code):
        got = self.exit_code()
        if got != code:
            fail("ended with %d instead of %d: %r" % (got, code, self.shown()[-500:]))
        if self.attributes() != self.before:
            fail("the terminal is not as it was")
        self.read()


def log_in(host, *arguments, **environment):
    terminal = Terminal(host.port, "--id", "user", "--pass", "right", *arguments, **environment)
    terminal.expect("page> ")
    return terminal


def tree_and_changes(host):
    t = log_in(host)
    t.absent('"Pass":"right"')
    t.absent("?f")
    t.do("tree", "page ", "\n  count LABEL Value=0", "\n  choice GROUP Layout=RADIO", "\n    left RADIOBTN Attr=ON")
    t.do("tree choice", "choice GROUP", "\n  left RADIOBTN")
    t.do("tree chioce", "no object chioce in page; do you mean choice?")
    t.do("diff", "nothing has changed")
    t.do("watch count", "count Value=0")
    t.do("touch touch", "count Value: 0 -> 1")
    t.do("set text Value by hand", '"Value":"by hand"')
    t.do("touch right", "page> ")
    t.do("diff", "count Value: 0 -> 1", 'text Value: first -> "by hand"')
    t.do("diff", "nothing has changed")
    t.do("touch add", '"ADD"')
    t.do("diff", "+ item")
    t.do("touch remove", '"DELETE"')
    t.do("diff", "- item")
    t.do("unwatch count", "page> ")
    t.do("unwatch count", "not watched: count")
    t.do("watch", "nothing is watched")
    t.do("enter second", "second> ")
    t.do("tree", "only LABEL Value=here")
    t.do("diff", "nothing has changed")
    t.do("enter nowhere", "nowhere> ")
    t.do("tree", "no dialog nowhere, or nothing in it")
    t.do("quit")
    t.end(0)


def editing(host):
    t = log_in(host, "--timeout", "0.2")
    t.do("say nothing special", "\nnothing special\n")
    # Caret, both ways of erasing, and what a terminal sends for it in pieces.
    for keys in ("say b", "\x1b[D", "\x1b", "[D\x1b[D\x1bO", "D\x1b[H\x1b[F", "\x7f", "ab\x1b[D\x1b[D\x1b[3~"):
        t.type(keys)
        time.sleep(0.02)
    t.do("", "\nb\n")
    t.do("say one two\x17three", "\none three\n")
    t.do("rubbish\x15say kept\x01\x1b[C\x1b[C\x1b[C\x0b well", "\nwell\n")
    t.do("say \u6f22\u5b57\u00e9\x7f!", "\n\u6f22\u5b57!\n")
    t.do("say " + "x" * 200 + "y", "\n" + "x" * 200 + "y\n")
    t.do("\x1b[A\x1b[A\x1b[A", "\nwell\n")
    t.do("say new\x1b[A\x1b[B", "\nnew\n")
    t.do("\x03", "page> ")
    # A mistake is told, and is not the end.
    t.do("clik touch", 'unknown word "clik"')
    t.do("expect nothing", "nothing within 0.2 s contained")
    t.do("say still here", "\nstill here\n")
    t.type("\x04")
    t.end(0)


def completion(host):
    t = log_in(host)
    t.type("tou\tto\t")
    t.expect("touch touch")
    t.do("", '"ActionName":"touch"')
    t.type("set te\tVal\tdone")
    t.expect("set text Value done")
    t.do("", '"Value":"done"')
    t.type("tree l\t")
    t.expect("late  left  locked")
    t.type("oc\t")
    t.do("", "locked GROUP")
    # From a button's Goto.
    t.type("enter s\t")
    t.expect("enter second")
    t.do("", "second> ")
    t.type("\x04")
    t.end(0)


def endings(host):
    t = Terminal(host.port, "--id", "user", "--pass", "right", "--dialog", "second")
    t.expect("second> ")
    t.do("tree", "only LABEL Value=here")
    t.process.send_signal(signal.SIGTERM)
    t.end(-signal.SIGTERM)
    t = log_in(host)
    t.type("half a li")
    t.expect("half a li")
    os.kill(t.process.pid, signal.SIGHUP)
    t.end(-signal.SIGHUP)
    t = log_in(host)
    t.do("wait 100")
    t.expect("wait 100")
    until(lambda: t.attributes()[3] & termios.ISIG, "a terminal that interrupts")
    t.type("\x03")
    t.end(-signal.SIGINT)
    t = log_in(host)
    t.do("touch close", "closed by the server")
    t.end(4)
    # Of a quiet one only what was asked for is seen.
    t = Terminal(host.port, "--quiet", "--id", "user", "--pass", "right")
    t.expect("page> ")
    t.do("watch count", "count Value=")
    t.do("touch touch", "count Value: ")
    t.absent("Command")
    t.do("quit")
    t.end(0)


def hostile(_):
    """Nothing that a host sends makes the terminal do anything."""
    evil = b"\x1b[2J\x1b]0;title\x07 \x9b5n \xc2\x9b6n \x08\x08\x7f\r\n \xe2\x80\xae"
    fence = text('{"Command":"PUTFILE","File":"?f1","Info":"FILE NOT FOUND","Status":"ERROR"}')
    tree = b'{"Name":"' + b'd\x1b[1m","Objects":[{"Name":"e\x1b[5m","Type":"LABEL","Value":"' + evil + b'"}]}'
    head = text('{"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"d.json","Length":%d}' % len(tree))
    file = text(b'{"Command":"PUTFILE","File":"x\x1b[6n","Length":1}') + b"x"
    update = text(b'{"Command":"UPDATE","Objects":[{"Name":"e\x1b[5m","Value":"' + evil + b'2"}]}')
    error = text(b'{"Command":"ERROR","Message":"' + evil + b'","Status":"' + evil + b'"}')
    saying = Saying(b'"d.json"', fence + head + tree + file + update + error + text(b"{" + evil))
    t = Terminal(saying.port, TERM="xterm")
    t.type("enter d\r")
    t.expect("ERROR")
    t.do("tree", "Value=")
    t.do("diff", "d> ")
    t.type("watch \t")
    t.do("", "d> ")
    saying.over.set()
    t.expect("closed by the server")
    t.end(4)
    ours = re.compile(rb"\x1b\[K|\x1b\[\d+C|\r|\n")
    left = ours.sub(b"", t.bytes)
    if any(byte < 0x20 or byte == 0x7F for byte in left) or re.search(rb"\xc2[\x80-\x9f]|\xe2\x80\xae", left):
        fail("control characters: %r" % left)
    left.decode("utf-8")


def narrow(_):
    """Twenty columns, and names of wide characters."""
    name = "\u6c34\u69fd\u306e\u6c34\u4f4d\u8a08\u3068\u6e29\u5ea6\u8a08"
    fence = text('{"Command":"PUTFILE","File":"?f1","Info":"FILE NOT FOUND","Status":"ERROR"}')
    tree = ('{"Name":"%s","Objects":[{"Name":"\u6c34\u6e29","Type":"LABEL"},{"Name":"\u6c34\u4f4d","Type":"LABEL"},'
            '{"Name":"\u6f22\u5b57","Type":"LABEL"}]}' % name).encode()
    head = text('{"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"%s.json","Length":%d}' % (name, len(tree)))
    saying = Saying(b"GETFILE", fence + head + tree)
    t = Terminal(saying.port, "--quiet", columns=20)
    t.do("enter " + name, "\u6c34\u69fd\u2026> ")
    # Their first bytes are equal, and no beginning of them is a character.
    t.type("watch \t")
    t.expect("\n\u6c34\u4f4d  %s  \u6c34\u6e29  \u6f22\u5b57\n" % name)
    t.type("\u6c34\t")
    t.expect("\n\u6c34\u4f4d  %s  \u6c34\u6e29\n" % name)
    t.type("\u6e29\t")
    t.do("", "\u6c34\u6e29")
    t.type("watch \u6f22\t")
    t.expect("watch \u6f22\u5b57")
    t.do("")
    # A row of the terminal is never full: the next character would begin another.
    t.do("say " + "\u6f22" * 30, "\n" + "\u6f22" * 30 + "\n")
    t.read()
    drawn = re.findall(r"\r([^\r\n]*)\x1b\[K\r", t.bytes.decode("utf-8"))
    widths = [sum(2 if "\u3000" < each < "\ua000" else 1 for each in SEQUENCE.sub("", row)) for row in drawn]
    if not widths or max(widths) > 19 or max(widths) < 15:
        fail("%d cells: %r" % (max(widths, default=0), drawn))
    saying.over.set()
    t.end(4)


def huge(_):
    """Of a text as long as it may be a part is shown, and none of it is lost."""
    value = b"x" * 3000000
    fence = text('{"Command":"PUTFILE","File":"?f1","Info":"FILE NOT FOUND","Status":"ERROR"}')
    tree = b'{"Name":"d","Objects":[{"Name":"a","Type":"LABEL","Value":"' + value + b'"}]}'
    head = text('{"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"d.json","Length":%d}' % len(tree))
    update = text(b'{"Command":"UPDATE","Objects":[{"Name":"a","Value":"' + value + b'2"}]}')
    saying = Saying(b"GETFILE", fence + head + tree + update)
    t = Terminal(saying.port)
    t.do("enter d", "UPDATE", "d> ")
    t.do("tree", "a LABEL Value=xxx")
    t.do("watch a", "a Value=xxx")
    t.do("diff", "d> ")
    t.do("expect xxx2", "d> ")
    t.do("say alive", "\nalive\n")
    if len(t.bytes) > 40000:
        fail("%d bytes" % len(t.bytes))
    saying.over.set()
    t.end(4)


def lost(host):
    """A host that is killed, one that stops in the middle of a text, one that never tells what there is."""
    t = log_in(host)
    t.type("half a li")
    t.expect("half a li")
    host.process.kill()
    t.expect("closed by the server")
    t.end(4)
    saying = Saying(b"GETFILE", b'\x02{"Command":"UPDATE","Objects":[{"Name":"a"')
    t = Terminal(saying.port)
    t.do("enter d", "d... ")
    t.do("tree", "the host has not told yet what is in d")
    t.type("half")
    t.expect("half")
    saying.over.set()
    t.expect("\ndorn-station: closed in the middle of a message\n")
    t.end(4)
    t = Terminal(1)
    t.expect("cannot connect")
    t.end(3)


def namesakes(_):
    """Objects of one name, or without any, are told each for itself."""
    fence = text('{"Command":"PUTFILE","File":"?f1","Info":"FILE NOT FOUND","Status":"ERROR"}')
    tree = (b'{"Name":"d","Objects":[{"Name":"a","Type":"LABEL","Value":"1"},{"Name":"a","Type":"EDIT","Value":"2"},'
            b'{"Type":"LABEL","Value":"3"},{"Type":"EDIT","Value":"4"}]}')
    head = text('{"Command":"PUTFILE","Date":"26-01-01 00:00:00","File":"d.json","Length":%d}' % len(tree))
    saying = Saying(b"GETFILE", fence + head + tree)
    t = Terminal(saying.port)
    t.do("enter d", "d> ")
    t.do("tree", "\n  a LABEL Value=1\n", "  a EDIT Value=2\n", "   LABEL Value=3\n", "   EDIT Value=4\n")
    # By its name it is the first one.
    t.do("watch a", "a Value=1")
    saying.over.set()
    t.end(4)


def stopped(host):
    """A terminal that shows nothing more keeps nobody from ending the program."""
    for how in signal.SIGTERM, signal.SIGHUP:
        with tempfile.TemporaryDirectory() as folder:
            flag = os.path.join(folder, "stopped")
            t = log_in(host, DORN_STOPPED_LINE=flag, LD_PRELOAD=" ".join(stopped_line))
            t.do("wait 100")
            until(lambda: t.attributes()[3] & termios.ISIG, "a terminal that can be stopped")
            open(flag, "w").close()
            t.process.send_signal(how)
            try:
                t.end(-how)
            finally:
                t.process.kill()


def colours(host):
    t = log_in(host, NO_COLOR=None)
    t.do("rubbish", "unknown word")
    t.read()
    if b"\x1b[31munknown word" not in t.bytes or b"\x1b[1mpage> \x1b[0m" not in t.bytes:
        fail("no colours: %r" % t.bytes)
    t.do("quit")
    t.end(0)
    t = log_in(host)
    t.do("rubbish", "unknown word")
    if re.search(rb"\x1b\[\d*m", t.bytes):
        fail("colours: %r" % t.bytes)
    t.do("quit")
    t.end(0)


def pipes(host):
    """Without a terminal at both ends all is as ever."""
    done = subprocess.run([station, "--port", str(host.port), "--id", "user", "--pass", "right"],
                          input=b"expect OPEN\ntree\n", capture_output=True, timeout=PATIENCE)
    if done.returncode != 2 or b'unknown word "tree"' not in done.stderr or b"\x1b" in done.stdout:
        fail("a pipe: %r" % done)
    if not done.stdout.startswith(b'-> {"Command":"HELLO","Id":"user","Pass":"right"'):
        fail("a pipe: %r" % done.stdout)
    # The last line needs no end; without any input it listens and ends.
    command = [station, "--port", str(host.port), "--id", "user", "--pass", "right", "--linger", "0.2", "--expect", "OPEN",
               "--timeout", str(PATIENCE)]
    for given, said in ((b"say one\nsay two", b"\ntwo\n"), (b"say one", b"\none\n"), (b"", b"OPEN")):
        done = subprocess.run(command, input=given, capture_output=True, timeout=PATIENCE)
        if done.returncode != 0 or said not in done.stdout:
            fail("%r: %r" % (given, done))
    done = subprocess.run(["sh", "-c", 'exec "$0" "$@" <&-', *command], capture_output=True, timeout=PATIENCE)
    if done.returncode != 0 or b"OPEN" not in done.stdout:
        fail("closed input: %r" % done)
    process = subprocess.Popen([station, "--port", str(host.port), "--id", "user", "--pass", "right"],
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    while b"OPEN" not in process.stdout.readline():
        pass
    process.send_signal(signal.SIGINT)
    process.communicate(timeout=PATIENCE)
    if process.returncode != -signal.SIGINT:
        fail("SIGINT: %d" % process.returncode)
    t = Terminal(host.port, "--id", "user", "--pass", "right", TERM="dumb")
    t.expect('<- {"Command":"OPEN"')
    t.do("quit")
    t.end(0)
    t.absent("page> ")
    if b"\x1b" in t.bytes:
        fail("on a dumb terminal: %r" % t.bytes)
    t = Terminal(host.port, "--id", "user", "--pass", "right", "say argument", "quit")
    t.expect("argument")
    t.end(0)
    t.absent("> \n")


for test in (tree_and_changes, namesakes, editing, completion, endings, stopped, hostile, narrow, huge, lost, colours, pipes):
    host = Host(host_program)
    try:
        test(host)
        print(test.__name__)
    finally:
        host.stop()
