#!/usr/bin/env python3
"""The operator's guide explains every line that the library and the gateway print or log and every
metric that they have, and explains none that is not there."""

import pathlib
import re
import sys

SOURCE = pathlib.Path(sys.argv[1])
GUIDE = SOURCE / "docs/manual/guides/operator.md"
PROTOCOL = SOURCE / "docs/protocol.md"
LITERAL = r'"((?:\\.|[^"\\])*)"'
ESCAPES = {'\\n': '\n', '\\"': '"', '\\\\': '\\', '\\t': '\t'}
FILLED = "[A-Z]+"
failures = []


def fail(text):
    failures.append(text)


def code(path):
    """A source without its comments, which stand on lines of their own or behind two blanks."""
    lines = path.read_text(encoding="utf-8").split("\n")
    return "\n".join(re.sub(r"(^\s*|  )//.*", "", line) for line in lines)


def sources(folder):
    return sorted(SOURCE.glob(folder + "/**/*.cc"))


def unescaped(literal):
    return re.sub(r"\\.", lambda found: ESCAPES.get(found.group(), found.group()), literal)


def arguments(text, begin):
    """What stands between the bracket at `begin` and its partner, cut at the outermost commas."""
    parts, depth, at = [""], 0, begin
    while True:
        literal = re.compile(LITERAL).match(text, at)
        if literal:
            parts[-1] += literal.group()
            at = literal.end()
            continue
        letter = text[at]
        depth += letter in "({["
        depth -= letter in ")}]"
        if depth == 0:
            return [part.strip() for part in parts]
        if letter == "," and depth == 1:
            parts.append("")
        elif at != begin:
            parts[-1] += letter
        at += 1


def text_of(argument):
    """The text of literals that stand side by side, or None for anything else."""
    if not re.fullmatch(rf"(?:{LITERAL}\s*)+", argument):
        return None
    return "".join(unescaped(found) for found in re.findall(LITERAL, argument))


def pattern_of_format(text):
    parts = re.split(r"%[-+ #0]*\d*(?:\.\d+)?(?:hh|h|ll|l|z)?[a-zA-Z]", text.rstrip("\n"))
    return FILLED.join(re.escape(part) for part in parts)


def pattern_of_pieces(pieces):
    texts = [text_of(piece) for piece in pieces]
    return "".join(FILLED if text is None else re.escape(text) for text in texts)


def printed(text):
    """A pattern for each line that a source prints; what is filled in is a word in capitals there."""
    for call in re.finditer(r"\b(PrintLine|PrintOftenLine|LogPrintf|printf|fprintf|puts|fputs)(\()", text):
        given = arguments(text, call.start(2))
        if call.group(1) == "PrintLine":
            if given[0].startswith("{"):
                yield pattern_of_pieces(arguments(given[0], 0))
        elif call.group(1) == "PrintOftenLine":
            if text_of(given[0]) is not None:
                yield pattern_of_pieces(given)
        else:
            first = text_of(given[call.group(1) == "fprintf"]) if given[0] else None
            if first is not None:
                yield pattern_of_format(first)


def section(title):
    """What stands below a heading of the guide, up to the next one as high."""
    inside, level = [], 0
    for line in GUIDE.read_text(encoding="utf-8").split("\n"):
        heading = re.fullmatch(r"(#+) (.*)", line)
        if heading and level and len(heading.group(1)) <= level:
            break
        if level:
            inside.append(line)
        elif heading and heading.group(2) == title:
            level = len(heading.group(1))
    if not level:
        sys.exit(f"{GUIDE} has no section {title}")
    return "\n".join(inside)


def first_cells(text):
    """All that stands in backquotes in the first column of tables."""
    for row in re.findall(r"^\| ((?:`` .*? ``|``.*?``|`.*?`|, )+) \|", text, re.M):
        for double, single in re.findall(r"``(.+?)``|`([^`]+)`", row):
            yield double or single


def check_lines():
    patterns = {}
    for path in sources("dorn"):
        for pattern in printed(code(path)):
            if re.sub(r"\\.|\W", "", pattern.replace(FILLED, "")):
                patterns[pattern] = path.relative_to(SOURCE)
    lines = list(first_cells(section("What a host prints")))
    for pattern, path in patterns.items():
        if not any(re.fullmatch(pattern, line) for line in lines):
            fail(f"{path} prints what the guide does not explain: {pattern}")
    for line in lines:
        if not any(re.fullmatch(pattern, line) for pattern in patterns):
            fail(f"nothing in dorn/ prints: {line}")
    return len(patterns), len(lines)


def check_japanese():
    """Texts in Japanese, whether printed, logged or sent: none is explained nowhere."""
    pages = GUIDE.read_text(encoding="utf-8") + PROTOCOL.read_text(encoding="utf-8")
    count = 0
    for path in sources("dorn"):
        for literal in re.findall(LITERAL, code(path)):
            for run in re.findall(r"[^\x00-\x7f]+", literal):
                count += 1
                if run not in pages:
                    fail(f"{path.relative_to(SOURCE)}: neither {GUIDE.name} nor {PROTOCOL.name} has {run}")
    return count


def check_gateway_log():
    texts = {
        found
        for path in sources("tools/dorn-gateway")
        for found in re.findall(rf"mLog\.(?:Info|Warn|Error)\(\s*{LITERAL}", code(path))
    }
    compare("line of the gateway's log", texts, set(first_cells(section("What the gateway prints"))))
    return len(texts)


def metric_names(path, prefix):
    text = code(SOURCE / path)
    for found in re.finditer(rf"\b(?:Append)?(?:Gauge|Counter|Head)\((?:out, )?(?:{LITERAL}|(kName)),", text):
        name = found.group(1) or re.search(rf"kName\[\] = {LITERAL}", text).group(1)
        yield prefix + name


def check_metrics():
    compare("metric", set(metric_names("dorn/server/Statistics.cc", "dorn_"))
            | set(metric_names("tools/dorn-gateway/Metrics.cc", "dorn_gateway_")),
            {name.split("{")[0] for name in first_cells(section("Metrics")) if name.startswith("dorn_")})
    compare("reason of dorn_closed_total",
            set(re.findall(r'reason=\\"(\w+)\\"', code(SOURCE / "dorn/server/Statistics.cc"))),
            {name for name in first_cells(section("Of a host")) if not name.startswith("dorn_")})


def compare(what, there, told):
    if len(there) < 5:
        fail(f"only {len(there)} times a {what} was found")
    for text in sorted(there - told):
        fail(f"the guide does not explain the {what}: {text}")
    for text in sorted(told - there):
        fail(f"there is no such {what}: {text}")


patterns, lines = check_lines()
japanese = check_japanese()
gateway = check_gateway_log()
check_metrics()
if patterns < 60 or japanese < 25:
    fail(f"only {patterns} lines and {japanese} texts in Japanese were found")
print(f"{patterns} lines of the library, {lines} explained; {gateway} of the gateway")
if failures:
    sys.exit("\n".join(failures))
