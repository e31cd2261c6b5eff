"""The C interface, as ctypes sees it."""

from __future__ import annotations

import ctypes
import os
import pathlib
from ctypes import POINTER, byref, c_char_p, c_double, c_int, c_int64, c_size_t, c_uint32, c_void_p
from typing import TYPE_CHECKING, Any, Callable, Optional

_NAME = "libLib_DICOM_Mend.so.21"

# Results and arguments of the functions that are used; the prefix "dicom_mend_" is left out.
_FUNCTIONS = {
    "version": (c_char_p, ()),
    "status_text": (c_char_p, (c_int,)),
    "free": (None, (c_void_p,)),
    "session_new": (c_void_p, ()),
    "session_free": (None, (c_void_p,)),
    "set_flag": (c_int, (c_void_p, c_int, c_int)),
    "set_syntax": (c_int, (c_void_p, c_int)),
    "set_charset": (c_int, (c_void_p, c_char_p)),
    "last_error": (c_char_p, (c_void_p,)),
    "finding_count": (c_size_t, (c_void_p,)),
    "get_findings": (c_size_t, (c_void_p, c_size_t, c_void_p, c_size_t, c_size_t)),
    "clear_findings": (None, (c_void_p,)),
    "outcome": (c_int, (c_void_p,)),
    "report": (c_int, (c_void_p, c_char_p, c_int, c_int, POINTER(c_void_p), POINTER(c_size_t))),
    "read_file": (c_int, (c_void_p, c_char_p, POINTER(c_void_p))),
    "read_buffer": (c_int, (c_void_p, c_char_p, c_size_t, POINTER(c_void_p))),
    "dataset_new": (c_int, (c_void_p, POINTER(c_void_p))),
    "dataset_copy": (c_int, (c_void_p, c_void_p, POINTER(c_void_p))),
    "dataset_free": (None, (c_void_p,)),
    "transfer_syntax": (c_size_t, (c_void_p, c_char_p, c_size_t)),
    "check": (c_int, (c_void_p, c_void_p, c_char_p)),
    "mend": (c_int, (c_void_p, c_void_p)),
    "complete": (c_int, (c_void_p, c_void_p, c_char_p, c_char_p)),
    "undo": (c_int, (c_void_p, c_void_p)),
    "encode": (c_int, (c_void_p, c_void_p, POINTER(c_void_p), POINTER(c_size_t))),
    "write_file": (c_int, (c_void_p, c_void_p, c_char_p, c_int)),
    "check_file": (c_int, (c_void_p, c_char_p, c_char_p)),
    "mend_file": (c_int, (c_void_p, c_char_p, c_char_p, c_int)),
    "to_json": (c_int, (c_void_p, c_void_p, c_size_t, POINTER(c_void_p), POINTER(c_size_t))),
    "from_json": (c_int, (c_void_p, c_char_p, c_size_t, POINTER(c_void_p))),
    "first": (c_void_p, (c_void_p, c_void_p)),
    "first_meta": (c_void_p, (c_void_p,)),
    "next": (c_void_p, (c_void_p,)),
    "find": (c_void_p, (c_void_p, c_void_p, c_uint32)),
    "find_path": (c_int, (c_void_p, c_char_p, POINTER(c_void_p), POINTER(c_void_p))),
    "tag": (c_uint32, (c_void_p,)),
    "vr": (None, (c_void_p, c_char_p)),
    "length": (c_size_t, (c_void_p,)),
    "offset": (c_int64, (c_void_p,)),
    "is_sequence": (c_int, (c_void_p,)),
    "item_count": (c_size_t, (c_void_p,)),
    "get_item": (c_void_p, (c_void_p, c_size_t)),
    "fragment_count": (c_size_t, (c_void_p,)),
    "get_fragment": (c_void_p, (c_void_p, c_size_t)),
    "get_bytes": (c_int, (c_void_p, c_void_p, c_size_t, c_char_p, c_size_t, POINTER(c_size_t))),
    "value_count": (c_size_t, (c_void_p, c_void_p)),
    "get_text": (c_int, (c_void_p, c_void_p, c_size_t, c_char_p, c_size_t, POINTER(c_size_t))),
    "get_double": (c_int, (c_void_p, c_void_p, c_size_t, POINTER(c_double))),
    "get_int": (c_int, (c_void_p, c_void_p, c_size_t, POINTER(c_int64))),
    "set_text": (c_int, (c_void_p, c_void_p, c_uint32, c_char_p, c_char_p, c_size_t)),
    "set_bytes": (c_int, (c_void_p, c_void_p, c_uint32, c_char_p, c_char_p, c_size_t)),
    "set_doubles": (c_int, (c_void_p, c_void_p, c_uint32, c_char_p, POINTER(c_double), c_size_t)),
    "set_ints": (c_int, (c_void_p, c_void_p, c_uint32, c_char_p, POINTER(c_int64), c_size_t)),
    "add_item": (c_int, (c_void_p, c_void_p, c_uint32, POINTER(c_void_p))),
    "remove": (c_int, (c_void_p, c_void_p, c_uint32)),
    "tag_name": (c_size_t, (c_uint32, c_char_p, c_size_t)),
    "tag_keyword": (c_size_t, (c_uint32, c_char_p, c_size_t)),
    "parse_tag": (c_int, (c_char_p, POINTER(c_uint32))),
}



class FindingData(ctypes.Structure):
    """What get_findings fills in."""

    _fields_ = [
        ("code", c_int), ("severity", c_int), ("level", c_int), ("has_tag", c_int),
        ("tag", c_uint32), ("is_harmless", c_int), ("offset", c_int64), ("length", c_int64),
        ("kind", c_char_p), ("path", c_char_p), ("message", c_char_p), ("rule", c_char_p),
        ("clause", c_char_p), ("before", c_char_p), ("before_size", c_size_t),
        ("after", c_char_p), ("after_size", c_size_t),
    ]


OK, BAD_ARGUMENT, NO_MEMORY, CANNOT_READ, CANNOT_WRITE, NOT_DICOM = range(6)
NO_OUTPUT, NOT_FOUND, BAD_VALUE, BAD_JSON, INTERNAL = range(6, 11)


class MendError(Exception):
    """A call that failed; `status` is the number of dicom_mend.h."""

    def __init__(self, status: int, reason: str) -> None:
        super().__init__(reason)
        self.status = status


class _Library:
    """The functions, without their prefix, as attributes."""

    if TYPE_CHECKING:
        def __getattr__(self, function: str) -> Any: ...

    def __init__(self) -> None:
        inside = pathlib.Path(__file__).parent / "lib" / _NAME
        name = os.environ.get("DICOM_MEND_LIBRARY") or (str(inside) if inside.exists() else _NAME)
        library = ctypes.CDLL(name)
        for function, (result, arguments) in _FUNCTIONS.items():
            entry = getattr(library, "dicom_mend_" + function)
            entry.restype = result
            entry.argtypes = arguments
            setattr(self, function, entry)


lib = _Library()


def check(status: int, reason: Optional[bytes] = None) -> None:
    """Turns a status into an exception."""
    if status == OK:
        return
    text = (reason or lib.status_text(status)).decode("utf-8", "replace")
    if status == NO_MEMORY:
        raise MemoryError(text)
    raise MendError(status, text)


def text_of(function: Callable[..., int], *arguments: Any) -> str:
    """A text from a function that writes into a buffer and returns the length."""
    buffer = ctypes.create_string_buffer(128)
    size = function(*arguments, buffer, len(buffer))
    if size >= len(buffer):
        buffer = ctypes.create_string_buffer(size + 1)
        function(*arguments, buffer, len(buffer))
    return buffer.raw[:size].decode("utf-8")


def taken(call: Callable[[Any, Any], None]) -> bytes:
    """Bytes that a call hands out by pointer and size, and that are freed here."""
    memory, size = c_void_p(), c_size_t()
    call(byref(memory), byref(size))
    try:
        return ctypes.string_at(memory, size.value) if memory else b""
    finally:
        lib.free(memory)
