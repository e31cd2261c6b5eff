"""Runs `dicom-mend` over a made archive: archive.py TOOL [FILES [KILLS]]

The same trees, texts and reports with any number of workers; hostile names and values; runs that are killed,
interrupted, out of room, or meet folders without rights.
"""

import collections
import contextlib
import csv
import fcntl
import hashlib
import io
import json
import os
import pathlib
import random
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

TOOL = os.path.abspath(sys.argv[1])
FILES = int(sys.argv[2]) if len(sys.argv) > 2 else 300
KILLS = int(sys.argv[3]) if len(sys.argv) > 3 else 100
KINDS = ("sound", "mendable", "cut", "foreign", "duplicate")
FOLDERS = ("plain", "with blank", "line\nend", "ü\u202e", "quote\"'", "-dash", "a,b;c", "deep/er/and/deeper", "%41$(x)")


def element(group, number, vr, value):
    value = value if isinstance(value, bytes) else value.encode("utf-8")
    value += b"" if len(value) % 2 == 0 else (b"\0" if vr in ("UI", "OB") else b" ")
    head = struct.pack("<HH2s", group, number, vr.encode())
    if vr in ("OB", "OW", "SQ", "UN"):
        return head + struct.pack("<HI", 0, len(value)) + value
    return head + struct.pack("<H", len(value)) + value


def made(uid, patient="Doe", date="20200101", series="1", maker="ACME", pixels=64):
    meta = (element(2, 1, "OB", b"\0\1") + element(2, 2, "UI", "1.2.840.10008.5.1.4.1.1.7") +
            element(2, 3, "UI", uid) + element(2, 0x10, "UI", "1.2.840.10008.1.2.1") +
            element(2, 0x12, "UI", "1.2.3"))
    body = (element(8, 5, "CS", "ISO_IR 192") + element(8, 0x16, "UI", "1.2.840.10008.5.1.4.1.1.7") + element(8, 0x18, "UI", uid) +
            element(8, 0x20, "DA", date) + element(8, 0x60, "CS", "OT") + element(8, 0x70, "LO", maker) +
            element(8, 0x1090, "LO", "Model " + maker) + element(0x10, 0x10, "PN", patient) +
            element(0x10, 0x20, "LO", patient) + element(0x18, 0x1020, "LO", "v1") +
            element(0x20, 0xD, "UI", "1.2.3.4") + element(0x20, 0xE, "UI", "1.2.3.4.5") +
            element(0x20, 0x11, "IS", series) + element(0x28, 2, "US", b"\1\0") +
            element(0x28, 4, "CS", "MONOCHROME2") + element(0x28, 0x10, "US", b"\1\0") +
            element(0x28, 0x11, "US", struct.pack("<H", pixels)) + element(0x28, 0x100, "US", b"\x08\0") +
            element(0x28, 0x101, "US", b"\x08\0") + element(0x28, 0x102, "US", b"\x07\0") +
            element(0x28, 0x103, "US", b"\0\0") + element(0x7FE0, 0x10, "OB", bytes(n % 251 for n in range(pixels))))
    return (b"\0" * 128 + b"DICM" + element(2, 0, "UL", struct.pack("<I", len(meta))) + meta + body)


def make_archive(folder, files, seed=1):
    """Writes the files, whose names say their kinds; gives how many there are of each."""
    chance, count = random.Random(seed), collections.Counter()
    for number in range(files):
        kind = KINDS[number % len(KINDS)]
        count[kind] += 1
        uid = f"1.2.3.{number - 4 if kind == 'duplicate' else number}"
        maker = ("ACME", "Other, Inc.", "Ä-Works")[number % 3]
        data = made(uid, date="2020.01.02" if kind == "mendable" else "20200101", maker=maker,
                    pixels=chance.choice((64, 64, 64, 1000, 60000)))
        data = data[:chance.randrange(len(data) - 60, len(data) - 10)] if kind == "cut" else data
        data = b"no DICOM at all %d\n" % number if kind == "foreign" else data
        place = folder / chance.choice(FOLDERS) / str(number % 17)
        place.mkdir(parents=True, exist_ok=True)
        (place / f"{number}-{kind}").write_bytes(data)
    (folder / ".hidden").write_bytes(b"x")
    (folder / "link").symlink_to(".")
    (folder / "gone").symlink_to("nowhere")
    return count


def run(*arguments, status=None, **options):
    done = subprocess.run([TOOL, *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)
    assert status is None or done.returncode == status, (arguments, done.returncode, done.stderr[-2000:])
    return done


def tree(folder):
    return {path.relative_to(folder): path.read_bytes()
            for path in sorted(folder.rglob("*")) if path.is_file() and not path.is_symlink()}


def report(path):
    """A report without the time that each file took, which alone may differ."""
    return re.sub(r',"seconds":[0-9.]+|,[0-9.]+\r?\n', "", path.read_text("utf-8"))


def first_difference(one, another):
    for lines in zip(one.splitlines(), another.splitlines()) if hasattr(one, "splitlines") else ():
        if lines[0] != lines[1]:
            return lines
    return len(one), len(another)


class Scratch:
    def __enter__(self):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="archive_"))
        return self.path

    def __exit__(self, *_):
        shutil.rmtree(self.path, ignore_errors=True)


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


def killed_runs_lose_and_repeat_nothing(kills):
    """The log has each file once when its work was done once; what is in the tree is whole at any moment."""
    with Scratch() as scratch:
        make_archive(scratch / "in", FILES)
        run("mend", "--to", "whole", "--quarantine", "apart", "--report", "whole.jsonl", "in", status=2, cwd=scratch)
        apart = tree(scratch / "apart")
        whole, chance = tree(scratch / "whole"), random.Random(3)
        start = time.monotonic()
        run("mend", "--to", scratch / "timed", scratch / "in", status=2)
        length = time.monotonic() - start
        killed = 0
        while killed < kills:
            out = scratch / "out"
            # A relative name means the same before and after the folder is there.
            arguments = [TOOL, "mend", "--to", "out", "--quarantine", "bad", "--report", str(scratch / "out.jsonl"), "--resume", "in"]
            for _ in range(5):
                process = subprocess.Popen(arguments, cwd=scratch, stderr=subprocess.DEVNULL)
                time.sleep(chance.uniform(0, length / 3))
                process.send_signal(signal.SIGKILL)
                killed += process.wait() == -signal.SIGKILL
                for name, data in tree(out).items() if out.exists() else ():
                    assert name.parts[0].startswith(".dicom-mend") or whole[name] == data, name
            assert subprocess.run(arguments, cwd=scratch, stderr=subprocess.DEVNULL).returncode == 2
            after = tree(out)
            assert after == whole, [name for name in after.keys() | whole.keys() if after.get(name) != whole.get(name)]
            assert report(scratch / "out.jsonl").replace('"out/', '"whole/') == report(scratch / "whole.jsonl")
            done = [name for kind, name in state_records(scratch / "out.state") if kind == "D"]
            assert len(done) == len(set(done)) == FILES, (len(done), len(set(done)))
            assert tree(scratch / "bad") == apart
            shutil.rmtree(scratch / "bad")
            shutil.rmtree(out)
            (scratch / "out.state").unlink()


def state_end(path, count):
    """Where so many records of a state end."""
    data, at = path.read_bytes(), len(b"dicom-mend run 1\n")
    for _ in range(count):
        at += 9 + int.from_bytes(data[at:at + 4], "little")
    return at


def state_records(path):
    data, at = path.read_bytes(), len(b"dicom-mend run 1\n")
    while at < len(data):
        size = int.from_bytes(data[at:at + 4], "little")
        body = data[at + 9:at + 9 + size]
        length, shift, used = 0, 0, 0
        while True:
            length |= (body[used] & 127) << shift
            used, shift = used + 1, shift + 7
            if body[used - 1] < 128:
                break
        yield chr(data[at + 8]), body[used:used + length]
        at += 9 + size


def changed_and_missing_files_are_done_again():
    with Scratch() as scratch:
        make_archive(scratch / "in", 50)
        arguments = ("mend", "--to", scratch / "out", scratch / "in")
        run(*arguments, status=2)
        whole = tree(scratch / "out")
        assert b"--resume" in run(*arguments, status=2).stderr
        names = sorted(whole)
        # What the first run did not sum up for a report is summed up then.
        run(*arguments, "--resume", "--report", scratch / "out.jsonl", status=2)
        sums = {entry["sha256_out"] for entry in map(json.loads, open(scratch / "out.jsonl")) if "sha256_out" in entry}
        assert sums == {hashlib.sha256(data).hexdigest() for data in whole.values()}
        (scratch / "out" / names[0]).unlink()
        changed = scratch / "in" / names[1]
        changed.write_bytes(made("1.2.3.999"))
        again = run(*arguments, "--resume")
        assert b"changed since: 1" in again.stderr and b"done before: 48" in again.stderr, again.stderr
        after = tree(scratch / "out")
        assert after.keys() == whole.keys() and after[names[0]] == whole[names[0]]
        assert b"1.2.3.999" in after[names[1]]
        assert b"other options" in run(*arguments, "--resume", "--drop-private", status=2).stderr
        # A torn end of the log is no harm, a file that is none is not written over.
        state = scratch / "out.state"
        state.write_bytes(state.read_bytes()[:-3])
        run(*arguments, "--resume")
        assert tree(scratch / "out") == after
        # One that was killed at its very beginning has done nothing.
        state.write_bytes(b"dicom-mend run 3\n\5\0")
        run(*arguments, "--resume")
        assert tree(scratch / "out") == after
        # What was not printed is printed when the run goes on, and nothing else.
        run(*arguments, "--resume")
        records = list(state_records(state))
        last = max(number for number, record in enumerate(records) if record[0] == "S")
        name = records[last][1].decode()
        state.write_bytes(state.read_bytes()[:state_end(state, last)])
        said = run(*arguments, "--resume").stderr
        assert said.count(b"\n") > 1 and all(name.split("/")[-1].encode() in line for line in said.splitlines()[:-1]), (name, said)
        assert run(*arguments, "--resume").stderr.count(b"\n") == 1
        # What was made of a file stays when it is none any more, or moves in a layout, and that is said.
        changed.write_bytes(b"a letter, which is no DICOM file")
        assert str(names[1]).encode() + b": warning: what was made of the file before it changed stays: " in run(*arguments, "--resume").stderr
        one = scratch / "one"
        one.mkdir()
        for patient, status, count in (("A", 0, 1), ("B", 1, 2), ("B", 0, 2)):
            (one / "1").write_bytes(made("1.2.3", patient=patient))
            said = run("mend", "--to", scratch / "p", "--layout", "{PatientID}/1.dcm", one, "--resume", status=status).stderr
            assert [str(path) for path in tree(scratch / "p")] == ["A/1.dcm", "B/1.dcm"][:count], said
        # Another file is never taken for a state or a report.
        state.write_bytes(b"letter\n")
        for more in ("--resume", "--force"):
            assert b"is no state of a run" in run(*arguments, more, status=2).stderr
        assert state.read_bytes() == b"letter\n"
        letter = scratch / "letter.csv"
        letter.write_bytes(b"file,price\n")
        assert b"never replaced" in run("mend", "--to", scratch / "new", "--force", "--report", letter, changed, status=2).stderr
        assert letter.read_bytes() == b"file,price\n"


def what_could_not_be_done_is_known():
    """What a state says of inputs that could not be read and of outputs that could not be put into their places."""
    with Scratch() as scratch:
        (scratch / "in").mkdir()
        for number in range(3):
            (scratch / "in" / f"{number}.dcm").write_bytes(made(f"1.2.{number}"))
        (scratch / "out" / "in").mkdir(parents=True)
        (scratch / "out" / "in" / "1.dcm").write_bytes(b"a letter")
        arguments = ("mend", "--to", "out", "in", "away/none", "gone.dcm")
        lines = ["gone.dcm: error: No such file or directory", "in/1.dcm: error: cannot be written to out/in/1.dcm: exists already; --force replaces it",
                 "away/none: error: No such file or directory"]
        for resumes in range(3):
            done = run(*arguments, *(["--resume"] if resumes else []), cwd=scratch, status=2)
            said = done.stderr.decode().splitlines()
            assert sorted(line for line in said[:-1]) == ([] if resumes else sorted(lines)), said
            assert said[-1].startswith("5 files") and said[-1].count("3 not whole") == 1 and "any more" not in said[-1], said
            totals = json.loads(run("report", "--json", "out", cwd=scratch, status=2).stdout)
            assert (totals["files"], totals["failed"]) == (5, 3), totals
        # It is done when it can be, and what has another reason then is said again.
        (scratch / "gone.dcm").write_bytes(made("1.2.9"))
        (scratch / "away").mkdir()
        (scratch / "away" / "none").write_bytes(made("1.2.8"))
        (scratch / "out" / "in" / "1.dcm").unlink()
        run(*arguments, "--resume", cwd=scratch, status=0)
        assert json.loads(run("report", "--json", "out", cwd=scratch, status=0).stdout)["failed"] == 0


def others_files_in_the_places_of_outputs_stay():
    """Whatever stands there when a run goes on, unless it is what the run has put there."""
    with Scratch() as scratch:
        (scratch / "in").mkdir()
        (scratch / "in" / "0.dcm").write_bytes(made("1.2.3"))
        arguments = ("mend", "--to", scratch / "out", scratch / "in", "--resume")
        run(*arguments)
        output, state = scratch / "out" / "0.dcm", scratch / "out.state"
        mended = output.read_bytes()
        for another in (mended + b"\0", mended[:-1], mended[:-1] + b"\1"):
            for change in (False, True):
                output.rename(scratch / "kept")
                output.write_bytes(another)
                if change:
                    (scratch / "in" / "0.dcm").write_bytes(made("1.2.4"))
                assert b"0.dcm: exists already; --force" in run(*arguments, status=2).stderr and output.read_bytes() == another
                (scratch / "kept").rename(output)
                run(*arguments, status=0)
                (scratch / "in" / "0.dcm").write_bytes(made("1.2.3"))
                run(*arguments, status=0)
                assert output.read_bytes() == mended
        # The same bytes may have been put there anew; from then on they are the run's own.
        output.write_bytes(mended)
        for _ in range(2):
            before = output.stat().st_mtime_ns
            assert (b"done before: 1" in run(*arguments, status=0).stderr) == bool(_) and output.stat().st_mtime_ns == before
        # What a machine that lost power has left is the run's own.
        output.write_bytes(b"")
        run(*arguments)
        assert output.read_bytes() == mended
        # Killed when the log knew the place already, and the output was not there yet.
        (scratch / "in2").mkdir()
        (scratch / "in2" / "0.dcm").write_bytes(made("1.2.3"))
        for another in (mended[::-1], b"a letter", b"", None):
            arguments = ("mend", "--to", scratch / "out2", scratch / "in2", "--resume")
            run(*arguments)
            records = list(state_records(scratch / "out2.state"))
            placed = [kind for kind, _ in records].index("P")
            staged = re.search(rb"\.dicom-mend/\d/[\w-]+", (scratch / "out2.state").read_bytes()).group().decode()
            (scratch / "out2.state").write_bytes((scratch / "out2.state").read_bytes()[:state_end(scratch / "out2.state", placed + 1)])
            (scratch / "out2" / staged).parent.mkdir(parents=True)
            (scratch / "out2" / "0.dcm").rename(scratch / "out2" / staged)
            if another is not None:
                (scratch / "out2" / "0.dcm").write_bytes(another)
            run(*arguments, status=0 if another is None else 2)
            assert (scratch / "out2" / "0.dcm").read_bytes() == (mended if another is None else another), another
            shutil.rmtree(scratch / "out2")
            (scratch / "out2.state").unlink()


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


def what_is_not_there_any_more_is_not_reported():
    with Scratch() as scratch:
        (scratch / "in" / "b").mkdir(parents=True)
        for name, data in (("a.dcm", made("1.2.3")), ("t.dcm", made("1.2.4")[:-20]), ("b/c.dcm", made("1.2.5"))):
            (scratch / "in" / name).write_bytes(data)
        away = [scratch / "in" / "t.dcm", scratch / "t.dcm"]
        for step, (status, files, words) in enumerate(((2, 3, b""), (0, 2, b"; not there any more: 1"), (0, 2, b""), (2, 3, b""))):
            if step in (1, 3):
                away[0].rename(away[1])
                away.reverse()
            for form in ("r.jsonl", "r.csv"):
                done = run("mend", "--to", "o", "--report", form, "--resume", "in", cwd=scratch, status=status if form == "r.jsonl" else None)
                assert form != "r.jsonl" or (b"any more" in done.stderr) == bool(words) and words in done.stderr, (step, done.stderr)
            for of in ("o", "r.jsonl"):
                assert json.loads(run("report", "--json", of, cwd=scratch, status=status).stdout)["files"] == files, (step, of)
        # Why nothing could be found out stands in every report.
        run("check", "--report", "n.csv", "none.dcm", "in/a.dcm", cwd=scratch, status=2)
        row = next(csv.DictReader(open(scratch / "n.csv", newline="")))
        assert (row["file"], row["errors"], row["kinds"], row["failure"]) == ("none.dcm", "1", "unreadable:1", "No such file or directory"), row


def runs_go_on_from_other_folders():
    with Scratch() as scratch:
        make_archive(scratch / "in", 50)
        (scratch / "a" / "b").mkdir(parents=True)
        run("mend", "--to", "out", scratch / "in", cwd=scratch, status=2)
        whole = tree(scratch / "out")
        for place, name in (("a", "../out"), ("a/b", "../../out"), (".", scratch / "out")):
            again = run("mend", "--to", name, "--resume", scratch / "in", cwd=scratch / place, status=2)
            assert b"done before: 50" in again.stderr and tree(scratch / "out") == whole, (place, again.stderr)


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


def interrupted_runs_end_in_order():
    with Scratch() as scratch:
        make_archive(scratch / "in", max(FILES, 300))
        arguments = ["mend", "--to", str(scratch / "out"), "--report", str(scratch / "r.jsonl"), str(scratch / "in")]
        process = subprocess.Popen([TOOL, *arguments], stderr=subprocess.PIPE, start_new_session=True)
        while len(list((scratch / "out").rglob("*-sound"))) < 5:
            time.sleep(0.001)
        os.killpg(process.pid, signal.SIGINT)
        said = process.communicate()[1]
        if process.returncode != 2:
            assert process.returncode == -signal.SIGINT and b"--resume goes on" in said, (process.returncode, said[-300:])
            last = json.loads((scratch / "r.jsonl").read_text().splitlines()[-1])
            assert last["complete"] is False
            for part in ("r.jsonl", "out", "out.state"):
                merged = run("report", "--force", "--to", scratch / "m.jsonl", scratch / part, status=2)
                assert b"the run is not at its end" in merged.stderr, merged.stderr
                assert json.loads((scratch / "m.jsonl").read_text().splitlines()[-1])["complete"] is False
        run(*arguments, "--resume")
        run("mend", "--to", scratch / "whole", scratch / "in")
        assert tree(scratch / "out") == tree(scratch / "whole")
        for part in ("r.jsonl", "out", "out.state"):
            assert b"at its end" not in run("report", scratch / part).stderr
        # One that is interrupted in its last file is at its end.
        os.mkfifo(scratch / "pipe")
        process = subprocess.Popen([TOOL, "check", "--state", scratch / "s", scratch / "pipe"], stderr=subprocess.PIPE)
        with open(scratch / "pipe", "wb") as pipe:
            # It knows that this is the last one when nobody but the worker is left.
            while len(workers_of(process.pid)) > 1:
                time.sleep(0.001)
            process.send_signal(signal.SIGINT)
            time.sleep(0.2)
            pipe.write(made("1.2.3"))
        said = process.communicate()[1]
        assert said.endswith(b"1 clean, 0 with findings, 0 not whole\n") and process.returncode == -signal.SIGINT, (process.returncode, said)
        assert run("report", scratch / "s", status=0).stderr == b""


def a_worker_that_dies_costs_its_file():
    with Scratch() as scratch:
        (scratch / "in").mkdir()
        for number in range(40):
            (scratch / "in" / f"{number:02}").write_bytes(made(f"1.2.{number}"))
        # A pipe that nobody writes to keeps its worker waiting until that is killed.
        os.mkfifo(scratch / "pipe")
        names = sorted(str(path) for path in (scratch / "in").iterdir())
        listing = scratch / "list"
        listing.write_text("\n".join([*names[:20], str(scratch / "pipe"), *names[20:]]) + "\n")
        for more in (["list", "--format", "json"], ["check", "--report", scratch / "r.jsonl"]):
            process = subprocess.Popen([TOOL, *more, "--from-list", listing, "--jobs", "2"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            with open(scratch / "pipe", "wb"):
                # Who opened the other end is the worker.
                waiting, end = [], time.monotonic() + 30
                while not waiting and time.monotonic() < end:
                    waiting = [pid for pid in workers_of(process.pid) if scratch / "pipe" in files_of(pid)]
                os.kill(waiting[0], signal.SIGKILL)
            out = process.communicate(timeout=60)[0].decode()
            assert process.returncode == 2
            if more[0] == "list":
                assert [model is None for model in json.loads(out)] == [number == 20 for number in range(41)]
        assert f"{scratch}/pipe: error: cannot be worked on: its process was ended by signal 9 (Killed)" in out, out
        records = [json.loads(line) for line in (scratch / "r.jsonl").read_text().splitlines()]
        assert collections.Counter(r["status"] for r in records if "file" in r) == {"clean": 40, "failed": 1}
        # What nobody knows of the file is tried again.
        for name in names:
            pathlib.Path(name).write_bytes(made("1.2.3", pixels=60000))
        arguments = ("mend", "--to", "new", "--jobs", "1", "in")
        process = subprocess.Popen([TOOL, *arguments], cwd=scratch, stderr=subprocess.DEVNULL)
        is_killed = False
        while process.poll() is None and not is_killed:
            # What was a worker a moment ago may have ended.
            with contextlib.suppress(ProcessLookupError, FileNotFoundError, IndexError):
                if len(list((scratch / "new").glob("*"))) > 3:
                    os.kill(workers_of(process.pid)[-1], signal.SIGKILL)
                    is_killed = True
        process.wait()
        run(*arguments, "--resume", cwd=scratch)
        assert len(tree(scratch / "new")) == 40


def workers_of(pid):
    return [int(p) for p in pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]


def files_of(pid):
    try:
        return [path.readlink() for path in pathlib.Path(f"/proc/{pid}/fd").iterdir()]
    except OSError:
        return []


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


def killed_runs():
    killed_runs_lose_and_repeat_nothing(KILLS)


TESTS = (same_with_any_number_of_jobs, shards_are_parts, runs_go_on_from_other_folders, inputs_are_never_written_over, inputs_of_one_name_stay_apart,
         what_is_mended_leaves_quarantine, changed_and_missing_files_are_done_again,
         what_could_not_be_done_is_known, names_of_the_runs_own_are_kept_apart, what_is_not_there_any_more_is_not_reported,
         others_files_in_the_places_of_outputs_stay,
         interrupted_runs_end_in_order, a_worker_that_dies_costs_its_file, layouts_stay_below_their_folder,
         rooms_and_rights, standard_streams, killed_runs)

if __name__ == "__main__":
    for test in TESTS:
        begin = time.monotonic()
        test()
        print(f"{test.__name__}: {time.monotonic() - begin:.1f} s", flush=True)
