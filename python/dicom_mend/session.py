"""Options and findings of calls, and what files may be given as."""

from __future__ import annotations

import os
from typing import IO, List, Optional, Union

from . import _library
from ._library import check, lib, taken
from .findings import Finding, findings_of

#: A path, the bytes of a file, or an open binary file.
Source = Union[str, os.PathLike[str], bytes, bytearray, memoryview, IO[bytes]]

_FLAGS = {
    "strict": 1,
    "replace_uids": 2,
    "pad_pixels": 3,
    "to_utf8": 4,
    "record": 5,
    "drop_private": 6,
    "group_lengths": 7,
    "defined_lengths": 8,
}
_SYNTAXES = {"keep": 0, "implicit-little": 1, "explicit-little": 2, "explicit-big": 3}
_FORMATS = {"text": 0, "json": 1, "sarif": 2}


class Session:
    """Holds options, and what was found with them. Used by one thread at a time."""

    def __init__(self, *, syntax: str = "keep", charset: str = "", **flags: bool) -> None:
        self._handle: Optional[int] = lib.session_new()
        if not self._handle:
            raise MemoryError("no memory for a session")
        if syntax not in _SYNTAXES:
            raise ValueError(f"syntax: {syntax!r} is none of {', '.join(_SYNTAXES)}")
        self.check(lib.set_syntax(self._handle, _SYNTAXES[syntax]))
        self.check(lib.set_charset(self._handle, charset.encode()))
        for name, on in flags.items():
            if name not in _FLAGS:
                raise TypeError(f"{name}: no such option; there are {', '.join(_FLAGS)}")
            self.check(lib.set_flag(self._handle, _FLAGS[name], int(on)))

    def __del__(self) -> None:
        handle, self._handle = getattr(self, "_handle", None), None
        if handle:
            lib.session_free(handle)

    @property
    def handle(self) -> int:
        """For calls of the C interface."""
        assert self._handle is not None
        return self._handle

    def check(self, status: int) -> None:
        """Raises what a status stands for, in the words of the library."""
        if status != _library.OK:
            check(status, lib.last_error(self.handle))

    @property
    def findings(self) -> List[Finding]:
        """All since the session was made or cleared, in their order."""
        return findings_of(self.handle)

    @property
    def outcome(self) -> int:
        """0 nothing against the standard, 1 something is, 2 something was lost."""
        return int(lib.outcome(self.handle))

    def clear_findings(self) -> None:
        """Forgets them."""
        lib.clear_findings(self.handle)

    def report(self, file: str, format: str = "text", show_values: bool = False) -> str:
        """All findings as "text", "json" (an object a line) or "sarif"."""
        if format not in _FORMATS:
            raise ValueError(f"format: {format!r} is none of {', '.join(_FORMATS)}")
        name, number = os.fsencode(file), _FORMATS[format]
        return taken(
            lambda text, size: self.check(
                lib.report(self.handle, name, number, int(show_values), text, size))
        ).decode("utf-8", "replace")


def path_or_bytes(source: Source) -> Union[bytes, str]:
    """Bytes as they are, those of an open file, or a path."""
    if isinstance(source, (bytes, bytearray, memoryview)):
        return bytes(source)
    if hasattr(source, "read"):
        data = source.read()
        if not isinstance(data, bytes):
            raise TypeError("the file was not opened as a binary one")
        return data
    return os.fspath(source)
