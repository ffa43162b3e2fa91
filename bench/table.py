#!/usr/bin/env python3
"""Makes one Markdown table of the results of both benchmark programs.

usage: table.py MICRO_JSON FANOUT_ROWS
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

    yield "document parse, to destruction", "2.0 x nlohmann's speed", "2.5 x", speed(0)
    yield "command parse", "2.9 x nlohmann's speed", "3.5 x", speed(1)
    yield ("re-arm a timer among 10,000, against among 100", "3 x", "1.5 x",
           growth("TimerRearm/100", "TimerRearm/10000"))
    yield ("update with 1 changed object, tree of 10,000 against 100", "2 x", "1.1 x",
           growth("ComposeUpdate/100/1/1", "ComposeUpdate/10000/1/1"))
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


def main():
    print("| what | must | aim | measured |\n|---|---|---|---|")
    for row in list(fanout_rows(sys.argv[2])) + list(micro_rows(median_times(sys.argv[1]))):
        print("| " + " | ".join(row) + " |")


main()
