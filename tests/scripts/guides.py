#!/usr/bin/env python3
"""guides.py SOURCE DORN-LINT: what the guides show is what there is. Each block of C++ is a piece of
a host that is built, each block of JSON is JSON, a dialog shown is a file, its picture the linter's,
and each link leads to a page and to a heading there."""

import json
import pathlib
import re
import subprocess
import sys

SOURCE = pathlib.Path(sys.argv[1])
LINT = sys.argv[2]
EXAMPLES = SOURCE / "docs/manual/examples"
PAGES = [*sorted((SOURCE / "docs/manual/guides").glob("*.md")), SOURCE / "docs/manual/faq.md"]
failures = []
counts = {"cpp": 0, "json": 0, "preview": 0, "link": 0}


def blocks(text):
    """Kind and text of each fenced block."""
    return re.findall(r"^```([^\n]*)\n(.*?)^```$", text, re.M | re.S)


def check_cpp(page, block, hosts):
    counts["cpp"] += 1
    if not any("\n" + block in "\n" + host for host in hosts):
        failures.append(f"{page.name}: in no host of {EXAMPLES.name}:\n{block}")


def check_json(page, block):
    counts["json"] += 1
    try:
        read = json.loads(block)
    except ValueError as error:
        failures.append(f"{page.name}: {error}:\n{block}")
        return
    if read.get("Command") == "DIALOG":
        files = EXAMPLES.glob(f"*/resources/{read['Name']}.json")
        if not any(file.read_text(encoding="utf-8") == block for file in files):
            failures.append(f"{page.name}: not the file {read['Name']}.json:\n{block}")
    if "rule" in read and read not in vectors:
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


def anchors(page):
    """The names that a site gives to the headings of a page."""
    text = re.sub(r"^```.*?^```$", "", page.read_text(encoding="utf-8"), flags=re.M | re.S)
    for heading in re.findall(r"^#+ (.*)$", text, re.M):
        yield re.sub(r"[\s-]+", "-", re.sub(r"[^\w\s-]", "", heading.lower()).strip())


def check_links(page, text):
    for target in re.findall(r"\]\(([^)\s]+)\)", re.sub(r"^```.*?^```$", "", text, flags=re.M | re.S)):
        counts["link"] += 1
        if "://" in target:
            failures.append(f"{page.name}: the manual needs no network: {target}")
            continue
        path, _, anchor = target.partition("#")
        other = (page.parent / path).resolve() if path else page
        if not other.is_file():
            failures.append(f"{page.name}: no such page: {target}")
        elif anchor and anchor not in anchors(other):
            failures.append(f"{page.name}: no such heading: {target}")


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
hosts = [path.read_text(encoding="utf-8") for path in sorted(EXAMPLES.glob("*/host.cc"))]
for page in PAGES:
    text = page.read_text(encoding="utf-8")
    for kind, block in blocks(text):
        if kind == "cpp":
            check_cpp(page, block, hosts)
        elif kind == "json":
            check_json(page, block)
        elif kind == "text":
            check_preview(page, block)
        elif kind not in ("sh", "ini"):
            failures.append(f"{page.name}: a block of which nothing is known: {kind}")
    check_links(page, text)
for page in sorted((SOURCE / "docs").glob("*.md")):
    check_links(page, page.read_text(encoding="utf-8"))
check_names()
for what, least in {"cpp": 15, "json": 6, "preview": 1, "link": 25}.items():
    if counts[what] < least:
        failures.append(f"only {counts[what]} times {what}")
print(", ".join(f"{count} {what}" for what, count in counts.items()))
if failures:
    sys.exit("\n".join(failures))
