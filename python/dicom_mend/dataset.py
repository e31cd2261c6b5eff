"""Data sets as mappings from paths, keywords and tags to elements."""

from __future__ import annotations

import ctypes
import json
import os
from ctypes import byref, c_double, c_int64, c_size_t, c_uint32, c_void_p
from typing import (
    Any, Dict, Iterator, List, Mapping, MutableMapping, Optional, Sequence, Set, Tuple, Union)

from . import _library
from ._library import MendError, check, lib, taken, text_of
from .session import Session, Source, path_or_bytes

#: What an element may be set to; None empties it.
Value = Union[None, str, bytes, int, float, Sequence[str], Sequence[int], Sequence[float]]
Key = Union[str, int]

_TEXTS = frozenset("AE AS CS DA DS DT IS LO LT PN SH ST TM UC UI UR UT".split())
_BYTES = frozenset("OB OD OF OL OV OW UN".split())
_REALS = frozenset("FL FD".split())


def tag_text(tag: int) -> str:
    """ "0010,0020" of 0x00100020."""
    return f"{tag >> 16:04x},{tag & 0xFFFF:04x}"


def parse_tag(key: Key) -> int:
    """The number of a tag, of "0010,0020" and its other forms, or of a keyword."""
    if isinstance(key, int):
        return key
    tag = c_uint32()
    if lib.parse_tag(key.encode(), byref(tag)) != _library.OK:
        raise KeyError(key)
    return tag.value


class Element:
    """An element of a data set. It is of no use any more when the data set has lost elements."""

    def __init__(self, dataset: "Dataset", handle: int) -> None:
        self._dataset = dataset
        self._place = handle
        self._age = dataset._age

    @property
    def _handle(self) -> Any:
        if self._age != self._dataset._age:
            raise RuntimeError("the data set was changed since this was taken from it")
        return self._place

    @property
    def tag(self) -> int:
        """group * 65536 + element."""
        return int(lib.tag(self._handle))

    @property
    def vr(self) -> str:
        """Two letters, or nothing."""
        buffer = ctypes.create_string_buffer(3)
        lib.vr(self._handle, buffer)
        return buffer.value.decode("latin-1")

    @property
    def name(self) -> str:
        """As the standard calls the attribute, "Unknown Element" and the like for others."""
        return text_of(lib.tag_name, self.tag)

    @property
    def keyword(self) -> str:
        """Empty for private and unknown tags."""
        return text_of(lib.tag_keyword, self.tag)

    @property
    def offset(self) -> int:
        """Place of the tag in the file, in bytes."""
        return int(lib.offset(self._handle))

    def __len__(self) -> int:
        """Number of values, or of items."""
        if self.is_sequence:
            return int(lib.item_count(self._handle))
        return int(lib.value_count(self._dataset.handle, self._handle))

    def __bool__(self) -> bool:
        return True

    @property
    def is_sequence(self) -> bool:
        """Whether it holds items."""
        return bool(lib.is_sequence(self._handle))

    @property
    def items(self) -> List["Item"]:
        """Those of a sequence; none of another element."""
        count = lib.item_count(self._handle)
        return [Item(self._dataset, lib.get_item(self._handle, i)) for i in range(count)]

    @property
    def fragments(self) -> List[bytes]:
        """Of encapsulated pixel data, the offset table first."""
        count = lib.fragment_count(self._handle)
        return [Element(self._dataset, lib.get_fragment(self._handle, i)).bytes
                for i in range(count)]

    @property
    def bytes(self) -> bytes:
        """The value as it stands, numbers in little endian."""
        size = lib.length(self._handle)
        buffer, copied = ctypes.create_string_buffer(max(size, 1)), c_size_t()
        check(lib.get_bytes(self._dataset.handle, self._handle, 0, buffer, size, byref(copied)))
        return buffer.raw[: copied.value]

    def _text(self, index: int) -> str:
        length, dataset = c_size_t(), self._dataset.handle
        buffer = ctypes.create_string_buffer(128)
        check(lib.get_text(dataset, self._handle, index, buffer, len(buffer), byref(length)))
        if length.value >= len(buffer):
            buffer = ctypes.create_string_buffer(length.value + 1)
            check(lib.get_text(dataset, self._handle, index, buffer, len(buffer), byref(length)))
        return buffer.raw[: length.value].decode("utf-8")

    @property
    def texts(self) -> List[str]:
        """The values in UTF-8 without padding."""
        return [] if self.is_sequence else [self._text(i) for i in range(len(self))]

    @property
    def text(self) -> Optional[str]:
        """The first of them."""
        return self._text(0) if not self.is_sequence and len(self) else None

    def _number(self, index: int) -> Union[int, float]:
        whole, real = c_int64(), c_double()
        dataset = self._dataset.handle
        if lib.get_int(dataset, self._handle, index, byref(whole)) == _library.OK:
            return whole.value
        if lib.get_double(dataset, self._handle, index, byref(real)) == _library.OK:
            return real.value
        return int(self._text(index))

    def _real(self, index: int) -> float:
        real = c_double()
        check(lib.get_double(self._dataset.handle, self._handle, index, byref(real)))
        return real.value

    @property
    def numbers(self) -> List[float]:
        """The values as numbers; MendError when one is none."""
        return [self._real(i) for i in range(len(self))]

    @property
    def value(self) -> Any:
        """
        None without a value; bytes of OB and its like, items of sequences; else a text, a number, a
        tag as "0010,0020", or a list of them. DS and IS are texts: see `numbers`.
        """
        vr = self.vr
        if self.is_sequence:
            return self.items
        if vr in _BYTES or lib.fragment_count(self._handle):
            return self.bytes
        read = self._text if vr in _TEXTS or vr == "AT" else (
            self._real if vr in _REALS else self._number)
        values = [read(i) for i in range(len(self))]
        return values if len(values) > 1 else values[0] if values else None

    def __eq__(self, other: object) -> bool:
        """The same tag, VR and value; of sequences the same items."""
        if not isinstance(other, Element):
            return NotImplemented
        if (self.tag, self.vr, self.is_sequence) != (other.tag, other.vr, other.is_sequence):
            return False
        if self.is_sequence:
            return self.items == other.items
        return self.fragments == other.fragments and self.bytes == other.bytes

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        return f"<Element ({tag_text(self.tag)}) {self.vr} {self.name}>"


_NONE = object()


class _Elements(MutableMapping[Key, Any]):
    """What items and data sets have in common: keys lead to elements, and are set to values."""

    _dataset: "Dataset"
    _age: int

    def _item(self) -> Optional[int]:
        raise NotImplementedError

    def __getitem__(self, key: Key) -> Element:
        handle = lib.find(self._dataset.handle, self._item(), parse_tag(key))
        if not handle:
            raise KeyError(key)
        return Element(self._dataset, handle)

    def __contains__(self, key: object) -> bool:
        try:
            self[key]  # type: ignore[index]
        except KeyError:
            return False
        return True

    def __repr__(self) -> str:
        return f"<{type(self).__name__} of {len(self)} elements>"

    def __iter__(self) -> Iterator[str]:
        return (tag_text(element.tag) for element in self.elements())

    def __len__(self) -> int:
        return sum(1 for _ in self.elements())

    def elements(self) -> Iterator[Element]:
        """The elements of this list, in their order."""
        handle = lib.first(self._dataset.handle, self._item())
        while handle:
            element = Element(self._dataset, handle)
            yield element
            handle = lib.next(element._handle)

    def __setitem__(self, key: Key, value: Value) -> None:
        self.set(key, value)

    def set(self, key: Key, value: Value, vr: Optional[str] = None) -> None:
        """
        Sets an element: texts by the character set of the data set, bytes as they are, numbers by the
        VR, which is that of the element or of the registry unless it is given.
        """
        tag, letters = parse_tag(key), vr.encode() if vr else None
        place = (self._dataset.handle, self._item(), tag, letters)
        found = lib.find(self._dataset.handle, self._item(), tag)
        if found and lib.is_sequence(found):
            self._dataset._age += 1
        if value is None or isinstance(value, (bytes, bytearray)):
            data = bytes(value or b"")
            check(lib.set_bytes(*place, data, len(data)))
            return
        if isinstance(value, (Mapping, Set)):
            raise TypeError(f"{type(value).__name__}: is no value of an element")
        values: List[Any] = [value] if isinstance(value, (str, int, float)) else list(value)
        if all(isinstance(one, str) for one in values):
            data = "\\".join(values).encode("utf-8")
            check(lib.set_text(*place, data, len(data)))
        elif all(isinstance(one, int) for one in values):
            check(lib.set_ints(*place, (c_int64 * len(values))(*values), len(values)))
        else:
            check(lib.set_doubles(*place, (c_double * len(values))(*values), len(values)))

    def __delitem__(self, key: Key) -> None:
        self._dataset._age += 1
        if lib.remove(self._dataset.handle, self._item(), parse_tag(key)) != _library.OK:
            raise KeyError(key)
        if isinstance(self, Item):
            self._age = self._dataset._age

    def pop(self, key: Key, default: Any = _NONE) -> Any:
        """Takes an element out and gives its value, of a sequence None."""
        if key not in self and default is not _NONE:
            return default
        element = self[key]
        value = None if element.is_sequence else element.value
        del self[key]
        return value

    def popitem(self) -> Tuple[str, Any]:
        """Takes the first element out and gives its tag and its value, of a sequence None."""
        for tag in self:
            return tag, self.pop(tag)
        raise KeyError("there are no elements")

    def add_item(self, key: Key) -> "Item":
        """A new item at the end of a sequence, which comes into being when it is not there."""
        added = c_void_p()
        check(lib.add_item(self._dataset.handle, self._item(), parse_tag(key), byref(added)))
        return Item(self._dataset, added.value or 0)


class Item(_Elements):
    """An item of a sequence."""

    def __init__(self, dataset: "Dataset", handle: int) -> None:
        self._dataset = dataset
        self._place = handle
        self._age = dataset._age

    def _item(self) -> int:
        if self._age != self._dataset._age:
            raise RuntimeError("the data set was changed since this was taken from it")
        return self._place


class Dataset(_Elements):
    """
    A data set. Keys are paths ("0040,0275[0]/0008,0100"), keywords ("PatientName"), tags as text or as
    numbers (0x00100010).
    """

    def __init__(self, handle: Optional[int] = None) -> None:
        self._age = 0
        self._dataset = self
        self._own: Optional[int] = None
        if handle is None:
            made, session = c_void_p(), Session()
            session.check(lib.dataset_new(session.handle, byref(made)))
            handle = made.value
        self._own = handle

    def __del__(self) -> None:
        handle, self._own = getattr(self, "_own", None), None
        if handle:
            lib.dataset_free(handle)

    @property
    def handle(self) -> int:
        """For calls of the C interface."""
        assert self._own is not None
        return self._own

    def _item(self) -> None:
        return None

    def __getitem__(self, key: Key) -> Element:
        if isinstance(key, int):
            return super().__getitem__(key)
        found = c_void_p()
        status = lib.find_path(self.handle, key.encode(), byref(found), None)
        if status != _library.OK:
            raise KeyError(key)
        return Element(self, found.value or 0)

    def __copy__(self) -> "Dataset":
        """A data set of its own with all that this one holds."""
        copy, session = c_void_p(), Session()
        session.check(lib.dataset_copy(session.handle, self.handle, byref(copy)))
        return Dataset(copy.value)

    def __deepcopy__(self, memo: object) -> "Dataset":
        return self.__copy__()

    copy = __copy__

    @property
    def meta(self) -> List[Element]:
        """The file meta information, group 0002."""
        elements, handle = [], lib.first_meta(self.handle)
        while handle:
            elements.append(Element(self, handle))
            handle = lib.next(handle)
        return elements

    @property
    def transfer_syntax(self) -> str:
        """UID of the transfer syntax that it was read in."""
        return text_of(lib.transfer_syntax, self.handle)

    def check(self, session: Session, module: Optional[str] = None) -> None:
        """Adds to the findings of a session what mending would find."""
        code = module.encode() if module else None
        session.check(lib.check(session.handle, self.handle, code))

    def mend(self, session: Optional[Session] = None) -> None:
        """Heals the data set in place."""
        session = session or Session()
        self._age += 1
        session.check(lib.mend(session.handle, self.handle))

    def complete(self, session: Optional[Session] = None, module: str = "auto",
                 rules: str = "") -> None:
        """Heals it and supplies what its IOD requires; lines of `rules` override its definition."""
        session = session or Session()
        self._age += 1
        session.check(lib.complete(session.handle, self.handle, module.encode(), rules.encode()))

    def undo(self, session: Optional[Session] = None) -> None:
        """Puts back what the last mending with `record` changed."""
        session = session or Session()
        self._age += 1
        session.check(lib.undo(session.handle, self.handle))

    def encode(self, session: Optional[Session] = None) -> bytes:
        """A clean Part 10 file."""
        used = session or Session()
        return taken(lambda data, size: used.check(
            lib.encode(used.handle, self.handle, data, size)))

    def write(self, target: Union[str, os.PathLike[str], Any], session: Optional[Session] = None,
              replace: bool = False) -> None:
        """The same into a file, which is there whole or not at all, or into a file object."""
        session = session or Session()
        if hasattr(target, "write"):
            target.write(self.encode(session))
            return
        session.check(lib.write_file(session.handle, self.handle, os.fsencode(target),
                                     int(replace)))

    def to_json(self, longest_inline: int = 0, session: Optional[Session] = None) -> str:
        """The DICOM JSON model (PS3.18 annex F) as text; longer values become references."""
        used = session or Session()
        return taken(lambda text, size: used.check(
            lib.to_json(used.handle, self.handle, longest_inline, text, size))).decode("utf-8")

    def to_json_model(self, longest_inline: int = 0) -> Dict[str, Any]:
        """The same as Python has it: dictionaries, lists, texts and numbers."""
        model: Dict[str, Any] = json.loads(self.to_json(longest_inline))
        return model

    @classmethod
    def from_json(cls, model: Union[str, bytes, Dict[str, Any], List[Any]],
                  session: Optional[Session] = None) -> "Dataset":
        """From the DICOM JSON model; what is wrong with it are findings of the session."""
        used = session or Session()
        text = json.dumps(model) if isinstance(model, (dict, list)) else model
        data = text.encode("utf-8") if isinstance(text, str) else text
        made = c_void_p()
        used.check(lib.from_json(used.handle, data, len(data), byref(made)))
        return cls(made.value)

    @classmethod
    def read(cls, source: Source, session: Optional[Session] = None) -> "Dataset":
        """From a path, bytes or a file object; what is wrong with it are findings of the session."""
        used = session or Session()
        given, made = path_or_bytes(source), c_void_p()
        if isinstance(given, bytes):
            used.check(lib.read_buffer(used.handle, given, len(given), byref(made)))
        else:
            used.check(lib.read_file(used.handle, os.fsencode(given), byref(made)))
        return cls(made.value)


__all__ = ["Dataset", "Element", "Item", "MendError", "Value", "parse_tag", "tag_text"]
