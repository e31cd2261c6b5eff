"""Runs of `dicom-mend` that are killed, interrupted, and gone on with: archive_runs.py TOOL [FILES [KILLS]]"""

import collections
import contextlib
import csv
import hashlib
import json
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import time

from archive_maker import (TOOL, Scratch, files_of, made, make_archive, report, run, run_all, state_end, state_records,
                           tree, workers_of)

FILES = int(sys.argv[2]) if len(sys.argv) > 2 else 300
KILLS = int(sys.argv[3]) if len(sys.argv) > 3 else 100


def killed_runs_lose_and_repeat_nothing():
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
        while killed < KILLS:
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


TESTS = (runs_go_on_from_other_folders, changed_and_missing_files_are_done_again, what_could_not_be_done_is_known,
         what_is_not_there_any_more_is_not_reported, others_files_in_the_places_of_outputs_stay,
         interrupted_runs_end_in_order, a_worker_that_dies_costs_its_file, killed_runs_lose_and_repeat_nothing)

if __name__ == "__main__":
    run_all(TESTS)
