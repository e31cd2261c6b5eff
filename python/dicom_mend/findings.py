"""What was found in a file, and what becomes of it."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
from typing import Optional

from ._library import lib


class Severity(enum.IntEnum):
    INFO = 0
    WARNING = 1
    ERROR = 2


class Level(enum.IntEnum):
    """What becomes of a fault: INFO is none, LOSS is what could not be read, kept or written."""

    INFO = 0
    CHANGE = 1
    KEPT = 2
    LOSS = 3


@dataclasses.dataclass(frozen=True)
class Finding:
    #: Stable number and stable name of the kind: "odd-length".
    code: int
    kind: str
    severity: Severity
    level: Level
    #: group * 65536 + element; None for the file as a whole.
    tag: Optional[int]
    #: "0040,0275[0]/0008,0100"
    path: str
    #: In bytes from the start of the file, and of the value; None where there is none.
    offset: Optional[int]
    length: Optional[int]
    #: What is wrong and what becomes of it, without values.
    message: str
    #: Bytes of the file before and after, at most 256. They may identify a person unless `is_harmless`.
    before: bytes
    after: bytes
    is_harmless: bool
    #: What the standard asks for, and where.
    rule: str
    clause: str

    def __str__(self) -> str:
        place = self.path + ": " if self.path else ""
        return f"{self.severity.name.lower()}: {place}{self.message}"


def _quoted(function, handle: int) -> bytes:
    size = ctypes.c_size_t()
    place = function(handle, ctypes.byref(size))
    return ctypes.string_at(place, size.value) if place else b""


def _known(number: int) -> Optional[int]:
    return number if number >= 0 else None


def finding_of(handle: int) -> Finding:
    """Copies a finding, so that it stays valid."""
    tag = ctypes.c_uint32()
    has_tag = lib.finding_tag(handle, ctypes.byref(tag))
    return Finding(
        code=lib.finding_code(handle),
        kind=lib.finding_kind(handle).decode(),
        severity=Severity(lib.finding_severity(handle)),
        level=Level(lib.finding_level(handle)),
        tag=tag.value if has_tag else None,
        path=lib.finding_path(handle).decode(),
        offset=_known(lib.finding_offset(handle)),
        length=_known(lib.finding_length(handle)),
        message=lib.finding_message(handle).decode("utf-8", "backslashreplace"),
        before=_quoted(lib.finding_before, handle),
        after=_quoted(lib.finding_after, handle),
        is_harmless=bool(lib.finding_is_harmless(handle)),
        rule=lib.finding_rule(handle).decode(),
        clause=lib.finding_clause(handle).decode(),
    )
