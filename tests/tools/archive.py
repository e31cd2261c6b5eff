"""Runs `dicom-mend` over a made archive: archive.py TOOL [FILES]

The same trees, texts and reports with any number of workers; hostile names and values; folders without room or rights.
"""

import collections
import csv
import fcntl
import hashlib
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys

from archive_maker import Scratch, TOOL, first_difference, made, make_archive, report, run, run_all, tree

FILES = int(sys.argv[2]) if len(sys.argv) > 2 else 300


def same_with_any_number_of_jobs():
    with Scratch() as scratch:
        count = make_archive(scratch / "in", FILES)
        seen = []
        for jobs in (1, 2, 5):
            folder = scratch / f"run{jobs}"
            folder.mkdir()
            done = run("mend", "--to", "out", "--jobs", jobs, "--report", "r.jsonl", "--quarantine", "bad", "../in",
                       cwd=folder, status=2)
            csv_done = run("check", "../in", "--jobs", jobs, "--report", "r.csv", "--module", "auto", cwd=folder, status=2)
            listed = run("list", "../in", "--jobs", jobs, "--format", "tsv", cwd=folder)
            seen.append((tree(folder / "out"), tree(folder / "bad"), report(folder / "r.jsonl"), report(folder / "r.csv"),
                         done.stderr, csv_done.stdout, csv_done.stderr, listed.stdout, listed.stderr))
        for other in seen[1:]:
            for part, (one, another) in enumerate(zip(seen[0], other)):
                assert one == another, (part, first_difference(one, another))
        out, bad, lines, rows = seen[0][:4]
        dicom = FILES - count["foreign"]
        assert len(out) == dicom, (len(out), dicom)
        # What was cut off is mended as far as it is there, and is in quarantine with its findings.
        kept = {name for name in bad if not str(name).endswith(".findings.jsonl")}
        assert len(kept) == count["cut"] and len(bad) == 2 * len(kept)
        assert all(bad[name] == (scratch / "in" / name).read_bytes() for name in kept)
        records = [json.loads(line) for line in lines.splitlines()]
        files, totals = [r for r in records if "file" in r], records[-1]["totals"]
        assert len(files) == FILES and records[-1]["complete"] is True
        by_status = collections.Counter(r["status"] for r in files)
        assert by_status["left"] == count["foreign"] == totals["left"], by_status
        assert by_status["failed"] == count["cut"] == totals["failed"], by_status
        assert by_status["findings"] == count["mendable"], by_status
        assert sum(d["files"] for d in totals["devices"]) == dicom == totals["files"]
        assert {d["manufacturer"] for d in totals["devices"]} >= {"ACME", "Other, Inc.", "Ä-Works"}
        for r in files:
            data = (scratch / "run1" / r["file"]).read_bytes()
            assert r["size"] == len(data)
            if r["status"] != "left":
                assert r["sha256_in"] == hashlib.sha256(data).hexdigest()
                output = (scratch / "run1" / r["output"]).read_bytes()
                assert r["sha256_out"] == hashlib.sha256(output).hexdigest()
                # One by one they become the same.
                if len(files) <= 500:
                    run("mend", "-q", "--force", scratch / "run1" / r["file"], scratch / "one.dcm")
                    assert (scratch / "one.dcm").read_bytes() == output
        names = [r["file"] for r in files]
        assert names == sorted(names, key=lambda name: [os.fsencode(part) for part in name.split("/")])
        table = list(csv.reader(io.StringIO((scratch / "run1/r.csv").read_text("utf-8"))))
        assert len(table) == FILES + 1 + 1 + len(totals["devices"]) and {len(row) for row in table} == {15}
        assert table[FILES + 1][0] == "(total)" and f"failed:{count['cut']}" in table[FILES + 1][9]
        summary = seen[0][4].decode("utf-8").splitlines()[-1]
        assert f"left: {count['foreign']} not DICOM, 1 hidden, 2 by symbolic links" in summary, summary
        # Runs put together come to the same, whatever they are read from.
        one = run("report", "--json", scratch / "run1/r.jsonl").stdout
        assert json.loads(one)["devices"] == totals["devices"] and json.loads(one)["files"] == dicom
        run("report", "--to", "log.jsonl", "out", cwd=scratch / "run5", status=2)
        logged = [json.loads(line) for line in (scratch / "run5/log.jsonl").read_text("utf-8").splitlines()]
        assert [r["file"] for r in logged if "file" in r] == names
        both = json.loads(run("report", "--json", "--to", scratch / "all.html", scratch / "run1/out",
                              scratch / "run2/r.jsonl").stdout)
        assert both["files"] == 2 * dicom and b"Model ACME" in (scratch / "all.html").read_bytes()


def shards_are_parts():
    with Scratch() as scratch:
        make_archive(scratch / "in", 200)
        run("mend", "--to", scratch / "whole", scratch / "in", status=2)
        processes = [subprocess.Popen([TOOL, "mend", "--to", str(scratch / "out"), "--shard", f"{k}/3", "--report",
                                       str(scratch / f"{k}.jsonl"), str(scratch / "in")], stderr=subprocess.DEVNULL)
                     for k in (1, 2, 3)]
        assert all(process.wait() in (1, 2) for process in processes)
        assert tree(scratch / "out") == tree(scratch / "whole")
        sizes = [len((scratch / f"{k}.jsonl").read_text().splitlines()) - 2 for k in (1, 2, 3)]
        assert sum(sizes) == 200 and min(sizes) > 40, sizes
        assert json.loads(run("report", "--json", scratch / "out").stdout)["files"] == 160
        for shard in ("4/3", "+1/3", "1/99999999999999999999999"):
            run("mend", "--to", scratch / "o", "--shard", shard, scratch / "in", status=2)
        # Two shards that come by the same names of a layout, one after the other and at once.
        for out in ("o1", "o2"):
            arguments = [TOOL, "mend", "--to", str(scratch / out), "--layout", "{PatientID}/{Modality}.dcm", str(scratch / "in"), "--shard"]
            processes = []
            for k in (1, 2, 3):
                processes.append(subprocess.Popen([*arguments, f"{k}/3"], stderr=subprocess.DEVNULL))
                assert out == "o2" or processes[-1].wait() in (1, 2)
            assert all(process.wait() in (1, 2) for process in processes)
            assert len(tree(scratch / out)) == len(tree(scratch / "whole")), len(tree(scratch / out))
        # Whose an output in a layout is no shard knows: what was made of a changed file before stays, and that is said.
        changed = next((scratch / "in").rglob("*-sound"))
        changed.write_bytes(made("1.2.777"))
        said = b"".join(subprocess.run([TOOL, "mend", "--to", str(scratch / "o1"), "--layout", "{PatientID}/{Modality}.dcm", "--resume",
                                        str(scratch / "in"), "--shard", f"{k}/3"], stderr=subprocess.PIPE).stderr for k in (1, 2, 3))
        assert said.count(b"warning: what was made of the file before it changed stays") == 1, said
        assert len(tree(scratch / "o1")) == len(tree(scratch / "whole")) + 1


def names_of_the_runs_own_are_kept_apart():
    with Scratch() as scratch:
        for folder in (".dicom-mend", ".dicom-mend-1-of-2", "b"):
            (scratch / folder).mkdir()
            (scratch / folder / "a.dcm").write_bytes(made("1.2.3"))
        for resumes in range(2):
            done = run("mend", "--to", "o", "--resume", ".dicom-mend", ".dicom-mend-1-of-2", "b", cwd=scratch, status=1)
            assert done.stderr.count(b"an underscore tells them apart") == (0 if resumes else 2), done.stderr
            assert sorted(map(str, tree(scratch / "o"))) == ["_.dicom-mend-1-of-2/a.dcm", "_.dicom-mend/a.dcm", "b/a.dcm"]
        # It leads nowhere else.
        (scratch / "link").mkdir()
        (scratch / "link" / ".dicom-mend").symlink_to("../b")
        assert b"link: error: cannot be written to: " in run("mend", "--to", "link", "b", cwd=scratch, status=2, timeout=60).stderr
        assert [path.name for path in (scratch / "b").iterdir()] == ["a.dcm"]
        # What others keep in the folder of a run stays, also where another run ends that this one waits for.
        (scratch / "o" / ".dicom-mend" / "3").mkdir(parents=True)
        (scratch / "o" / ".dicom-mend" / "3" / "note").write_text("mine")
        make_archive(scratch / "in", 200)
        runs = [subprocess.Popen([TOOL, "mend", "-q", "--to", "o", "--state", f"s{number}", "--force", "in"], cwd=scratch, stderr=subprocess.PIPE)
                for number in range(3)]
        for one in runs:
            assert b"Bad file" not in one.communicate()[1]
        assert (scratch / "o" / ".dicom-mend" / "3" / "note").read_text() == "mine"
        (scratch / "o" / ".dicom-mend" / "3" / "note").unlink()
        runs = [subprocess.Popen([TOOL, "mend", "-q", "--to", "o", "--state", f"t{number}", "--force", "in"], cwd=scratch, stderr=subprocess.PIPE)
                for number in range(3)]
        for one in runs:
            assert b"Bad file" not in one.communicate()[1]


def inputs_are_never_written_over():
    with Scratch() as scratch:
        inner = scratch / "in" / "s"
        inner.mkdir(parents=True)
        for place in (scratch / "in", inner):
            (place / "0.dcm").write_bytes(made("1.2.3", patient=place.name, date="2020.01.02"))
        before = tree(scratch / "in")
        (scratch / "list").write_text("0.dcm\ns/0.dcm\n")
        (scratch / "o").mkdir()
        (scratch / "o" / "P1").symlink_to("../in/s")
        (scratch / "lo").symlink_to("o2")
        for arguments, words in (
                (("--to", inner, "--force", scratch / "in"), b"where nothing is replaced"),
                (("--to", scratch / "o", "--force", "--layout", "P1/{SOPInstanceUID}.dcm/../0.dcm", scratch / "in"), b"plain path"),
                (("--to", scratch / "o", "--force", "--layout", "P1/0.dcm{PatientBirthDate}", scratch / "in"), b""),
                (("--to", "s", "--force", "--from-list", scratch / "list"), b"with nothing in it"),
                (("--to", scratch / "q", "--quarantine", inner, scratch / "in"), b"apart from the inputs"),
                (("--to", scratch / "q", "--quarantine", "s", "--from-list", scratch / "list"), b"is not empty"),
                (("--to", scratch / "o2", "--quarantine", scratch / "lo", scratch / "in"), b"stand apart"),
                (("--to", scratch / "q", "--report", scratch / "r.xyz", scratch / "in"), b"has to end in")):
            done = run("mend", *arguments, cwd=scratch / "in", timeout=60)
            assert words in done.stderr, (arguments, done.stderr)
            after = tree(scratch / "in")
            assert {name: after.get(name) for name in before} == before, arguments
            shutil.rmtree(inner / ".dicom-mend", ignore_errors=True)
        (scratch / "z").mkdir()
        (scratch / "z" / "in").symlink_to("../in/s")
        cut = scratch / "cut"
        cut.mkdir()
        (cut / "0.dcm").write_bytes(made("1.2.3")[:-20])
        (scratch / "cut" / "f").symlink_to("../in/0.dcm")
        (scratch / "o" / "cut").symlink_to("../in")
        (scratch / "in" / "e").touch()
        before = tree(scratch / "in")
        for arguments, words in (
                (("--to", scratch / "x1", "--force", "--quarantine", scratch / "z", cut, scratch / "in"), b""),
                (("--to", scratch / "o", "--force", cut, scratch / "in" / "0.dcm"), b"where nothing is replaced"),
                (("--to", scratch / "in", "--force", "--follow", cut), b"with nothing in it"),
                (("--to", scratch / "x2", "--state", scratch / "in" / "e", scratch / "in"), b"where nothing is replaced")):
            done = run("mend", *arguments, cwd=scratch, timeout=60)
            assert words in done.stderr, (arguments, done.stderr)
            after = tree(scratch / "in")
            assert {name: after.get(name) for name in before} == before, arguments
        # What was refused has left nothing.
        assert not (scratch / "q").exists() and not (scratch / "q.state").exists() and not (scratch / "o2").exists()
        # Behind a link that is new nothing is the run's own, neither its output nor its copy.
        own = scratch / "own"
        arguments = ["--to", own, "--quarantine", scratch / "oq", scratch / "in", scratch / "cut" / "0.dcm"]
        run("mend", *arguments, status=2)
        for place in (own / "in", scratch / "oq" / "in"):
            if place.exists():
                place.rename(scratch / f"old{place.parent.name}")
            place.symlink_to("../in")
        assert b"s/0.dcm: exists already" in run("mend", "--resume", *arguments, status=2).stderr
        assert {name: tree(scratch / "in").get(name) for name in before} == before
        # A run at work keeps others from its folder, whatever state they have.
        (own / ".dicom-mend").mkdir()
        work = os.open(own / ".dicom-mend", os.O_RDONLY)
        fcntl.flock(work, fcntl.LOCK_EX)
        assert b"a run is at work there" in run("mend", "--to", own, "--state", scratch / "s2", cut, status=2).stderr
        assert (own / ".dicom-mend").exists() and not (scratch / "s2").exists()
        os.close(work)
        # A pipe at the place of an output is no file to compare with.
        (scratch / "p").mkdir()
        os.mkfifo(scratch / "p" / "0.dcm")
        assert b"exists already" in run("mend", "--to", scratch / "p", scratch / "in" / "0.dcm", status=2, timeout=60).stderr


def inputs_of_one_name_stay_apart():
    """Also when a run goes on, when they change, and in quarantine."""
    with Scratch() as scratch:
        for number, folder in enumerate(("v1/D", "v2/D", "v3/e")):
            (scratch / folder).mkdir(parents=True)
            (scratch / folder / "1").write_bytes(made(f"1.2.{number}", patient=folder, pixels=64 + number)[:None if number else -20])
        (scratch / "v3" / "D").symlink_to("e")
        inputs = ["v1/D", "v2/D", "v1/../v3/D/../e", "v2/none", "v3/e/1", "./v2/D/"]
        arguments = ["mend", "--to", "o", "--quarantine", "q", "--report", "o/1.jsonl", *inputs]
        said = run(*arguments, status=2, cwd=scratch).stderr
        assert b"v2/none: error" in said and said.count(b"another file has its name") == 1, said
        before = tree(scratch / "o"), tree(scratch / "q")
        names = sorted(str(name) for name in before[0])
        assert names == ["1.jsonl", "D/1", "D~2/1", "e/1"], names
        assert sorted(str(name) for name in before[1]) == ["D/1", "D/1.findings.jsonl", "none.findings.jsonl"], before[1]
        for _ in range(2):
            assert b"done before: 3" in run(*arguments, "--resume", status=2, cwd=scratch).stderr
            after = tree(scratch / "o"), tree(scratch / "q")
            assert [after[0][pathlib.Path(name)] for name in names[1:]] == [before[0][pathlib.Path(name)] for name in names[1:]]
            assert after[1] == before[1]
            shutil.rmtree(scratch / "q")
        (scratch / "v1" / "D" / "1").write_bytes(made("1.2.9"))
        (scratch / "v2" / "none").write_bytes(made("1.2.8"))
        # A folder without rights does not make a run forget what is its own.
        (scratch / "o" / "D" / "1").rename(scratch / "kept")
        (scratch / "o" / "D" / "1").mkdir()
        assert b"D/1: error: cannot be written" in run(*arguments, "--resume", status=2, cwd=scratch).stderr
        (scratch / "o" / "D" / "1").rmdir()
        (scratch / "kept").rename(scratch / "o" / "D" / "1")
        run(*arguments, "--resume", status=1, cwd=scratch)
        assert b"1.2.9" in (scratch / "o" / "D" / "1").read_bytes() and not [path for path in (scratch / "q").rglob("*") if path.is_file()]
        (scratch / "list").write_text("v1/D/1\nv2/../v1/D/1\nv1/D\n../missing\n")
        assert run("mend", "--to", "l", "--from-list", "list", cwd=scratch, status=2).stderr.count(b"a number tells") == 2
        assert sorted(str(name) for name in tree(scratch / "l")) == ["v1/D/1", "v1/D/1~2", "v1/D/1~3"]
        # A number has room in the longest names, with an ending and without.
        for folder in ("v1", "v2"):
            for name in ("n" * 255, "n" * 251 + ".dcm"):
                (scratch / folder / name).write_bytes(made("1.2.7"))
        arguments = [f"{folder}/{name}" for folder in ("v1", "v2") for name in ("n" * 255, "n" * 251 + ".dcm")]
        run("mend", "--to", "n", *arguments, cwd=scratch, status=1)
        names = [str(name) for name in tree(scratch / "n")]
        assert len(names) == 4 and sum(name.endswith("~2") for name in names) == sum(name.endswith("~2.dcm") for name in names) == 1, names
        # What is named is no chance find, though the folder around it is named as well.
        (scratch / "v1" / "letter").write_text("none")
        for paths, status in ((["v1"], 0), (["v1", "v1/letter"], 2), (["v1/../v1/letter", "v1"], 2)):
            run("check", "-q", *paths, cwd=scratch, status=status)


def what_is_mended_leaves_quarantine():
    with Scratch() as scratch:
        (scratch / "in").mkdir()
        names = ["x" * 250, "y" * 240, "z"]
        for name in names:
            (scratch / "in" / name).write_bytes(made("1.2.3")[:-20])
        arguments = ("mend", "--to", scratch / "out", scratch / "in", "--quarantine", scratch / "bad")
        assert b"has to stand apart" in run(*arguments[:-1], scratch / "out" / "bad", status=2).stderr
        assert b"holds the input" in run(*arguments[:-1], scratch, status=2).stderr
        assert not (scratch / "out").exists()
        run(*arguments, status=2)
        kept = tree(scratch / "bad")
        assert len(kept) == 6 and all(kept[pathlib.Path(name)] for name in names), list(kept)
        (scratch / "in" / "y").write_bytes(b"")
        (scratch / "in" / names[0]).write_bytes(made("1.2.3.4"))
        run(*arguments, "--resume", status=2)
        assert len(tree(scratch / "bad")) == 4 and not (scratch / "bad" / names[0]).exists()
        # A copy that is not whole is made again; what is called like findings stands beside them.
        (scratch / "bad" / "z").write_bytes(b"")
        folder = scratch / "in" / "z.findings.jsonl"
        folder.mkdir()
        (folder / "z").write_bytes(made("1.2.3")[:-20])
        assert b"cannot be copied" not in run(*arguments, "--resume", status=2).stderr
        for name, inside in (("z", "z"), ("z.findings.jsonl~/z", "z.findings.jsonl/z")):
            assert (scratch / "bad" / name).read_bytes() == (scratch / "in" / inside).read_bytes()


def layouts_stay_below_their_folder():
    with Scratch() as scratch:
        (scratch / "in").mkdir()
        hostile = ["../../../etc", "/abs", "..", ".", "a/b", "nul", "x" * 64, "ü" * 32, "tab\tnew\nline", "", "~", "*?:|<>\"\\", " . "]
        for number, patient in enumerate(hostile):
            (scratch / "in" / f"{number:02}").write_bytes(made(f"1.2.{number}", patient=patient))
        for number in range(3):
            (scratch / "in" / f"same{number}").write_bytes(made("1.2.77", patient="twin", series=str(number)))
        layout = "{PatientID}/{StudyDate}-{Modality}/{0020,0011}{SOPInstanceUID}/image.dcm"
        done = run("mend", "--to", scratch / "out", "--layout", "{PatientID}/{StudyDate}-{Modality}/image.dcm",
                   scratch / "in", "--jobs", 3)
        made_tree = tree(scratch / "out")
        assert {p.name for p in scratch.iterdir()} == {"in", "out", "out.state"}
        assert len(made_tree) == len(hostile) + 3 and all(len(name.parts) == 3 for name in made_tree), made_tree.keys()
        assert {str(name) for name in made_tree if name.parts[0] == "twin"} == {
            "twin/20200101-OT/image.dcm", "twin/20200101-OT/image~2.dcm", "twin/20200101-OT/image~3.dcm"}
        for number in (1, 2):
            assert f"in/same{number}: warning: another file has its name; a number tells them apart".encode() in done.stderr
        for bad in ("", "../{PatientID}", "a//{PatientID}", "/x/{PatientID}", "{Patient}", "{PatientID", "plain", "{PatientID}/"):
            run("mend", "--to", scratch / "o", "--layout", bad, scratch / "in", status=2)
        assert not (scratch / "o").exists()
        run("mend", "--to", scratch / "again", "--layout", layout, scratch / "in")
        assert len(tree(scratch / "again")) == len(made_tree)


def rooms_and_rights():
    with Scratch() as scratch:
        make_archive(scratch / "in", 60)
        # A limit on the size of files is met as an error of the writing.
        (scratch / "in" / "zlarge").write_bytes(made("1.2.5", pixels=65000))
        done = run("mend", "--to", scratch / "out", scratch / "in", status=2,
                   preexec_fn=lambda: __import__("resource").setrlimit(__import__("resource").RLIMIT_FSIZE, (62000, 62000)))
        assert b"zlarge: error: its output cannot be written: File too large" in done.stderr
        run("mend", "--to", scratch / "out", scratch / "in", "--resume", status=2)
        assert (scratch / "out" / "zlarge").exists()
        # What others wrote stays, unless it is to be replaced.
        (scratch / "other").mkdir()
        (scratch / "other" / "zlarge").write_bytes(b"mine")
        done = run("mend", "--to", scratch / "other", scratch / "in", status=2)
        assert b"exists already; --force replaces it" in done.stderr
        assert (scratch / "other" / "zlarge").read_bytes() == b"mine"
        if os.geteuid() != 0:
            (scratch / "in" / "plain").chmod(0)
            done = run("check", scratch / "in", status=2)
            (scratch / "in" / "plain").chmod(0o700)
            assert b"plain: error: Permission denied" in done.stderr
        elif shutil.which("setpriv"):
            os.chmod(scratch, 0o755)
            os.chmod(scratch / "in" / "plain", 0)
            done = subprocess.run(["setpriv", "--reuid=65534", "--clear-groups", TOOL, "check", scratch / "in"],
                                  capture_output=True)
            assert done.returncode == 2 and b"plain: error: Permission denied" in done.stderr, done.stderr[-500:]
            assert b"files (" in done.stderr.splitlines()[-1]
        # Inputs are not written over, nor is what others wrote when a run is gone on with.
        before = tree(scratch / "in")
        for inputs in (("in",), ("in/plain",), ("in/zlarge",)):
            done = run("mend", "--to", "in", "--force", *inputs, cwd=scratch, status=2)
            assert b"which is never overwritten" in done.stderr
        assert tree(scratch / "in") == before
        run("mend", "--to", scratch / "other", scratch / "in", "--resume", status=2)
        assert (scratch / "other" / "zlarge").read_bytes() == b"mine"
        # The outputs of a run may stand among its inputs.
        run("mend", "--to", scratch / "in" / "mended", scratch / "in", status=2)
        count = len(tree(scratch / "in" / "mended"))
        run("mend", "--to", scratch / "in" / "mended", scratch / "in", "--resume")
        assert len(tree(scratch / "in" / "mended")) == count


def standard_streams():
    data = made("1.2.3", date="2020.01.02")
    mended = run("mend", "-", "-", input=data, status=1)
    assert b"standard input: warning: (0008,0020)" in mended.stderr
    assert run("check", "-", input=mended.stdout, status=0).stdout == b""
    assert run("list", "--format", "tsv", "-", input=data).stdout.count(b"\n") == 28
    assert b"20200102" in run("complete", "--module", "SC", "--set", "0010,0030=20200102", "-", "-", input=data).stdout
    with Scratch() as scratch:
        names = [scratch / "a\nb", scratch / "c"]
        for name in names:
            name.write_bytes(data)
        zeros = b"".join(os.fsencode(name) + b"\0" for name in names)
        assert run("check", "--from-list", "-", "-0", input=zeros, status=1).stdout.count(b"(0008,0020)") == 2
        assert run("list", "--from-list", "-", "--null", "--format", "json", input=zeros).stdout.count(b"00080020") == 2
        run("check", "--from-list", scratch / "none", status=2)
        assert b"--null" in run("check", "--from-list", "-", input=zeros, status=2).stderr
        assert b"directory" in run("check", "--from-list", scratch, status=2).stderr
        # What has come through a named pipe is not asked for again.
        os.mkfifo(scratch / "pipe")
        with subprocess.Popen(["cp", scratch / "c", scratch / "pipe"]):
            run("mend", "--to", scratch / "out", "--report", scratch / "out.jsonl", scratch / "pipe", status=1, timeout=60)


TESTS = (same_with_any_number_of_jobs, shards_are_parts, inputs_are_never_written_over, inputs_of_one_name_stay_apart,
         what_is_mended_leaves_quarantine, names_of_the_runs_own_are_kept_apart, layouts_stay_below_their_folder,
         rooms_and_rights, standard_streams)

if __name__ == "__main__":
    run_all(TESTS)
