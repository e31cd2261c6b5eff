#!/usr/bin/env python3
"""What checking through Python costs beside the command line, in processor time.

    bench/python_check.py BUILD [FOLDER]

2,000 copies of the small files of FOLDER (default: examples/) are checked by both, several times in turn; of each
the best run counts. Both do the whole work: the tool prints all findings, Python holds them as objects.
"""

import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(sys.argv[1]).resolve()
os.environ["DICOM_MEND_LIBRARY"] = str(BUILD / "lib" / "libLib_DICOM_Mend.so.21")
sys.path.insert(0, str(ROOT / "python"))
sys.dont_write_bytecode = True

import dicom_mend  # noqa: E402

FILES, SMALL, RUNS, MOST = 2000, 16384, 7, 1.5


def by_tool(paths):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run([BUILD / "bin" / "dicom-mend", "check", *paths], stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def by_python(paths):
    before = time.process_time()
    found = [dicom_mend.check(path) for path in paths]
    return time.process_time() - before, sum(map(len, found))


def main():
    folder = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else ROOT / "examples"
    small = sorted(path for path in folder.glob("*.dcm") if path.stat().st_size <= SMALL)
    with tempfile.TemporaryDirectory() as work:
        paths = [os.path.join(work, f"{i:04}.dcm") for i in range(FILES)]
        for i, path in enumerate(paths):
            shutil.copyfile(small[i % len(small)], path)
        tool, python = [], []
        for _ in range(RUNS):
            tool.append(by_tool(paths))
            seconds, count = by_python(paths)
            python.append(seconds)
        start = time.process_time()
        for _ in range(100):
            dicom_mend.check(paths[0])
        call = (time.process_time() - start) / 100
    ratio = min(python) / min(tool)
    print(f"{FILES} files, {count} findings: dicom-mend {min(tool):.3f} s, Python {min(python):.3f} s, "
          f"{ratio:.2f} times (at most {MOST}); one call {1000 * call:.3f} ms (at most 1)")
    return int(ratio > MOST or call > 0.001)


sys.exit(main())
