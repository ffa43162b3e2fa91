#!/usr/bin/env python3
"""commands.py PROGRAMS STEP1 STEP6 [GATEWAY]: runs blocks of commands of the manual, with the programs and hosts of this tree.

Of each the text is what stands on the page, but for the port, which the system chooses, and what the page leaves to its
reader. A block that changes is run as it has become; one that is gone fails.
"""
import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import subprocess
import sys
import time
import urllib.request

sys.dont_write_bytecode = True
here = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(here.parent / "support"))
from folders import new_folder  # noqa: E402
from programs import PATIENCE, Host, fail, until  # noqa: E402

programs, step1, step6 = sys.argv[1:4]
gateway = sys.argv[4] if len(sys.argv) > 4 else None
manual = here.parent.parent / "docs" / "manual"
work = pathlib.Path(new_folder())
surroundings = dict(os.environ, PATH=programs + os.pathsep + os.environ["PATH"], TERM="xterm", LC_ALL="C.UTF-8", LINES="30", COLUMNS="90")


def block(page, begins):
    """The block of commands that begins so."""
    blocks = re.findall(r"^```sh\n(.*?)^```$", (manual / page).read_text(encoding="utf-8"), re.M | re.S)
    found = [each for each in blocks if each.startswith(begins)]
    if len(found) != 1:
        fail("%s has %d blocks that begin with %r" % (page, len(found), begins))
    return found[0]


def put(commands, replaced):
    for word, value in replaced.items():
        if word not in commands:
            fail("%r is not in %r" % (word, commands))
        commands = commands.replace(word, value)
    return commands


def run(commands, folder):
    done = subprocess.run(["bash", "-eu", "-c", commands], cwd=folder, env=surroundings, stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=PATIENCE)
    if done.returncode != 0:
        fail("%r ends with %d: %s" % (commands, done.returncode, done.stdout + done.stderr))
    return done.stdout


def run_at_a_terminal(commands, shown, typed):
    """Types when it shows that, and wants it to end in order."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.execvpe("bash", ["bash", "-eu", "-c", commands], surroundings)
    seen, end = b"", time.monotonic() + PATIENCE
    while True:
        if select.select([terminal], [], [], 0.1)[0]:
            try:
                seen += os.read(terminal, 65536)
            except OSError:
                break
        if typed and shown in seen:
            os.write(terminal, typed)
            typed = b""
        if time.monotonic() > end:
            os.kill(pid, 9)
            fail("%r does not end, and shows %r" % (commands, seen))
    if os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]) != 0 or typed:
        fail("%r: %r" % (commands, seen))


def health(at):
    try:
        return urllib.request.urlopen("http://%s/healthz" % at, timeout=PATIENCE).read().strip()
    except OSError as error:
        return str(error).encode()


def run_gateway(commands, host):
    """As a service of this name does, at a port of its own; it finds the host, and ends in order."""
    at_once = "exec " + put(commands, {"dorn-gateway": shlex.quote(gateway), "127.0.0.1:8080": "127.0.0.1:0", "127.0.0.1:5000": host.at})
    process = subprocess.Popen(["bash", "-eu", "-c", at_once], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
    try:
        at = process.stdout.readline().partition("http://")[2].strip("/\n")
        until(lambda: health(at) == b'{"host":"up"}', lambda: "the gateway to find the host: %r" % health(at))
        process.terminate()
        if process.wait(PATIENCE) != 0:
            fail("the gateway ends with %d" % process.returncode)
    finally:
        process.kill()


shutil.copytree(manual / "tutorial/step1", work / "step1")
shown = run(block("tutorial/1-greeting.md", "dorn-lint --preview"), work / "step1")
if "ready for bottles" not in shown:
    fail("the preview of step 1: " + shown)

with Host(step1) as host:
    run_at_a_terminal(put(block("tutorial/1-greeting.md", "dorn-terminal"), {"127.0.0.1:5000": host.at}), b"ready for bottles", b"q")
    said = run(put(block("guides/operator.md", "dorn-station"),
                   {"--port 5000": "--port %d" % host.port, "USER": "tanaka", "PASSWORD": "fill", "panel": "filler"}).rstrip() +
               " --expect 'ready for bottles' --timeout %d" % (PATIENCE / 2), work)
    if "ready for bottles" not in said:
        fail("the operator's station was told %r" % said)

    if gateway:
        run_gateway(block("tutorial/1-greeting.md", "dorn-gateway"), host)

# A host that is laid where its unit looks for it; nothing of this machine is touched.
folder = work / "laid"
shutil.copytree(manual / "tutorial/step1/resources", folder / "resources")
shutil.copy(step1, folder / "host")
asked = run(put(block("guides/operator.md", "install -D"), {"/srv": str(work / "srv"), "systemctl": "echo asked"}), folder)
unit = (here.parent.parent / "debian" / "dorn-tools.dorn-host@.service").read_text(encoding="utf-8")
if asked != "asked enable --now dorn-host@panel\n" or "/srv/dorn/%i" not in unit:
    fail("the unit of a host: %r" % asked)
laid = sorted(str(each.relative_to(work / "srv")) for each in (work / "srv").rglob("*") if each.is_file())
if laid != ["dorn/panel/host", "dorn/panel/resources/filler.json"] or not os.access(work / "srv/dorn/panel/host", os.X_OK):
    fail("the operator lays %s" % laid)

with Host(step6) as host:
    run(block("tutorial/6-files.md", "dorn-station").rstrip() + " --port %d --expect '[file manual.txt' --timeout %d" % (host.port, PATIENCE / 2), work)
    if not (work / "manual.txt").read_bytes():
        fail("nothing is in the file of step 6")
