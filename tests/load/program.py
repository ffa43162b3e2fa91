#!/usr/bin/env python3
"""dorn-load as a program, against hosts that do as they should.

usage: program.py TEST PROGRAM [HOST]

No test looks at how fast anything was: counts, kinds of errors and exit codes alone.
"""
import re, signal, sys

sys.dont_write_bytecode = True
from support import GUEST, SLOWLY, Host, await_ramp, await_second, begin, check, check_seconds, end, load, load_json, run


def usage():
    code, out, err = load("--help")
    check(code == 0 and "HOST:PORT" in out and "Exit codes" in out and not err, out + err)
    at = "127.0.0.1:1"
    for arguments, said in (
            ([], "HOST:PORT is missing; such as 127.0.0.1:5000"), (["a:b:c"], "such as 127.0.0.1:5000"), (["127.0.0.1:0"], "such as 127.0.0.1:5000"),
            ([at, "--nonsense"], "--nonsense"), ([at, "--stations", "0"], "1 to 60000"), ([at, "--stations", "x"], "--stations"),
            ([at, "--rate", "0"], "--rate"), ([at, "--rate", "fast"], "--rate"), ([at, "--rate", "nan"], "'nan' is not a number from 0.1 to 1000000"),
            ([at, "--mix", "look:3"], "such as click:70,edit:20,enter:10"),
            ([at, "--for", "1h"], "--for: '1h' is no duration; such as"), ([at, "--ramp", "-1s"], "--ramp"),
            ([at, "--timeout", "0"], "--timeout: '0' is no duration; such as"),
            ([at, "--until", "p98=1s"], "such as p99=50ms"), ([at, "--until", "p99"], "such as p99=50ms"),
            ([at, "--pid", "-3"], "--pid"), ([at, "--pid", "2147483646"], "there is no process 2147483646"),
            ([at, "--seed", "x"], "--seed"), ([at, at], at)):
        code, out, err = load(*arguments)
        check(code == 2 and said in out + err, "%s: %d %s" % (arguments, code, out + err))


def check_clean(code, report, actions):
    check(code == 0, "ends with %d: %s" % (code, report))
    check(report["ramp"]["stations_in"] == report["stations"], "not all are in: %s" % report["ramp"])
    check(report["ramp"]["log_in"]["count"] == report["stations"], "log-ins: %s" % report["ramp"])
    check_seconds(report["ramp"])
    result = report["result"]
    check_seconds(result)
    check(result["actions"] == actions and result["confirm"]["count"] == actions, "actions: %s" % result)
    check(result["errors"]["sum"] == 0, "errors: %s" % result["errors"])
    confirm = result["confirm"]
    check(0 < confirm["p50_ms"] <= confirm["p90_ms"] <= confirm["p99_ms"] <= confirm["worst_ms"], confirm)
    return result


def gallery(program):
    """Two seconds of twenty stations, as people see it."""
    with Host(program) as host:
        code, out, err = load("--stations", "20", "--rate", "50", "--for", "2s", "--ramp", "100ms", "--pid",
                              str(host.process.pid), *SLOWLY, *GUEST, host.at)
    check(code == 0, out + err)
    for text in ("20 stations enter gallery; of 100 actions 70 clicks on", "20 of 20 stations are in after",
                 "100 actions in 2.0 s, 50.0 a second, of 50.0 asked for", "\nconfirm         100 ", "\nupdate ", "\nreceived ", "\nsent ",
                 "% of a processor", "\nerrors    none\n", "us of processor time for each message"):
        check(text in out, "no %r in\n%s" % (text, out))


def pumphouse(program):
    """Clicks alone: the panel has nothing to edit, which the default mix bears and an own one does not."""
    with Host(program) as host:
        common = ["--id", "tanaka", "--pass", "water", "--stations", "5", "--rate", "20", "--for", "1s", *SLOWLY, host.at]
        code, report, _ = load_json(*common)
        check_clean(code, report, 20)
        check(report["dialog"] == "panel", report["dialog"])
        code, report, err = load_json("--mix", "edit:1", *common)
        check(code == 3 and "nothing in panel is edited" in err and "result" not in report, err)
        code, report, err = load_json("--dialog", "nowhere", *common)
        check(code == 3 and "no dialog 'nowhere'" in err, err)


def only(program):
    """Twenty edits of one text, each of which at most four others are told, and nothing else."""
    with Host(program) as host:
        common = ["--stations", "5", "--rate", "10", "--for", "2s", *SLOWLY, *GUEST]
        code, report, _ = load_json(*common, "--mix", "edit:1", "--only", "name", host.at)
        result = check_clean(code, report, 20)
        # A change that the next one overwrites before the host tells of it is told to nobody.
        check(0 < result["update"]["count"] <= 80, result["update"])
        for names, missing in ("name,nowhere", "nowhere"), ("fixed", "fixed"):
            code, report, err = load_json(*common, "--only", names, host.at)
            check(code == 3 and "nothing in gallery called %s can be touched" % missing in err, err)


def json_report(program):
    with Host(program) as host:
        code, report, err = load_json("--stations", "20", "--rate", "50", "--for", "2s", "--ramp", "100ms", "--pid",
                                      str(host.process.pid), "--seed", "3", *SLOWLY, *GUEST, host.at)
        result = check_clean(code, report, 100)
    check(err == "", err)
    check(result["traffic"]["messages_out"] >= 100 and result["traffic"]["messages_in"] >= 200, result["traffic"])
    check(result["traffic"]["bytes_in"] > result["traffic"]["messages_in"] * 10, result["traffic"])
    check(result["host"]["resident_mib"] > 0 and result["host"]["cpu_percent"] >= 0, result["host"])
    check(result["update"]["count"] > 0 and result["own_cpu_us_for_each_message"] > 0, result)
    seconds = result["each_second"]
    check(seconds[-1]["end_s"] >= 2 and sum(each["actions"] for each in seconds) == 100, seconds)
    check(result["seconds"] == 2.0 and result["rate"] == 50.0, result)


def until_found(program):
    """Within 30 s all is confirmed at any rate that a test can reach, so the search goes up until it is stopped."""
    with Host(program) as host:
        process = begin("--stations", "3", "--rate", "5", "--for", "300ms", "--until", "p99=30s", "--ramp", "1ms", "--mix",
                        "click:1", "--only", "plain", *SLOWLY, *GUEST, host.at)
        tried = []
        while len(tried) < 3:
            line = process.stdout.readline()
            check(line, "ended")
            tried += re.findall("^trial at ([0-9.]+) a second: p99 .* ms: holds$", line)
        process.send_signal(signal.SIGINT)
        code, out, err = end(process)
    check(tried == ["5.0", "10.0", "20.0"], tried)
    tried += re.findall("^trial at ([0-9.]+) a second: p99 .* ms: holds$", out, re.M)
    check(code == 0 and "highest rate that holds: %s a second\n" % tried[-1] in out, "%d %s" % (code, out))


def until_none(program):
    with Host(program) as host:
        code, report, err = load_json("--stations", "3", "--rate", "10", "--for", "200ms", "--until", "p50=1us", "--ramp",
                                      "1ms", *SLOWLY, *GUEST, host.at)
    check(code == 1 and report["highest_rate_that_holds"] is None and report["lowest_rate_that_fails"] == 0.1, report)
    check([each["rate"] for each in report["trials"]][:3] == [10, 5, 2.5], report)
    check(not any(each["holds"] for each in report["trials"]), report)


def stopped_by_signal(program):
    with Host(program) as host:
        process = begin("--stations", "3", "--rate", "10", "--for", "10m", "--ramp", "1ms", *SLOWLY, *GUEST, host.at)
        await_ramp(process)
        await_second(process)
        process.send_signal(signal.SIGINT)
        code, out, err = end(process)
    check(code == 0 and "\nconfirm" in out and out.endswith("ended early: stopped by a signal\n"), out + err)


run({"json": json_report, "until": until_found, **globals()})
