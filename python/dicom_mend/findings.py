"""What was found in a file, and what becomes of it."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
import functools
from ctypes import string_at
from typing import List, Optional, Tuple

from ._library import FindingData, lib


class Severity(enum.IntEnum):
    """How grave a fault is; INFO is none."""

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
    """What was found, and what becomes of it."""

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


_SEVERITIES, _LEVELS = tuple(Severity), tuple(Level)


@functools.lru_cache(maxsize=None)
def _texts_of_kind(code: int, *texts: bytes) -> Tuple[str, ...]:
    """Name, rule and clause, which all findings of a kind share."""
    return tuple(text.decode() for text in texts)


def _finding_of(data: FindingData) -> Finding:
    kind, rule, clause = _texts_of_kind(data.code, data.kind, data.rule, data.clause)
    before, after, offset, length = data.before, data.after, data.offset, data.length
    finding = object.__new__(Finding)
    # The constructor of a frozen class sets each member by a call, and takes as long as checking does.
    finding.__dict__.update(
        code=data.code,
        kind=kind,
        severity=_SEVERITIES[data.severity],
        level=_LEVELS[data.level],
        tag=data.tag if data.has_tag else None,
        path=data.path.decode(),
        offset=offset if offset >= 0 else None,
        length=length if length >= 0 else None,
        message=data.message.decode("utf-8", "backslashreplace"),
        before=string_at(before, data.before_size) if before else b"",
        after=string_at(after, data.after_size) if after else b"",
        is_harmless=data.is_harmless != 0,
        rule=rule,
        clause=clause,
    )
    return finding


def findings_of(session: int) -> List[Finding]:
    """Copies the findings of a session, so that they stay valid."""
    count = lib.finding_count(session)
    array = (FindingData * count)()
    lib.get_findings(session, 0, array, ctypes.sizeof(FindingData), count)
    return [_finding_of(data) for data in array]
