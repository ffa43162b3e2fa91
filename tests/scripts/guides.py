#!/usr/bin/env python3
"""guides.py SOURCE DORN-LINT: what the guides say of other files holds there: a dialog that is shown is
a file, its picture is the linter's, a vector is one of the stations', and types, rules and files of
vectors that tables name are those that there are."""

import json
import pathlib
import re
import subprocess
import sys

SOURCE = pathlib.Path(sys.argv[1])
LINT = sys.argv[2]
EXAMPLES = SOURCE / "docs/manual/examples"
failures = []
counts = {"dialog": 0, "preview": 0, "vector": 0}


def check_json(page, block):
    read = json.loads(block)
    if read.get("Command") == "DIALOG":
        counts["dialog"] += 1
        files = EXAMPLES.glob(f"*/resources/{read['Name']}.json")
        if not any(file.read_text(encoding="utf-8") == block for file in files):
            failures.append(f"{page.name}: not the file {read['Name']}.json:\n{block}")
    if "rule" in read:
        counts["vector"] += 1
        if read not in vectors:
            failures.append(f"{page.name}: no vector of the stations:\n{block}")


def check_preview(page, block):
    asked = re.match(r"\$ dorn-lint --preview (\w+) (resources/(\w+)\.json)\n", block)
    if not asked:
        return
    counts["preview"] += 1
    file = next(EXAMPLES.glob("*/" + asked.group(2)))
    picture = subprocess.run([LINT, "--preview", asked.group(1), file], capture_output=True, text=True, check=True)
    if picture.stdout.rstrip("\n") != block[asked.end():].rstrip("\n"):
        failures.append(f"{page.name}: another picture:\n{picture.stdout}")


def names(page, heading):
    """What stands in backquotes in the first column of the table below a heading."""
    below = (SOURCE / "docs" / page).read_text(encoding="utf-8").split(f"\n## {heading}\n")[1].split("\n## ")[0]
    cells = [row.split(" | ")[0] for row in below.split("\n") if row.startswith("| ")]
    return {name for cell in cells for name in re.findall(r"`([^`]+)`", cell)}


def check_names():
    """Each type that there is can be chosen, each rule that is named is one, each file of vectors is told."""
    screens = (SOURCE / "docs/manual/guides/screen-author.md").read_text(encoding="utf-8")
    chosen = screens.split("\n## Types\n")[1].split("\n## ")[0]
    for name in names("vocabulary.md", "Types"):
        if not re.search(rf"\b{name}\b", chosen):
            failures.append(f"screen-author.md: when to take the type {name} is not said")
    rules = set(re.findall(r"^### (.*)$", (SOURCE / "docs/lint.md").read_text(encoding="utf-8"), re.M))
    for name in names("manual/guides/screen-author.md", "What the linter says") - rules:
        failures.append(f"screen-author.md: dorn-lint has no rule {name}")
    files = {path.name for path in (SOURCE / "station/vectors").glob("*.json")}
    if files != names("manual/guides/station-builder.md", "Testing a station"):
        failures.append(f"station-builder.md: the vectors are {sorted(files)}")


vectors = [vector for path in sorted((SOURCE / "station/vectors").glob("*.json"))
           for vector in json.loads(path.read_text(encoding="utf-8"))["vectors"]]
for page in sorted((SOURCE / "docs/manual/guides").glob("*.md")):
    for kind, block in re.findall(r"^```(json|text)\n(.*?)^```$", page.read_text(encoding="utf-8"), re.M | re.S):
        if kind == "json":
            check_json(page, block)
        else:
            check_preview(page, block)
check_names()
if 0 in counts.values():
    failures.append(f"nothing to compare: {counts}")
print(", ".join(f"{count} {what}" for what, count in counts.items()))
if failures:
    sys.exit("\n".join(failures))
