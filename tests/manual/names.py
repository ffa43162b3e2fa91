#!/usr/bin/env python3
"""names.py: types, rules and files of vectors that tables of the guides name are those that there are."""
import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent.parent
failures = []


def names(page, heading):
    """What stands in backquotes in the first column of the table below a heading."""
    below = (root / "docs" / page).read_text(encoding="utf-8").split(f"\n## {heading}\n")[1].split("\n## ")[0]
    cells = [row.split(" | ")[0] for row in below.split("\n") if row.startswith("| ")]
    return {name for cell in cells for name in re.findall(r"`([^`]+)`", cell)}


def check_names():
    """Each type that there is can be chosen, each rule that is named is one, each file of vectors is told."""
    screens = (root / "docs/manual/guides/screen-author.md").read_text(encoding="utf-8")
    chosen = screens.split("\n## Types\n")[1].split("\n## ")[0]
    for name in names("vocabulary.md", "Types"):
        if not re.search(rf"\b{name}\b", chosen):
            failures.append(f"screen-author.md: when to take the type {name} is not said")
    rules = set(re.findall(r"^### (.*)$", (root / "docs/lint.md").read_text(encoding="utf-8"), re.M))
    for name in names("manual/guides/screen-author.md", "What the linter says") - rules:
        failures.append(f"screen-author.md: dorn-lint has no rule {name}")
    files = {path.name for path in (root / "station/vectors").glob("*.json")}
    if files != names("manual/guides/station-builder.md", "Testing a station"):
        failures.append(f"station-builder.md: the vectors are {sorted(files)}")


check_names()
sys.exit("\n".join(failures) or 0)
