#!/usr/bin/env python3
"""Runs the commands of pages, and compares what they print with what the pages say.

    pages.py TOOL PAGE...

In an indented block
  - "$ " begins a command; the lines behind it are what it prints, "..." stands for anything. A command that fails
    (status 2) is a fault, unless "..." stands behind it;
  - "dicom-mend ..." alone is a command with what it is for behind three blanks, and has to succeed;
  - a block that begins with "# NAME.txt" is written to that file.
The shell has the files below in a folder of its own. Options, scripts, their stages and presets that pages name have to
be there, and fences may only hold what other tests run: code_of_pages.py, faults_page, and code_of_pages.test.mjs.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TOOL = pathlib.Path(sys.argv[1]).resolve()
MADE = """
dicom-mend mend -q damaged.dcm sound.dcm
mkdir archive ct examples
cp damaged.dcm examples
cp damaged.dcm archive/1.dcm
dicom-mend complete -q --set Modality=OT --set SOPInstanceUID=1.2.3 sound.dcm archive/2.dcm
for number in 1 2 3 4; do
    modality=$([ $number = 4 ] && echo MR || echo CT)
    dicom-mend complete -q --set Modality=$modality --set SOPInstanceUID=1.2.3.$number --set StudyInstanceUID=1.2.4 \
        --set SeriesInstanceUID=1.2.5 sound.dcm ct/$number.dcm
done
cp damaged.dcm old.dcm
cp sound.dcm image.dcm
"""


def run(command, folder):
    """Both streams in one, as on a terminal."""
    return subprocess.run(["bash", "-c", command], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
                          timeout=300, env={**os.environ, "PATH": f"{TOOL.parent}:{os.environ['PATH']}", "COLUMNS": "200"})


def blocks_of(page):
    """The indented blocks, each as its lines."""
    found, lines = [], None
    for line in page.read_text("utf-8").splitlines():
        if not line.startswith("    "):
            lines = None
        elif lines is None:
            lines = [line[4:]]
            found.append(lines)
        else:
            lines.append(line[4:])
    return found


def steps_of(page):
    """Files to be written (with None), and commands, each with the lines that follow it and the highest status that is well."""
    for lines in blocks_of(page):
        title = re.fullmatch(r"# ([\w/.-]+\.txt)", lines[0])
        if title:
            yield title[1], lines, None
            continue
        command = None
        for line in lines + ["$ "]:
            if line.startswith("$ "):
                if command:
                    yield command, expected, 2 if expected[-1:] == ["..."] else 1
                command, expected = line[2:], []
            elif command:
                expected.append(line)
            elif line.startswith("dicom-mend "):
                words = re.split(r"   +", line)[0]
                # Commands for one file each may name the same output.
                yield re.sub(r"^dicom-mend (mend|complete|undo)(?! --dry-run)", r"\g<0> --force", words), ["..."], 1


def is_right(done, expected, highest):
    printed = done.stdout.splitlines()
    if expected[-1:] == ["..."]:
        expected, printed = expected[:-1], printed[:len(expected) - 1]
    return printed == expected and done.returncode <= highest


def strange_options(page):
    """Options of the tool that it does not have."""
    for line in page.read_text("utf-8").splitlines():
        if not re.search(OTHERS, line):
            yield from (word for word in re.findall(r"(?<![\w-])--[a-z][a-z-]+", line) if word not in OPTIONS)


def strange_builds(page):
    """Scripts and presets that the tree does not have, and stages that scripts/test does not take."""
    text = page.read_text("utf-8")
    for script in re.findall(r"(?<![\w/-])scripts/([a-z_]+)", text):
        if not (ROOT / "scripts" / script).exists():
            yield f"scripts/{script}"
    for preset in re.findall(r"--preset ([a-z]+)", text):
        if preset not in PRESETS:
            yield f"--preset {preset}"
    for stages in re.findall(r"scripts/test((?: [a-z]+)+)`", text):
        yield from (f"scripts/test {stage}" for stage in stages.split() if stage not in STAGES | PRESETS)


def strange_fences(page):
    """Beginnings of blocks that no test runs."""
    fences = re.findall(r"^```.*$", page.read_text("utf-8"), re.M)
    return [fence for fence in fences[::2] if fence[3:] not in ("c", "cpp", "python", "js", "fault")]


# Options of other programs stand in lines that name these.
OTHERS = r"cmake|ctest|pip |apt|scripts/|bench|--gtest|faults_page|sbatch|dpkg|valgrind"
COMMANDS = re.findall(r"^  ([a-z-]+)  ", run("dicom-mend help", ".").stdout, re.M)
OPTIONS = set(re.findall(r"--[a-z][a-z-]+", "".join(run(f"dicom-mend help {command}; dicom-mend --help", ".").stdout for command in COMMANDS)))
OPTIONS |= {"--manual", "--completions"}
assert len(COMMANDS) > 10 and len(OPTIONS) > 40, (COMMANDS, OPTIONS)

PRESETS = {each["name"] for each in json.loads((ROOT / "CMakePresets.json").read_text("utf-8"))["configurePresets"]}
STAGES = set(re.findall(r"^    ([a-z]+)\)$", (ROOT / "scripts/test").read_text("utf-8"), re.M))
assert len(STAGES) > 5, STAGES

faults = ran = 0
for name in map(pathlib.Path, sys.argv[2:]):
    for option in strange_options(name):
        faults += 1
        print(f"{name}: {option} is no option")
    for build in strange_builds(name):
        faults += 1
        print(f"{name}: there is no {build}")
    for fence in strange_fences(name):
        faults += 1
        print(f"{name}: no test runs {fence}")
    steps = list(steps_of(name))
    with tempfile.TemporaryDirectory(prefix="pages_") as folder:
        if steps:
            shutil.copy(ROOT / "examples/damaged.dcm", folder)
            run(MADE, folder)
        for step, lines, status in steps:
            if status is None:
                (pathlib.Path(folder) / step).write_text("\n".join(lines) + "\n", "utf-8")
                continue
            ran += 1
            result = run(step, folder)
            if not is_right(result, lines, status):
                faults += 1
                print(f"{name}: $ {step}\nstatus {result.returncode}, printed:\n" + "\n".join(result.stdout.splitlines()[:30]))
assert ran, "the pages have no commands"
sys.exit(1 if faults else 0)
