#!/usr/bin/env python3
"""dorn-load against hosts that do not do as they should.

usage: hostile.py TEST PROGRAM [HOST]

No test looks at how fast anything was: counts, kinds of errors and exit codes alone.
"""
import re, resource, select, signal, socket, sys, threading

sys.dont_write_bytecode = True
from support import (GUEST, PATIENCE, SLOWLY, SOON, SOON_OUT, FakeHost, Host, Listener, await_ramp, await_second, begin, check,
                     check_seconds, end, load, load_json, run)


def during(program, what, *arguments):
    """The report of a run at whose host `what` happens in the middle."""
    with Host(program) as host:
        process = begin("--stations", "4", "--rate", "20", "--for", "10m", "--ramp", "1ms", *arguments, *GUEST, host.at)
        await_ramp(process)
        await_second(process)
        what(host)
        code, out, err = end(process)
    check("ended early: the host is gone: " in out, out + err)
    check(code == 1, "ends with %d: %s" % (code, out))
    return out


def host_vanishes(program):
    out = during(program, lambda host: host.process.kill(), "--timeout", "5s")
    for text in ("refused connects", "closed by the host", " not sent", "Connection refused"):
        check(text in out, "no %r in\n%s" % (text, out))


def slow_host():
    """A host that takes every click and confirms none: none is left out of the percentiles."""
    code, report, err = load_json("--stations", "3", "--rate", "10", "--for", "1s", *SOON_OUT, "--ramp", "1ms", "--mix",
                                  "click:1", FakeHost(on_click=lambda peer: None).at)
    result = report["result"]
    check(code == 1 and result["actions"] == 10, report)
    check(result["errors"]["time_outs"] == 10 and result["errors"]["sum"] == 10, result)
    check_seconds(result)
    check(result["seconds"] == 1 and result["counted_s"] >= SOON, result)
    check(result["confirm"]["count"] == 10 and result["confirm"]["p50_ms"] >= SOON * 1000, result)


def closing_host():
    """A host that closes whoever clicks."""
    code, report, err = load_json("--stations", "3", "--rate", "10", "--for", "1s", "--ramp", "1ms", "--mix", "click:1",
                                  FakeHost(on_click=lambda peer: peer.shutdown(socket.SHUT_RDWR)).at)
    errors = report["result"]["errors"]
    check(code == 1 and errors["closed_by_host"] >= 3 and errors["unanswered"] >= 3, report)
    check(errors["not_sent"] + report["result"]["actions"] == 10, report)


def babbling_host():
    """A host that answers clicks with what is no text, and then as it should not."""
    code, report, err = load_json("--stations", "3", "--rate", "10", "--for", "1s", *SOON_OUT, "--ramp", "1ms", "--mix",
                                  "click:1", FakeHost(on_click=lambda peer: peer.sendall(b"\x02nonsense\x03")).at)
    errors = report["result"]["errors"]
    check(code == 1 and errors["unreadable"] == 10 and errors["time_outs"] == 10, report)


def refused_log_in(program):
    with Host(program) as host:
        code, report, err = load_json("--id", "guest", "--pass", "wrong", host.at)
    check(code == 3 and "the log-in was refused; name a user with --id and --pass" in err, err)
    check(report["errors"]["refused_log_ins"] == 1 and report["errors"]["sum"] == 1, report)


def some_refused():
    """Of four users the host knows three."""
    code, report, err = load_json("--stations", "4", "--rate", "10", "--for", "1s", "--ramp", "1ms", "--id", "user{n}", "--mix",
                                  "click:1", *SLOWLY, FakeHost(refused="user3").at)
    check(code == 1 and report["ramp"]["stations_in"] == 3, report)
    check(report["ramp"]["errors"]["refused_log_ins"] == 1 and report["ramp"]["errors"]["sum"] == 1, report)
    check(report["result"]["confirm"]["count"] == 10 and report["result"]["errors"]["sum"] == 0, report)


def nobody_listens():
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        at = "127.0.0.1:%d" % free.getsockname()[1]
        code, report, err = load_json(at)
    check(code == 3 and "Connection refused" in err, err)
    check(report["errors"]["refused_connects"] == 1, report)


def never_answers():
    code, report, err = load_json(*SOON_OUT, Listener().at)
    check(code == 3 and "the host does not answer" in err, err)
    check(report["errors"]["time_outs"] == 1, report)


def garbage():
    """Whatever it says, there is an end."""
    for answer in (b"\x02nonsense\x03" * 10, b"\x00\xff\x03\x02", b"\x02{\"Command\":\"OPEN\"}\x03",
                   b"\x02{\"Command\":\"PUTFILE\",\"File\":\"a\",\"Length\":99999999999}\x03"):
        code, report, err = load_json("--timeout", "500ms", Listener(answer).at)
        check(code == 3 and report["failed"], err)


class TurningHost(FakeHost):
    """Serves whoever comes first as it should, and does `turned` with the log-ins of all others."""

    def __init__(self, turned):
        self.turned = turned
        self.log_ins = 0
        super().__init__()

    def take(self, peer, text):
        if b'"HELLO"' in text:
            self.log_ins += 1
            if self.log_ins > 1:
                return self.turned(peer)
        super().take(peer, text)


def bad_for_stations():
    """Only the station that goes ahead is served."""
    file = b'\x02{"Command":"PUTFILE","File":"a","Length":99999999999}\x03'
    for turned, kind in ((lambda peer: None, "time_outs"), (lambda peer: peer.sendall(b"\x02nonsense\x03"), "unreadable"),
                         (lambda peer: peer.sendall(file), "unreadable"),
                         (lambda peer: peer.shutdown(socket.SHUT_RDWR), "closed_by_host")):
        code, report, err = load_json("--stations", "3", *SOON_OUT, "--ramp", "1ms", TurningHost(turned).at)
        check(code == 3 and "no station got in: " in err and "result" not in report, err)
        check(report["ramp"]["errors"][kind] >= 3, "no %s in %s" % (kind, report["ramp"]["errors"]))


class DyingHost(FakeHost):
    """Lets one in after the other, and is gone when the fourth wants to come."""

    def __init__(self):
        self.log_ins = 0
        self.entered = set()
        self.trees = set()
        self.changed = threading.Condition()
        super().__init__()

    def take(self, peer, text):
        if b'"HELLO"' in text:
            with self.changed:
                self.log_ins += 1
                number = self.log_ins
                self.changed.wait_for(lambda: len(self.entered) >= min(number, 4) - 1)
            if number >= 4:
                return self.die()
        super().take(peer, text)

    def die(self):
        # A thread that accepts would keep a socket that is only closed.
        for gone in [self.socket] + self.peers:
            try:
                gone.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        self.socket.close()

    def send(self, peer, text, payload=b""):
        super().send(peer, text, payload)
        with self.changed:
            if payload:
                self.trees.add(peer)
            elif peer in self.trees:
                self.entered.add(peer)
            self.changed.notify_all()


def dies_in_the_ramp():
    code, report, err = load_json("--stations", "20", "--timeout", "%ds" % (PATIENCE / 6), "--ramp", "1ms", DyingHost().at)
    check(code == 1 and "the host is gone: " in report["ended_early"] and "result" not in report, "%d %s" % (code, report))
    ramp = report["ramp"]
    check(ramp["log_in"]["count"] == 2 and ramp["stations_in"] == 0, ramp)
    check(ramp["errors"]["closed_by_host"] >= 2 and ramp["errors"]["refused_connects"] >= 1, ramp["errors"])


def closes_at_once():
    class Closing(Listener):
        def accept(self):
            while True:
                self.socket.accept()[0].close()

    code, report, err = load_json(Closing().at)
    check(code == 3 and "the host closed the connection" in err or " broke: " in err, err)
    check(report["errors"]["closed_by_host"] == 1 and report["errors"]["sum"] == 1, report)


def escape_sequences():
    """What a host says is shown, and not obeyed by the terminal."""
    class Painting(FakeHost):
        def send(self, peer, text, payload=b""):
            super().send(peer, text.replace(b'"DialogName":"d"', b'"DialogName":"d\\u001b]0;gone\\u0007\\u009b2J"'), payload)

    at = Painting().at
    common = ["--stations", "1", "--rate", "10", "--for", "100ms", "--ramp", "1ms", *SLOWLY, at]
    code, out, err = load(*common)
    check(code == 0 and "1 stations enter d\\u001b]0;gone\\u0007\\u009b2J; of " in out, out + err)
    check_printable(out + err)
    code, out, err = load("--mix", "edit:1", *common)
    check(code == 3 and "nothing in d\\u001b]0;gone\\u0007\\u009b2J is edited" in err, out + err)
    check_printable(out + err)


def check_printable(text):
    check(all(letter.isprintable() or letter == "\n" for letter in text), repr(text))


def descriptors():
    """It takes what it may have, and says so when that does not suffice."""
    def limited(hard):
        return lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, hard))

    at = FakeHost().at
    arguments = ["--stations", "100", "--rate", "10", "--for", "1s", "--ramp", "100ms", "--mix", "click:1", *SLOWLY, at]
    code, out, err = end(begin(*arguments, preexec_fn=limited(100)))
    check(code == 2 and not out, out)
    check("100 need 132 descriptors, and 100 are allowed; raise it by ulimit -n, or ask for fewer" in err, err)
    code, out, err = end(begin(*arguments, preexec_fn=limited(132)))
    check(code == 0 and "\n100 of 100 stations are in after " in out, out + err)


def stopped_ahead():
    silent = Listener()
    process = begin("--timeout", "10m", silent.at)
    silent.await_peer()
    process.send_signal(signal.SIGINT)
    code, out, err = end(process)
    check(code == 3 and err == "dorn-load: stopped\n", "%d %s %s" % (code, out, err))


def stopped_in_the_ramp():
    process = begin("--stations", "2", "--ramp", "20m", *SLOWLY, FakeHost().at)
    while await_second(process)[1] != "1":
        pass
    process.send_signal(signal.SIGTERM)
    code, out, err = end(process)
    check(code == 0 and "1 of 2 stations are in after " in out, out + err)
    check(out.endswith("ended early: stopped by a signal\n") and " actions in " not in out, out)


def stopped_twice():
    """One signal waits for the answers that are missing, two do not."""
    clicked = threading.Event()
    process = begin("--stations", "1", "--rate", "1", "--for", "10m", "--timeout", "10m", "--mix", "click:1",
                    FakeHost(on_click=lambda peer: clicked.set()).at)
    check(clicked.wait(timeout=60), "no click came")
    process.send_signal(signal.SIGINT)
    process.send_signal(signal.SIGTERM)
    code, out, err = end(process)
    check(code == 1 and " cut off before the answer\n" in out, "%d %s %s" % (code, out, err))
    check(out.endswith("ended early: stopped by a signal\n"), out)


def takes_nothing():
    """A host that reads nothing any more."""
    process = begin("--stations", "1", "--rate", "100000", "--for", "10m", "--timeout", "10m", "--mix", "click:1",
                    FakeHost(on_click=lambda peer: threading.Event().wait()).at)
    while await_second(process)[-1] == "0":
        pass
    process.send_signal(signal.SIGINT)
    process.send_signal(signal.SIGTERM)
    code, out, err = end(process)
    check(code == 1 and " not taken by the host" in out, "%d %s %s" % (code, out, err))


def too_fast():
    """At a rate that nobody can keep it takes answers, tells of each second and heeds signals."""
    process = begin("--stations", "3", "--rate", "1000000", "--for", "10m", "--timeout", "10m", "--mix", "click:1",
                    FakeHost().at)
    await_ramp(process)
    await_second(process)
    await_second(process)
    process.send_signal(signal.SIGINT)
    process.send_signal(signal.SIGTERM)
    code, out, err = end(process)
    check(out.endswith("ended early: stopped by a signal\n"), "%d %s %s" % (code, out, err))
    check(re.search("^received +[1-9]", out, re.M) and re.search("^confirm +[1-9]", out, re.M), out)


def too_much():
    """What could not be sent in time is not left out."""
    code, report, err = load_json("--stations", "3", "--rate", "1000000", "--for", "2s", "--timeout", "4s", "--ramp", "1ms",
                                  "--mix", "click:1", FakeHost().at)
    result = report["result"]
    check(code == 1 and result["errors"]["not_sent"] > 0, report)
    check(result["actions"] + result["errors"]["not_sent"] == 2000000, result)


class LateHost(FakeHost):
    """Answers no click, and all other questions a second after the first clicks came: too late for them."""

    def __init__(self):
        self.clicks = 0
        self.asked = 0
        self.is_early = False
        super().__init__(on_click=self.count)

    def count(self, peer):
        self.clicks += 1

    def take(self, peer, text):
        if self.clicks and b'"CONDITION"' not in text:
            self.asked += 1
            self.is_early |= bool(select.select([peer], [], [], 1)[0])
        super().take(peer, text)


def late_between_trials():
    """A trial does not begin with what the one before has left."""
    host = LateHost()
    code, report, err = load_json("--stations", "1", "--rate", "0.2", "--for", "500ms", "--until", "p50=10ms", *SOON_OUT,
                                  "--mix", "click:1", host.at)
    check(code == 1 and [each["rate"] for each in report["trials"]] == [0.2, 0.1], report)
    check(host.clicks == 2 and host.asked >= 1, "%d clicks, asked %d times" % (host.clicks, host.asked))
    check(not host.is_early, "the second trial begins before the host has answered")


run(globals())
