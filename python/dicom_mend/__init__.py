"""
Reads damaged DICOM files, says what is wrong with them, mends them and writes clean Part 10 files.

    for finding in dicom_mend.check("old.dcm"):
        print(finding)
    dicom_mend.mend("old.dcm", "new.dcm")
    ds = dicom_mend.read("new.dcm")
    print(ds["PatientName"].value)

Files are given as paths, bytes or file objects. Keyword arguments are the options of `Session`. While a
call works, other threads of Python run.
"""

from __future__ import annotations

import dataclasses
import os
from typing import Any, List, Optional, Union

from . import _library
from ._library import MendError, lib
from .dataset import Dataset, Element, Item, parse_tag, tag_text
from .findings import Finding, Level, Severity
from .session import Session, Source, path_or_bytes

__version__ = lib.version().decode()


@dataclasses.dataclass(frozen=True)
class Result:
    """What a mending came to; `data` holds the file when no target was given."""

    findings: List[Finding]
    #: 0 nothing against the standard, 1 something was, 2 something was lost.
    outcome: int
    data: Optional[bytes] = None


def read(source: Source, **options: Any) -> Dataset:
    """Reads a file. MendError when it cannot be read or is no DICOM file."""
    return Dataset.read(source, Session(**options))


def check(source: Source, module: Optional[str] = None, **options: Any) -> List[Finding]:
    """
    What is wrong with a file. A file that is no DICOM file gives a finding too; MendError is for
    those that cannot be opened.

    :param module: also verify against an IOD: its code, or "auto" for that of the SOP class
    """
    session, given = Session(**options), path_or_bytes(source)
    code = module.encode() if module else None
    if isinstance(given, bytes):
        try:
            Dataset.read(given, session).check(session, module)
        except MendError as error:
            if error.status != _library.NOT_DICOM:
                raise
    else:
        status = lib.check_file(session.handle, os.fsencode(given), code)
        if status != _library.NOT_DICOM:
            session.check(status)
    return session.findings


def _finish(dataset: Dataset, session: Session, target: Any, replace: bool) -> Result:
    data = None
    if target is None:
        data = dataset.encode(session)
    else:
        dataset.write(target, session, replace)
    return Result(session.findings, session.outcome, data)


def mend(source: Source, target: Union[None, str, os.PathLike[str], Any] = None, *,
         replace: bool = False, **options: Any) -> Result:
    """
    Writes a clean copy of a file to a path or file object, or gives its bytes without a target.

    :param replace: an existing file may be replaced; the source never is
    """
    session, given = Session(**options), path_or_bytes(source)
    if isinstance(given, bytes) or target is None or hasattr(target, "write"):
        return _finish(Dataset.read(given, session), session, target, replace)
    session.check(lib.mend_file(session.handle, os.fsencode(given), os.fsencode(target),
                                int(replace)))
    return Result(session.findings, session.outcome)


def complete(source: Source, target: Union[None, str, os.PathLike[str], Any] = None, *,
             module: str = "auto", rules: str = "", replace: bool = False,
             **options: Any) -> Result:
    """The same, with what the IOD requires supplied as far as it can be."""
    session = Session(**options)
    dataset = Dataset.read(source, session)
    dataset.complete(session, module, rules)
    return _finish(dataset, session, target, replace)


def undo(source: Source, target: Union[None, str, os.PathLike[str], Any] = None, *,
         replace: bool = False) -> Result:
    """Writes a copy with the values that the last mending with `record` changed put back."""
    session = Session()
    dataset = Dataset.read(source, session)
    dataset.undo(session)
    return _finish(dataset, session, target, replace)


__all__ = [
    "Dataset", "Element", "Finding", "Item", "Level", "MendError", "Result", "Session", "Severity",
    "check", "complete", "mend", "parse_tag", "read", "tag_text", "undo",
]
