"""Holds the reports of `dicom-mend check` against their schemas: validate_reports.py TOOL TREE"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import urllib.parse

try:
    from jsonschema import Draft7Validator, Draft202012Validator, FormatChecker
    import rfc3987  # noqa: F401  checks the form of URIs
except ImportError:
    print("python3-jsonschema and python3-rfc3987 are not there")
    sys.exit(77)

TOOL, TREE = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2])
FORMATS = FormatChecker()
assert {"uri", "uri-reference"} <= set(FORMATS.checkers)
LOG = Draft202012Validator(
    json.loads((TREE / "tests/tools/schemas/sarif-2.1.0.json").read_text()), format_checker=FORMATS)
LINE = Draft7Validator(json.loads((TREE / "docs/finding.schema.json").read_text()))
DAMAGED = (TREE / "examples/damaged.dcm").read_bytes()

# Names that are no plain paths: letters of URIs, of JSON, and bytes that are no UTF-8.
NAMES = ["plain.dcm", "c:a b.dcm", "50%25?x=1#y.dcm", 'quote"back\\slash.dcm', "line\nend\t.dcm", "Ä\u202e.dcm",
         b"no utf-8 \xc3\xff.dcm", "[x]{y}|^`<z>.dcm", "~!$&'()*+,;=@.dcm"]
BODIES = {
    "damaged": DAMAGED,
    # Bytes of values that messages and properties quote: no UTF-8, controls, a quote.
    "bytes": DAMAGED.replace(b"1997.06.24", b'1\x01"\\\xff\x7f\xc3(\x80\x00'),
    "cut": DAMAGED[:400],
    "no DICOM": b"\xff\x00\"\\" * 200,
    "empty": b"",
}


def run(*arguments, **options):
    done = subprocess.run([TOOL, "check", *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          **options)
    assert done.returncode in (0, 1, 2), (arguments, done.returncode)
    return done.stdout.decode("utf-8"), done.returncode


def fits(validator, value, about):
    for error in validator.iter_errors(value):
        sys.exit(f"{about}: {list(error.absolute_path)}: {error.message[:300]}")


def check_links(log, paths):
    """What viewers rely on and a schema cannot say: rules by index, text to show, names that lead to the file."""
    about, names = paths, {os.fsencode(path) for path in paths}
    (run_of_tool,) = log["runs"]
    rules = run_of_tool["tool"]["driver"]["rules"]
    assert len({rule["id"] for rule in rules}) == len(rules)
    shown = ("shortDescription", "fullDescription", "help")
    assert all(rule[text]["text"] for rule in rules for text in shown)
    for result in run_of_tool["results"]:
        assert rules[result["ruleIndex"]]["id"] == result["ruleId"], (about, result)
        assert result["message"]["text"], (about, result)
        (location,) = result["locations"]
        uri = location["physicalLocation"]["artifactLocation"]["uri"]
        assert uri.startswith("file:///") or not uri.startswith("/"), (about, uri)
        bare = uri.removeprefix("file://").removeprefix("./")
        assert urllib.parse.unquote_to_bytes(bare) in names, (about, uri)
        assert result["partialFingerprints"]["primaryLocationLineHash"], (about, result)
    return len(run_of_tool["results"])


def check_both(paths, cwd=None):
    count = 0
    for more in ([], ["--verbose", "--show-values", "--module", "auto"]):
        text, status = run(*more, "--format", "sarif", *paths, cwd=cwd)
        log = json.loads(text)
        fits(LOG, log, paths)
        results = check_links(log, paths)
        (invocation,) = log["runs"][0]["invocations"]
        assert invocation["executionSuccessful"] == (status != 2), (paths, status)
        lines = [json.loads(line) for line in run(*more, "--format", "json", *paths, cwd=cwd)[0].splitlines()]
        for line in lines:
            fits(LINE, line, paths)
            assert line["file"] in [os.fsencode(path).decode("utf-8", "replace") for path in paths], line
        assert len(lines) == results, (paths, len(lines), results)
        count += results
    return count


def check_run(folder):
    """Reports of a run over a folder: the same findings, and each file once."""
    names = sorted(os.fsencode(os.path.join(folder, os.fsdecode(name))) for name in NAMES)
    with tempfile.TemporaryDirectory() as out:
        for name in ("r.sarif", "r.jsonl"):
            run("--report", os.path.join(out, name), folder)
        log = json.loads(pathlib.Path(out, "r.sarif").read_text("utf-8"))
        lines = [json.loads(line) for line in pathlib.Path(out, "r.jsonl").read_text("utf-8").splitlines()]
    fits(LOG, log, folder)
    files = [line for line in lines if "file" in line]
    assert check_links(log, names) == sum(len(file["findings"]) for file in files) > 0
    for finding in (finding for file in files for finding in file["findings"]):
        fits(LINE, finding, folder)
    uris = [artifact["location"]["uri"].removeprefix("file://") for artifact in log["runs"][0]["artifacts"]]
    assert sorted(urllib.parse.unquote_to_bytes(uri) for uri in uris) == names and len(files) == len(names)


def main():
    with tempfile.TemporaryDirectory() as work:
        for name in NAMES:
            pathlib.Path(work, os.fsdecode(name)).write_bytes(DAMAGED)
            assert check_both([name], work) and check_both([os.path.join(os.fsencode(work), os.fsencode(name))])
        assert check_both(NAMES, work) and not check_both(["no such file"], work)
        check_run(work)
        for name, body in BODIES.items():
            pathlib.Path(work, name).write_bytes(body)
            assert check_both([name], work)
        text, status = run("--module", "CT", "--explain", "Modality", "--format", "json", "plain.dcm", cwd=work)
        explained = json.loads(text)
        assert status == 0 and explained["file"] == "plain.dcm" and explained["tag"] == explained["path"] == "0008,0060", explained
        assert "usage M, type 1" in explained["explanation"], explained
        text, status = run("--module", "CT", "--explain", "StudyDate", "plain.dcm", cwd=work)
        assert status == 0 and "\n  reported as warning: date in another form\n" in text, text
        # Without an IOD what was found is told all the same.
        pathlib.Path(work, "unknown.dcm").write_bytes(DAMAGED.replace(b"1.2.840.10008.5.1.4.1.1.", b"1.2.840.10008.5.1.4.9.9."))
        text, status = run("--explain", "StudyDate", "unknown.dcm", cwd=work)
        assert status == 2 and "Study Date, no IOD\n" in text and "Study Date, warning: date in another form (dates" in text, text
        assert run("--explain", "Modality", "--format", "sarif", "plain.dcm", cwd=work) == ("", 2)
        assert run("--explain", "", "plain.dcm", cwd=work) == ("", 2)
        subprocess.run([TOOL, "mend", "--force", "plain.dcm", "sound.dcm"], cwd=work, stderr=subprocess.DEVNULL)
        check_both(["sound.dcm"], work)
    samples = pathlib.Path(os.environ.get("LIB_DICOM_SAMPLES", "/nowhere"))
    for sample in sorted(samples.glob("*.dcm")):
        check_both([str(sample)])


main()
