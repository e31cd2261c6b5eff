#!/usr/bin/env python3
"""Runs the commands of pages, and compares what they print with what the pages say.

    pages.py TOOL PAGE...

In an indented block, "$ " begins a command; the lines behind it are what it prints, "..." stands for anything. The
shell has damaged.dcm, sound.dcm and archive/ in a folder of its own. A command that is not there, or fails (status 2), is
a fault, unless "..." stands behind it.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TOOL = pathlib.Path(sys.argv[1]).resolve()


def commands_of(page):
    """Each command with the lines that follow it."""
    found, lines = [], None
    for line in page.read_text("utf-8").splitlines():
        if line.startswith("    $ "):
            lines = []
            found.append((line[6:], lines))
        elif line.startswith("    ") and lines is not None:
            lines.append(line[4:])
        else:
            lines = None
    return found


def run(command, folder):
    return subprocess.run(["bash", "-c", command], cwd=folder, capture_output=True, text=True, check=False, timeout=300,
                          env={**os.environ, "PATH": f"{TOOL.parent}:{os.environ['PATH']}"})


faults = 0
for name in sys.argv[2:]:
    folder = pathlib.Path(tempfile.mkdtemp(prefix="pages_"))
    shutil.copy(ROOT / "examples/damaged.dcm", folder)
    run("dicom-mend mend -q damaged.dcm sound.dcm; mkdir archive; cp damaged.dcm archive/1.dcm; "
        "dicom-mend complete -q --set Modality=OT --set SOPInstanceUID=1.2.3 sound.dcm archive/2.dcm", folder)
    commands = commands_of(pathlib.Path(name))
    assert commands, f"{name} has no commands"
    for command, expected in commands:
        done = run(command, folder)
        printed = (done.stdout + done.stderr).splitlines()
        is_open = expected[-1:] == ["..."]
        wanted = expected[:-1] if is_open else expected
        is_right = printed[:len(wanted)] == wanted if is_open else printed == wanted
        if not is_right or done.returncode > (2 if is_open else 1):
            faults += 1
            print(f"{name}: $ {command}\nstatus {done.returncode}, printed:\n" + "\n".join(printed[:30]))
    shutil.rmtree(folder)
sys.exit(1 if faults else 0)
