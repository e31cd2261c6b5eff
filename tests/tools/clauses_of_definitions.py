#!/usr/bin/env python3
"""Gives the tool each clause and condition that the tables of a page show, and its lines of indices and private elements:
clauses_of_definitions.py TOOL PAGE"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TOOL, PAGE = (pathlib.Path(each).resolve() for each in sys.argv[1:])
DAMAGED = pathlib.Path(__file__).resolve().parent.parent.parent / "examples/damaged.dcm"
lines = []
is_condition = False
for row in pathlib.Path(PAGE).read_text("utf-8").splitlines():
    if row.startswith("| condition |"):
        is_condition = True
    for code in re.findall(r"`([^`]*)`", re.split(r"(?<!\\)\|", row)[1]) if row.startswith("| `") else ():
        code = code.replace("\\|", "|")
        if is_condition:
            lines.append(f"{'(6000,0010) 1C US' if '60xx' in code else '(0018,0015) 1C CS'} if {code}")
        elif re.match(r"[123]C? [A-Z]{2} ", code):
            lines.append(f"(0018,0015) {code}")
        elif code.startswith("include "):
            lines.append(code)
assert len(lines) > 25, lines

# The page's lines on the index of the IODs, on that of the private elements, and on these.
page = pathlib.Path(PAGE).read_text("utf-8")
index = re.search(r'^    (CT CT .*)$', page, re.M)[1]
private_index = re.search(r'`private/index.txt` says [^`]*`([^`]*)`', page)[1]
private = "\n".join(re.search(r"^    (creator .*)\n    (.*)$", page, re.M).groups())
with tempfile.TemporaryDirectory() as folder:
    folder = pathlib.Path(folder)
    for name, text in (("iods/index.txt", index), ("iods/CT.txt", ""), ("private/index.txt", private_index), ("private/acme.txt", private)):
        (folder / name).parent.mkdir(exist_ok=True)
        (folder / name).write_text(text + "\n", "utf-8")
    (folder / "in.json").write_text(json.dumps({"00291008": {"vr": "CS", "Value": ["A"]}, "00290010": {"vr": "LO", "Value": ["ACME CT HEADER"]}}))

    def run(*arguments):
        return subprocess.run([TOOL, *arguments], cwd=folder, env={**os.environ, "LIB_DICOM_DEFINITIONS": str(folder)},
                              capture_output=True, text=True, check=False).stdout

    assert run("modules") == "CT  CT Image\n", run("modules")
    run("from-json", "in.json", "in.dcm")
    assert "Header Type" in run("list", "in.dcm"), run("list", "in.dcm")

with tempfile.TemporaryDirectory() as folder:
    rules = pathlib.Path(folder) / "rules.txt"

    def said(text):
        rules.write_text(text, "utf-8")
        done = subprocess.run([TOOL, "complete", "--dry-run", "-q", "--rules", rules, DAMAGED], stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, text=True, check=False)
        return [line for line in done.stderr.splitlines() if "rules.txt:" in line]

    assert said("(0018,0015) 1C CS if (0018,0015) = \n"), "a fault is not told"
    faults = [each for line in lines for each in said(line + "\n")]
sys.exit("\n".join(faults) or 0)
