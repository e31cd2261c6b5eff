"""Holds the pages of the manual against the help, and has them formatted: manual.py TOOL PAGES"""

import pathlib
import re
import shutil
import subprocess
import sys

TOOL, PAGES = sys.argv[1], pathlib.Path(sys.argv[2])
if shutil.which("groff") is None:
    print("groff is not there")
    sys.exit(77)


def words_of(text):
    return " ".join(text.split())


def help_of(*command):
    return subprocess.run([TOOL, *command, "--help"], check=True, capture_output=True, text=True).stdout


def shown(page):
    """A page as a wide terminal shows it, in one line; the formatter has nothing to say of it."""
    done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", "-P-c", "-P-b", "-P-u", "-rLL=20000n", "-rHY=0", page],
                          check=True, capture_output=True, text=True)
    assert done.stderr == "", done.stderr
    return words_of(done.stdout.replace("\u2010", "-").replace("\u2212", "-").replace("\u2019", "'"))


def check(page, text):
    formatted = shown(page)
    missing = []
    text = text.replace("Usage: ", "")
    for line in text.splitlines():
        # The formatter's own words, and headings, are not those of the page.
        if re.fullmatch(r"\w+:", line):
            continue
        # An option or a command and what it does stand in two columns.
        missing += [part for part in re.split(r" {2,}|,(?=--)", line.strip())
                    if words_of(part) not in formatted and part.rstrip(".") not in formatted]
    assert not missing, f"{page.name}: not in the page: {missing}"
    return formatted


tool_help = help_of()
commands = re.findall(r"^  ([a-z][a-z-]*)", tool_help.split("Commands:")[1], re.M)
main_page = check(PAGES / "dicom-mend.1", tool_help)
assert len(commands) >= 12, commands
for name in commands:
    assert f"dicom-mend-{name}(1)" in main_page, name
    text = help_of(name)
    formatted_page = check(PAGES / f"dicom-mend-{name}.1", text)
    for option in re.findall(r"^ +(-[^ ]+)", text, re.M):
        assert option in formatted_page, f"{name}: {option}"
assert {page.name for page in PAGES.glob("*.1")} == {"dicom-mend.1", *(f"dicom-mend-{name}.1" for name in commands)}
