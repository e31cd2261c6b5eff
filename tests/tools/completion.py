"""Asks bash, zsh and fish to complete command lines, as somebody who types: completion.py TOOL TREE"""

import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import time

TOOL, SCRIPTS = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve() / "tools/dicom_mend/completion"

# What is typed before the tabulator and after it, and the words that come of it.
CASES = [
    ("chec", "", ["check"]),
    ("help und", "", ["help", "undo"]),
    ("--vers", "", ["--version"]),
    ("check --stu", "x", ["check", "--study", "x"]),
    ("mend --group", "", ["mend", "--group-lengths"]),
    ("list --format ts", "x", ["list", "--format", "tsv", "x"]),
    ("list --format=ts", "x", ["list", "--format=tsv", "x"]),
    ("mend --force --syntax explicit-l", "", ["mend", "--force", "--syntax", "explicit-little"]),
    ("check --module CT-", "", ["check", "--module", "CT-ENHANCED"]),
    ("complete --set PatientBirthN", "ROE", ["complete", "--set", "PatientBirthName=ROE"]),
    ("check --explain=PixelBandw", "", ["check", "--explain=PixelBandwidth"]),
    ("list --only PixelBandw", "", ["list", "--only", "PixelBandwidth"]),
    ("list --only ReferencedImageSequence[0]/PixelBandw", "", ["list", "--only", "ReferencedImageSequence[0]/PixelBandwidth"]),
    ("complete --set=OtherPatientIDsSequence[0]/PatientBirthN", "ROE", ["complete", "--set=OtherPatientIDsSequence[0]/PatientBirthName=ROE"]),
    ("list --only 'PixelBandw", "x", ["list", "--only", "PixelBandwidth", "x"]),
    ('check --module "CT-', 'x', ["check", "--module", "CT-ENHANCED", "x"]),
    ("list --only 'ReferencedImageSequence[0]/PixelBandw", "x", ["list", "--only", "ReferencedImageSequence[0]/PixelBandwidth", "x"]),
    ("list --only ReferencedImageSequence\\[0\\]/PixelBandw", "", ["list", "--only", "ReferencedImageSequence[0]/PixelBandwidth"]),
    ("explain offset-t", "", ["explain", "offset-table"]),
    ("code 813", "x", ["code", "8131", "x"]),
    ("dict Rows PixelBandw", "", ["dict", "Rows", "PixelBandwidth"]),
    ("check some\\ fi", "x", ["check", "some file.dcm", "x"]),
    ("mend some\\ file.dcm out", "", ["mend", "some file.dcm", "output.dcm"]),
    ("check --report=tot", "", ["check", "--report=totals.csv"]),
    ("check -- --stu", "", ["check", "--", "--stu"]),
    # Folders alone where a folder is asked for.
    ("mend --to some", "", ["mend", "--to", "some folder/"]),
    # What several begin with is typed as far as they agree.
    ("complete --set Patient", "", ["complete", "--set", "Patient"]),
]

SHELLS = {
    "bash": (["bash", "--norc", "--noprofile", "-i"], "source {}/dicom-mend.bash"),
    "zsh": (["zsh", "-f", "-i"], "fpath=({} $fpath); autoload -U compinit; compinit -u -D; bindkey -e; "
            "unsetopt auto_remove_slash"),
    "fish": (["fish", "--no-config", "-i"], "source {}/dicom-mend.fish"),
}


class Shell:
    """A shell at a terminal."""

    def __init__(self, name, folder):
        command, start = SHELLS[name]
        self.words = folder / "words"
        self.screen = b""
        environment = {"PATH": f"{folder / 'bin'}:{TOOL.parent}:/usr/bin:/bin", "HOME": str(folder / "home"),
                       "TERM": "xterm", "LC_ALL": "C.UTF-8", "WORDS": str(self.words)}
        for variable in ("ASAN_OPTIONS", "LSAN_OPTIONS"):
            if variable in os.environ:
                environment[variable] = os.environ[variable]
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder / "files")
            os.execvpe(command[0], command, environment)
        self.type(start.format(SCRIPTS) + "; tell ready\r")
        self.told(30)

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def told(self, seconds):
        """The words that the shell handed to the program tell."""
        end = time.monotonic() + seconds
        while not self.words.exists():
            if time.monotonic() > end:
                raise TimeoutError("the shell does not answer: " + repr(self.screen[-2000:]))
            if select.select([self.terminal], [], [], 0.02)[0]:
                self.screen += os.read(self.terminal, 4096)
        words = self.words.read_bytes().decode().split("\0")[:-1]
        self.words.unlink()
        return words

    def complete(self, before, after):
        # At the beginning of the line the command is made one that tells its words.
        self.type(f"dicom-mend {before}\t{after}\x01tell \r")
        return self.told(30)

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


def make_folder(folder):
    for name in ("bin", "home", "files/some folder"):
        (folder / name).mkdir(parents=True)
    for name in ("some file.dcm", "output.dcm", "totals.csv"):
        (folder / "files" / name).touch()
    tell = folder / "bin/tell"
    # Renamed into place: the words are there whole or not at all.
    tell.write_text("#!/bin/sh\nprintf '%s\\0' \"$@\" >\"$WORDS.new\"\nmv \"$WORDS.new\" \"$WORDS\"\n")
    tell.chmod(0o755)


def main():
    subprocess.run([TOOL, "--version"], check=True, stdout=subprocess.DEVNULL)
    missing = [name for name in SHELLS if shutil.which(name) is None]
    failures = 0
    for name in SHELLS:
        if name in missing:
            print(name, "is not there")
            continue
        with tempfile.TemporaryDirectory() as folder:
            make_folder(pathlib.Path(folder))
            shell = Shell(name, pathlib.Path(folder))
            for before, after, expected in CASES:
                words = shell.complete(before, after)[1:]
                if words != expected:
                    print(f"{name}: {before!r} becomes {words}, not {expected}")
                    failures += 1
            shell.close()
    if failures > 0:
        sys.exit(1)
    sys.exit(77 if missing else 0)


main()
