"""What was found in a file, and what becomes of it."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
import struct
from ctypes import string_at
from typing import Any, Dict, List, Optional, Tuple

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


#: FindingData as one tuple: members one by one cost more.
_NUMBERS = struct.Struct("@iiiiIiqqPPPPPPNPN")
assert _NUMBERS.size == ctypes.sizeof(FindingData)

#: Name, rule and clause by the code: all findings of a kind share them.
_KINDS: Dict[int, Tuple[str, str, str]] = {}


def _kind_of(data: FindingData) -> Tuple[str, str, str]:
    texts = (data.kind.decode(), data.rule.decode(), data.clause.decode())
    return _KINDS.setdefault(data.code, texts)


def _finding_of(data: FindingData, numbers: Tuple[Any, ...]) -> Finding:
    (code, severity, level, has_tag, tag, is_harmless, offset, length, _, _, _, _, _,
     before_at, before_size, after_at, after_size) = numbers
    kind, rule, clause = _KINDS.get(code) or _kind_of(data)
    # The texts as ctypes reads them end at a NUL, which values may hold.
    before, after = data.before or b"", data.after or b""
    if len(before) != before_size:
        before = string_at(before_at, before_size)
    if len(after) != after_size:
        after = string_at(after_at, after_size)
    finding = object.__new__(Finding)
    # The constructor of a frozen class sets each member by a call, which costs as much as checking.
    object.__setattr__(finding, "__dict__", {
        "code": code,
        "kind": kind,
        "severity": _SEVERITIES[severity],
        "level": _LEVELS[level],
        "tag": tag if has_tag else None,
        "path": data.path.decode(),
        "offset": offset if offset >= 0 else None,
        "length": length if length >= 0 else None,
        "message": data.message.decode("utf-8", "backslashreplace"),
        "before": before,
        "after": after,
        "is_harmless": is_harmless != 0,
        "rule": rule,
        "clause": clause,
    })
    return finding


def findings_of(session: int) -> List[Finding]:
    """Copies the findings of a session, so that they stay valid."""
    count = lib.finding_count(session)
    array = (FindingData * count)()
    lib.get_findings(session, 0, array, ctypes.sizeof(FindingData), count)
    return [_finding_of(*both) for both in zip(array, _NUMBERS.iter_unpack(array))]
