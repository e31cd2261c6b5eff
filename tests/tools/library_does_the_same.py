"""Holds the command line and the library against each other: library_does_the_same.py BIN LIBRARY TREE

Both are linked from the same objects, and each has its own way from the arguments to them.
"""

import itertools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TOOL, TREE = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[3])
os.environ["DICOM_MEND_LIBRARY"] = os.path.abspath(sys.argv[2])
sys.path.insert(0, str(TREE / "python"))
sys.dont_write_bytecode = True

from dicom_mend import Dataset, MendError, Session  # noqa: E402
from dicom_mend._library import NOT_DICOM, lib  # noqa: E402

HEALING = [{}, {"strict": True}, {"replace_uids": True, "pad_pixels": True}, {"charset": "ISO_IR 100"},
           {"to_utf8": True}]
WRITING = HEALING + [{"drop_private": True, "group_lengths": True}, {"defined_lengths": True},
                     {"syntax": "implicit-little"}, {"syntax": "explicit-big"}]


def arguments(options):
    words = []
    for name, value in options.items():
        words += ["--" + name.replace("_", "-")] + ([value] if isinstance(value, str) else [])
    return words


def run(*words):
    done = subprocess.run([TOOL, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    return done.returncode, done.stdout.decode("utf-8"), done.stderr.decode("utf-8")


def same(one, other, about):
    if one != other:
        lines = [(a, b) for a, b in itertools.zip_longest(one.splitlines(), other.splitlines()) if a != b]
        sys.exit(f"{about}:\n  tool:    {lines[0][0]}\n  library: {lines[0][1]}")


def without_kinds(text):
    """Lines of the tool say with -v also which kind a finding is of."""
    return re.sub(r" \[[a-z0-9-]+\]$", "", text, flags=re.M)


def check(path, options, module):
    session = Session(**options)
    status = lib.check_file(session.handle, os.fsencode(path), module.encode() if module else None)
    assert status in (0, NOT_DICOM), (path, status)
    words = ["check", "-v", *arguments(options), *(["--module", module] if module else [])]
    for form in ("text", "json", "sarif"):
        code, text, _ = run(*words, "--format", form, path)
        same(without_kinds(text) if form == "text" else text, session.report(path, form), (path, options, form))
        assert code == session.outcome, (path, options, code)


def mend(path, target, options):
    session, written = Session(**options), None
    try:
        Dataset.read(path, session).write(target, session, replace=True)
        written = pathlib.Path(target).read_bytes()
    except MendError:
        pass
    code, _, said = run("mend", "-v", "--force", *arguments(options), path, target + ".tool")
    same(without_kinds(said), session.report(path), (path, options))
    assert code == session.outcome, (path, options, code)
    by_tool = pathlib.Path(target + ".tool").read_bytes() if written is not None else None
    assert by_tool == written, (path, options, "other bytes")


def json_model(path):
    session = Session()
    text = Dataset.read(path, session).to_json()
    _, printed, _ = run("list", "--format", "json", path)
    assert json.loads(printed) in (json.loads(text), [json.loads(text)]), path


def main():
    samples = pathlib.Path(os.environ.get("LIB_DICOM_SAMPLES", "/nowhere"))
    with tempfile.TemporaryDirectory() as work:
        cut = pathlib.Path(work, "cut.dcm")
        damaged = TREE / "examples/damaged.dcm"
        cut.write_bytes(damaged.read_bytes()[:600])
        for path in [damaged, cut, *sorted(samples.glob("*.dcm"))]:
            few = path.parent == samples
            for options in HEALING[:1] if few else HEALING:
                check(str(path), options, "auto")
                check(str(path), options, None)
            for options in WRITING[:1] if few else WRITING:
                mend(str(path), os.path.join(work, "out.dcm"), options)
            json_model(str(path))


main()
