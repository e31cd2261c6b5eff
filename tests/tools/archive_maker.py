"""Made archives, and what is looked at when `dicom-mend` was run over them."""

import collections
import os
import pathlib
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time

TOOL = os.path.abspath(sys.argv[1])
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


def workers_of(pid):
    return [int(p) for p in pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]


def files_of(pid):
    try:
        return [path.readlink() for path in pathlib.Path(f"/proc/{pid}/fd").iterdir()]
    except OSError:
        return []


def run_all(tests):
    for test in tests:
        begin = time.monotonic()
        test()
        print(f"{test.__name__}: {time.monotonic() - begin:.1f} s", flush=True)
