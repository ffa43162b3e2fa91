#!/usr/bin/env python3
"""Makes Markdown tables of the results of both benchmark programs, one for each question.

usage: table.py MICRO_JSON FANOUT_ROWS [BEFORE]
  BEFORE  a file with such tables of an older run; its figures stand beside the new ones
"""
import json
import statistics
import sys


def median_times(path):
    """CPU nanoseconds of each benchmark, the median of its repetitions."""
    times = {}
    for run in json.load(open(path))["benchmarks"]:
        if run["run_type"] == "iteration":
            times.setdefault(run["run_name"], []).append(run["cpu_time"])
    return {name: statistics.median(values) for name, values in times.items()}


def micro_rows(ns):
    def speed(kind):
        ours, peer = ns[f"JsonDorn/{kind}"], ns[f"JsonNlohmann/{kind}"]
        others = ", ".join(
            f"{title} {peer / ns[f'{name}/{kind}']:.2f} x"
            for name, title in (("JsonRapid", "RapidJSON"), ("JsonSimd", "simdjson"), ("JsonFloor", "floor")))
        return f"{peer / ours:.2f} x nlohmann's speed ({ours / 1000:.2f} us; {others})"

    def growth(small, large):
        return f"{ns[large] / ns[small]:.2f} x ({ns[small]:.0f} ns and {ns[large]:.0f} ns)"

    def objects(name, kind):
        ours, peer = ns[f"{name}/{kind}"], ns[f"JsonNlohmann/{kind}"]
        return f"{peer / ours:.2f} x nlohmann's speed ({ours / 1000:.2f} us)"

    yield "document parse, to destruction", "2.0 x nlohmann's speed", "2.5 x", speed(0)
    yield "command parse", "2.9 x nlohmann's speed", "4 x", speed(1)
    yield "document parse into objects, to their destruction", "", "", objects("ParseDialog", 0)
    yield "command parse into objects, to their destruction", "", "", objects("ParseCommand", 1)
    yield ("re-arm a timer among 10,000, against among 100", "3 x", "1.5 x",
           growth("TimerRearm/100", "TimerRearm/10000"))
    yield ("update walk, for each object of a tree of 10,000 with 1 changed", "4 ns", "2 ns",
           f"{ns['ComposeUpdate/10000/1/1'] / 10000:.2f} ns ({ns['ComposeUpdate/10000/1/1'] / 1000:.1f} us; "
           f"a tree of 100: {ns['ComposeUpdate/100/1/1']:.0f} ns)")
    recipient = (ns["ComposeUpdate/100/1/900"] - ns["ComposeUpdate/100/1/1"]) / 899
    beyond = recipient + ns["SendSameText"] - ns["WriteAndConsoleLine"]
    yield ("the 2nd to 900th recipient of one text, beyond write and console line", "0.5 us", "0.2 us",
           f"{beyond / 1000:.3f} us")
    yield ("command with 10,000 names against a tree of 10,000, per name, against 100 in 100", "linear", "",
           f"{ns['ApplyCommand/10000/10000'] / 100 / ns['ApplyCommand/100/100']:.2f} x "
           f"({ns['ApplyCommand/10000/10000'] / 10000:.0f} ns for each name)")
    yield ("pass over 1,000 idle records, over 10", "", "",
           f"{ns['LoopPassOverIdleRecords/1000'] / 1000:.1f} us, "
           f"{ns['LoopPassOverIdleRecords/10'] / 1000:.1f} us")
    yield "console line", "", "", f"{ns['ConsoleLine']:.0f} ns"


def fanout_rows(path):
    for line in open(path, encoding="utf-8"):
        if line.startswith("row\t"):
            yield tuple(line.rstrip("\n").split("\t")[1:5])


# What a row answers is told by how its name begins; the first that fits counts.
QUESTIONS = (
    ("What does one station's command cost?", ("round trip", "command with", "console line")),
    ("What does it cost to tell it to everybody?",
     ("fan-out", "dorn: time", "bare: time", "the 2nd to 900th", "update walk")),
    ("What does a station cost that does nothing, or comes and goes?",
     ("memory", "wake-ups", "connect", "pass over", "re-arm")),
    ("What does reading a text cost?", ("document parse", "command parse")),
    ("And others, in the same run?", ("redis-server", "mosquitto")),
)


def measured_before(path):
    """{what: measured} of the tables in a file."""
    figures = {}
    for line in open(path, encoding="utf-8"):
        cells = [cell.strip() for cell in line.split("|")]
        if len(cells) >= 6 and cells[1] not in ("what", "---"):
            figures[cells[1]] = cells[4]
    return figures


def main():
    rows = list(fanout_rows(sys.argv[2])) + list(micro_rows(median_times(sys.argv[1])))
    before = measured_before(sys.argv[3]) if len(sys.argv) > 3 else {}
    for question, beginnings in QUESTIONS:
        answers = [row for row in rows if row[0].startswith(beginnings)]
        rows = [row for row in rows if row not in answers]
        print(f"### {question}\n\n| what | must | aim | measured | before |\n|---|---|---|---|---|")
        for row in answers:
            print("| " + " | ".join((*row, before.get(row[0], ""))) + " |")
        print()
    if rows:
        sys.exit("table.py: no question for: " + ", ".join(row[0] for row in rows))


main()
