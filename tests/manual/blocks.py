#!/usr/bin/env python3
"""blocks.py BUILD PROGRAMS [PAGES]: every code block of docs/manual is checked by what its language allows.

cpp          stands so in a source that this tree compiles; on a page of the tutorial, in that step
cmake        stands so in a CMakeLists.txt of this tree
scene        is a scene that dorn-station can read; on a page of the tutorial, one of that step
json         stands so in a resource file, or is a dialog in which dorn-lint finds nothing, or other JSON;
             on a page of the tutorial, in a resource of that step. On a page of the guides a dialog is a
             whole file of an example, and a vector one of the stations'
text         on a page of the tutorial: what dorn-lint --preview prints of a resource of that step
text         elsewhere: below a line that asks dorn-lint for a preview, what it prints; all other words are
             not looked at
sh           quick-start.md: run by the test of the packages. Elsewhere each block stands in
             commands.txt with how it is known to be right; options exist in the program's --help
ini          stands in commands.txt likewise

Anything else fails: a block that nobody checks is wrong sooner or later.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

build, programs = (pathlib.Path(each).resolve() for each in sys.argv[1:3])
here = pathlib.Path(__file__).resolve().parent
root = here.parent.parent
manual = root / "docs" / "manual"
pages = pathlib.Path(sys.argv[3]).resolve() if len(sys.argv) > 3 else manual
failures = []


def run(*command):
    done = subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=60)
    return done.returncode, done.stdout + done.stderr


def blocks(page):
    """Language, number of the first line, and text of each fenced block."""
    fence = language = None
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        mark = re.match(r"( *)(```+)(.*)$", line)
        if fence is None and mark:
            fence, language, first, lines = mark[2], mark[3].strip(), number + 1, []
        elif fence is not None and mark and mark[2] == fence and not mark[3].strip():
            yield language, first, "\n".join(lines) + "\n"
            fence = None
        elif fence is not None:
            lines.append(line)
    if fence is not None:
        yield "that does not end", first, ""


def compiled():
    """The sources of this tree that are compiled, and the headers beside them."""
    units = json.loads((build / "compile_commands.json").read_text())
    sources = {pathlib.Path(unit["file"]) for unit in units}
    sources = {each for each in sources if root in each.parents and build not in each.parents}
    return sources | {header for each in sources for header in each.parent.glob("*.h")}


def texts_of(files):
    return {file: file.read_text(encoding="utf-8") for file in sorted(files)}


def excerpt(text, texts, below):
    """Whether the text is whole lines of one of the files below a folder."""
    return any(below in file.parents and ("\n" + whole).find("\n" + text) >= 0
               for file, whole in texts.items())


def step_of(page):
    number = re.match(r"([1-6])-", page.name)
    return manual / "tutorial" / ("step" + number[1]) if page.parent.name == "tutorial" and number else None


def cpp(page, text):
    below = step_of(page) or root
    if not excerpt(text, sources, below):
        return f"stands in no source below {below.relative_to(root) if below != root else 'this tree'} that is compiled"


def cmake(page, text):
    if not excerpt(text, cmakes, step_of(page) or root):
        return "stands in no CMakeLists.txt"


def scene(page, text):
    if step_of(page):
        return None if excerpt(text, scenes, step_of(page)) else "stands in no scene of this step"
    with tempfile.TemporaryDirectory() as work:
        file = pathlib.Path(work) / "block.scene"
        file.write_text(text, encoding="utf-8")
        code, said = run(programs / "dorn-station", "run", "--check", "--start", "true", file)
    return None if code == 0 else said


def json_of_guide(whole, text):
    if "rule" in whole:
        counts["vector"] += 1
        return None if whole in vectors else "is no vector of the stations"
    counts["dialog"] += 1
    files = manual.glob(f"examples/*/resources/{whole.get('Name')}.json")
    return None if any(resources[file] == text for file in files) else f"is not the file {whole.get('Name')}.json"


def json_block(page, text):
    if step_of(page):
        return None if excerpt(text, resources, step_of(page)) else "stands in no resource of this step"
    try:
        whole = json.loads(text)
    except ValueError as wrong:
        return None if excerpt(text, resources, root) else f"is no JSON, and stands in no resource file: {wrong}"
    is_dialog = isinstance(whole, dict) and whole.get("Command") == "DIALOG"
    if page.parent.name == "guides" and (is_dialog or "rule" in whole):
        return json_of_guide(whole, text)
    if is_dialog and not excerpt(text, resources, root):
        with tempfile.TemporaryDirectory() as work:
            file = pathlib.Path(work) / f"{whole.get('Name')}.json"
            file.write_text(text, encoding="utf-8")
            code, said = run(programs / "dorn-lint", file)
        return None if code == 0 else said


def preview(file, size):
    _, shown = run(programs / "dorn-lint", "--preview", size, file)
    return "\n".join(line.rstrip() for line in shown.rstrip().split("\n")) + "\n"


def text_block(page, text):
    if step_of(page):
        files = step_of(page).glob("resources/*.json")
        return None if any(preview(file, "80x24") == text for file in files) else "is no preview of a resource of this step"
    asked = re.match(r"\$ dorn-lint --preview (\w+) (resources/\w+\.json)\n", text)
    if not asked:
        return None
    counts["preview"] += 1
    files = manual.glob("examples/*/" + asked[2])
    shown = [preview(file, asked[1]) for file in files]
    return None if text[asked.end():] in shown else "".join(["another picture:\n", *shown])


def help_of(program, words):
    path = programs / program
    subcommand = ["run"] if program == "dorn-station" and words[:1] == ["run"] else []
    return run(path, *subcommand, "--help")[1] if path.exists() else None


def options(text):
    for line in text.splitlines():
        words = line.split("#")[0].split()
        for place, word in enumerate(words):
            if not re.fullmatch(r"(.*/)?dorn-(station|terminal|gateway|lint|load|top)", word):
                continue
            said = help_of(word.split("/")[-1], words[place + 1:])
            for option in re.findall(r"(?<= )--[a-z-]+", " " + " ".join(words[place + 1:])):
                if said is not None and not re.search(re.escape(option) + r"\b", said):
                    return f"{word} knows no {option}"
    return None


def commands(page, text):
    if page.name != "quick-start.md":
        entry = (str(page.relative_to(pages)), text.splitlines()[0].strip())
        if entry not in known:
            return f"is not in commands.txt: {entry[0]} | {entry[1]}"
        used.add(entry)
    return options(text)


def read_known():
    entries = {}
    for number, line in enumerate((here / "commands.txt").read_text(encoding="utf-8").splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        page, first, why = ([part.strip() for part in line.split(" :: ")] + ["", ""])[:3]
        if not why:
            failures.append(f"commands.txt:{number}: write PAGE :: FIRST LINE :: HOW IT IS KNOWN TO BE RIGHT")
        entries[page, first] = number
    return entries


checks = {"cpp": cpp, "cmake": cmake, "scene": scene, "json": json_block, "text": text_block,
          "sh": commands, "ini": commands}
sources = texts_of(compiled())
cmakes = texts_of(root.glob("[!b]*/**/CMakeLists.txt"))
scenes = texts_of(manual.rglob("*.scene"))
resources = texts_of([*root.glob("examples/*/resources/**/*.json"), *manual.rglob("resources/*.json")])
vectors = [vector for file in sorted((root / "station/vectors").glob("*.json"))
           for vector in json.loads(file.read_text(encoding="utf-8"))["vectors"]]
known, used = read_known(), set()
counts = {"dialog": 0, "preview": 0, "vector": 0}

count = 0
for page in sorted(pages.rglob("*.md")):
    for language, first, text in blocks(page):
        count += 1
        # What stands behind the language is for other tests.
        check = checks.get(language.split(" ")[0])
        wrong = check(page, text) if check else f"nobody knows how to check a block {language or 'without a language'}"
        if wrong:
            failures.append(f"{page.relative_to(pages)}:{first}: {wrong}")
for page, first in known.keys() - used:
    failures.append(f"commands.txt:{known[page, first]}: there is no such block any more")
if 0 in counts.values():
    failures.append(f"nothing of the guides to compare: {counts}")
if count < 60:
    failures.append(f"only {count} blocks were found")
print("\n".join(failures) or f"{count} blocks hold")
sys.exit(1 if failures else 0)
