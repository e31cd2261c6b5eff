#!/usr/bin/env python3
"""Gives the tool each clause and condition that the tables of a page show: clauses_of_definitions.py TOOL PAGE"""

import pathlib
import re
import subprocess
import sys
import tempfile

TOOL, PAGE = sys.argv[1:]
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
