"""Compares the files of a study with `dicom-mend check --study`, and looks for what is told wherever findings are:
study.py TOOL

Two files agree; of the third the patient is another one, and nothing else is wrong with it.
"""

import collections
import csv
import json
import os
import re
import struct
import sys

from archive_maker import Scratch, element, made, run

KIND = "study-differs"
TEXT = "differs from 2 of 2 other files of the study"


def written(folder):
    folder.mkdir()
    for name, patient in (("a.dcm", "DOE"), ("b.dcm", "DOE"), ("c.dcm", "ROE")):
        (folder / name).write_bytes(made("1.2.3." + str(ord(name[0])), patient=patient))


def told(text, name):
    lines = [line for line in text.decode("utf-8").splitlines() if TEXT in line]
    assert lines and all(f"{name}: warning: (0010,00" in line for line in lines), text
    return len(lines)


def rows_of(page, title):
    table = re.search(f"<h2>{title}</h2>.*?</table>", page, re.DOTALL).group(0)
    return [re.findall("<t[dh][^>]*>(.*?)</t[dh]>", row) for row in re.findall("<tr.*?</tr>", table)]


def every_output_has_it():
    with Scratch() as scratch:
        written(scratch / "in")
        files = [scratch / "in" / name for name in ("c.dcm", "b.dcm", "a.dcm")]
        plain = run("check", "--study", *files, status=1)
        count = told(plain.stdout, "c.dcm")
        assert count == 2, plain.stdout
        done = run("check", "--study", "in", "--report", "r.jsonl", "--jobs", "2", cwd=scratch, status=1)
        assert told(done.stdout, "c.dcm") == count and b"3 files (" in done.stderr, done.stderr
        assert b"2 clean, 1 with findings" in done.stderr, done.stderr
        lines = [json.loads(line) for line in (scratch / "r.jsonl").read_text("utf-8").splitlines()]
        kinds = {line["file"]: collections.Counter(each["kind"] for each in line["findings"]) for line in lines if "file" in line}
        assert kinds == {"in/a.dcm": {}, "in/b.dcm": {}, "in/c.dcm": {KIND: count}}, kinds
        assert [line["status"] for line in lines if "file" in line] == ["clean", "clean", "findings"]
        totals = lines[-1]["totals"]
        wanted = {"severity": "warning", "kind": KIND, "findings": count, "files": 1}
        assert totals["kinds"] == [wanted] and totals["with_findings"] == 1 and totals["devices"][0]["kinds"] == [wanted], totals
        assert b"ROE" not in (scratch / "r.jsonl").read_bytes()
        for form in ("csv", "sarif", "html"):
            run("check", "--study", "in", "--report", "r." + form, cwd=scratch, status=1)
        rows = list(csv.DictReader((scratch / "r.csv").read_text("utf-8").splitlines()))
        assert [row["kinds"] for row in rows if row["file"].endswith("c.dcm")] == [f"{KIND}:{count}"], rows
        results = json.loads((scratch / "r.sarif").read_text("utf-8"))["runs"][0]["results"]
        assert [each["ruleId"] for each in results] == [KIND] * count, results
        page = run("check", "--study", "--format", "html", "in", cwd=scratch, status=1).stdout.decode("utf-8")
        for text in (page, (scratch / "r.html").read_text("utf-8")):
            assert rows_of(text, "By study")[1:] == [["study 1", "3", "0", str(count), "0"]], text
            assert rows_of(text, "By kind")[1][-2:] == [str(count), "1"], text
            assert [row[1:] for row in rows_of(text, "By file")[1:]] == [
                ["study 1", "0", "0", "0"]] * 2 + [["study 1", "0", str(count), "0"]], text
            assert text.count("<h3") == 1 and text.count(TEXT) == count, text
        summary = run("check", "--study", "--summary", "in", cwd=scratch, status=1).stdout
        assert summary.split() == f"warning {KIND} {count} findings in 1 file".encode().split(), summary
        summary = run("check", "--study", "--summary", "--format", "json", "in", cwd=scratch, status=1).stdout
        assert json.loads(summary) == wanted, summary
        refused = run("check", "--study", "--explain", "PatientID", "in", cwd=scratch, status=2)
        assert b"without --study" in refused.stderr, refused.stderr


def states_are_for_their_owner():
    with Scratch() as scratch:
        written(scratch / "in")
        (scratch / "in" / "c.dcm").unlink()
        state = scratch / "s"
        check = ("check", "--study", "--state", state, "in")

        def rights():
            return oct(state.stat().st_mode & 0o777)

        before = os.umask(0)
        run(*check, cwd=scratch, status=0)
        os.umask(before)
        assert b"DOE" in state.read_bytes() and rights() == "0o600", rights()
        # What the owner lets others do stays, until a run begins anew.
        state.chmod(0o640)
        run(*check, "--resume", cwd=scratch, status=0)
        assert rights() == "0o640", rights()
        state.write_bytes(b"")
        run(*check, cwd=scratch, status=0)
        assert rights() == "0o600", rights()


def runs_that_go_on_tell_what_is_new():
    with Scratch() as scratch:
        written(scratch / "in")
        last = (scratch / "in" / "c.dcm").read_bytes()
        (scratch / "in" / "c.dcm").unlink()
        check = ("check", "--study", "--state", "s", "in")
        assert run(*check, cwd=scratch, status=0).stdout == b""
        (scratch / "in" / "c.dcm").write_bytes(last)
        assert told(run(*check, "--resume", cwd=scratch, status=1).stdout, "c.dcm") == 2
        assert run(*check, "--resume", cwd=scratch, status=1).stdout == b""
        assert json.loads(run("report", "--json", "s", cwd=scratch, status=1).stdout)["kinds"] == [
            {"severity": "warning", "kind": KIND, "findings": 2, "files": 1}]
        # Files that were told of are compared with those that come.
        for name in ("d.dcm", "e.dcm", "f.dcm"):
            (scratch / "in" / name).write_bytes(made("1.2.4." + str(ord(name[0])), patient="ROE"))
        new = run(*check, "--resume", cwd=scratch, status=1).stdout.decode("utf-8")
        assert re.findall(r"in/(.)\.dcm: .*differs from 4 of 5", new) == ["a", "a", "b", "b"], new
        report = run(*check, "--resume", "--report", "r.jsonl", cwd=scratch, status=1)
        assert report.stdout == b"", report.stdout
        lines = [json.loads(line) for line in (scratch / "r.jsonl").read_text("utf-8").splitlines()]
        assert [len(line["findings"]) for line in lines if "file" in line] == [2, 2, 0, 0, 0, 0], lines
        # What does not hold any more is gone, and its status with it.
        for name in "ab":
            (scratch / "in" / f"{name}.dcm").unlink()
        run(*check, "--resume", "--report", "r.jsonl", cwd=scratch, status=0)
        assert {line["status"] for line in map(json.loads, open(scratch / "r.jsonl")) if "file" in line} == {"clean"}


def findings_have_their_place():
    item = (element(8, 0x1150, "UI", "1.2.840.10008.5.1.4.1.1.2") + element(8, 0x1155, "UI", "1.2.3.97") +
            element(8, 0x1160, "IS", "3"))
    item = struct.pack("<HHI", 0xFFFE, 0xE000, len(item)) + item
    patient = element(0x10, 0x10, "PN", "ROE")
    element_of = {"0008,1140[0]/0008,1150": item[8:42], "0008,1140[0]/0008,1160": element(8, 0x1160, "IS", "3"),
                  "0010,0010": patient, "0010,0020": element(0x10, 0x20, "LO", "ROE")}
    with Scratch() as scratch:
        written(scratch / "in")
        data = made("1.2.3.99", patient="ROE").replace(patient, element(8, 0x1140, "SQ", item) + patient)
        (scratch / "in" / "c.dcm").write_bytes(data)
        lines = run("check", "--study", "--format", "json", "in", cwd=scratch, status=1).stdout.splitlines()
        seen = {each["path"]: (each["offset"], each["length"]) for each in map(json.loads, lines)}
        assert seen == {place: (data.find(whole), len(whole) - 8) for place, whole in element_of.items()}, seen
        # The page shows the bytes of the headers, also where it is made of a run that goes on.
        headers = [f"<br><code>{whole[:8].hex(' ').upper()}</code>" for whole in element_of.values()]
        page = run("check", "--study", "--format", "html", "in", cwd=scratch, status=1).stdout.decode("utf-8")
        check = ("check", "--study", "--state", "s", "--report", "r.html", "in")
        (scratch / "in" / "c.dcm").rename(scratch / "c.dcm")
        run(*check, cwd=scratch, status=0)
        (scratch / "c.dcm").rename(scratch / "in" / "c.dcm")
        run(*check, "--resume", cwd=scratch, status=1)
        for text in (page, (scratch / "r.html").read_text("utf-8")):
            assert [text.count(header) for header in headers] == [1] * len(headers), text


if __name__ == "__main__":
    sys.argv[1:] or sys.exit(__doc__)
    every_output_has_it()
    findings_have_their_place()
    states_are_for_their_owner()
    runs_that_go_on_tell_what_is_new()
