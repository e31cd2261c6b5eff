"""The grammar of the definition files: lines as text, files as trees of attributes.

A reader merges the lines of a file and of the files it includes into one tree. The expansion here
does the same, so that what is written can be checked as a reader will see it.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

from definition_maker.facts import VRS

MAX_DEPTH = 9
LINE = re.compile(r"""(?P<depth>>*)\((?P<tag>[0-9A-F]{4},[0-9A-F]{4})\)
                      [ ]+(?P<type>1C?|2C?|3|-)[ ]+(?P<vr>[A-Z]{2}|--)
                      (?:[ ]+(?:(?P<mark>[!=+])[ ]+"(?P<value>(?:[^"]|"")*)"|(?P<delete>x)))?
                      [ ]*(?:\#.*)?""", re.VERBOSE)
INCLUDE = re.compile(r"(?P<depth>>*)include +(?P<name>[a-z0-9/-]+)(?: +(?P<usage>[MCU]))?"
                     r" *(?:#.*)?")


class Grammar_Error(Exception):
    """A line of a definition file that does not follow the grammar."""


@dataclass
class Line:
    depth: int
    tag: str = ""
    type: str = "-"
    vr: str = "--"
    value: str = None
    include: str = ""
    usage: str = "M"


@dataclass
class Node:
    """An attribute as the lines so far leave it."""
    type: str = "-"
    vr: str = "--"
    value: str = ""
    conditional: bool = False   # brought by a macro that need not be there
    children: dict = field(default_factory=dict)


def lower(type_):
    """The type of an attribute whose module need not be there."""
    return {"1": "1C", "2": "2C"}.get(type_, type_)


def parse(text, where):
    """The lines of a definition file."""
    lines = []
    for number, line in enumerate(text.split("\n"), 1):
        if not line or line.startswith("#"):
            continue
        if match := INCLUDE.fullmatch(line):
            lines.append(Line(len(match["depth"]), include=match["name"],
                              usage=match["usage"] or "M"))
        elif (match := LINE.fullmatch(line)) and match["vr"] in VRS | {"--"}:
            value = match["value"]
            lines.append(Line(len(match["depth"]), match["tag"], match["type"], match["vr"],
                              None if value is None else value.replace('""', '"')))
        else:
            raise Grammar_Error(f"{where}:{number}: not understood: {line}")
    return lines


class Library:
    """The definition files of a directory, each parsed once."""

    def __init__(self, directory):
        self.directory = Path(directory)
        self.files = {}
        self.flat_files = {}

    def flat(self, name):
        """(path, tag) -> Node of a file and of all it includes."""
        if name not in self.flat_files:
            self.flat_files[name] = flatten(self.expand(name))
        return self.flat_files[name]

    def lines(self, name):
        if name not in self.files:
            path = self.directory / (name + ".txt")
            self.files[name] = parse(path.read_text(encoding="utf-8"), path)
        return self.files[name]

    def expand(self, name):
        """The tree of a file and of all it includes."""
        return self.expand_lines(self.lines(name), name)

    def expand_own_lines(self, name):
        """The tree of a file without the modules it includes."""
        own = [line for line in self.lines(name) if not line.include.startswith("modules/")]
        return self.expand_lines(own, name)

    def expand_lines(self, lines, name):
        tree = Node()
        self._merge([tree], name, lines, ())
        return tree

    def _merge(self, above, name, lines, includers, lowered=(), conditional=()):
        """Merges lines below `above`, the open nodes from the top down to the place of the include.

        The types of lines at the depths `lowered` are lowered; those at the depths `conditional`
        because of a macro.
        """
        base = len(above) - 1
        if name in includers:
            raise Grammar_Error(f"{name}: includes itself")
        open_nodes = list(above)
        for line in lines:
            depth = base + line.depth
            if depth >= len(open_nodes):
                raise Grammar_Error(f"{name}: a line is nested below nothing: {line}")
            if depth > MAX_DEPTH:
                raise Grammar_Error(f"{name}: nested deeper than {MAX_DEPTH} levels: {line}")
            del open_nodes[depth + 1:]
            if line.include:
                more = () if line.usage == "M" else (depth,)
                macro = () if line.include.startswith("modules/") else more
                self._merge(open_nodes, line.include, self.lines(line.include), (*includers, name),
                            (*lowered, *more), (*conditional, *macro))
                continue
            node = open_nodes[depth].children.setdefault(line.tag, Node())
            if line.type != "-":
                node.type = lower(line.type) if depth in lowered else line.type
            if line.vr != "--":
                node.vr = line.vr
            if line.value is not None:
                node.value = line.value
            node.conditional = node.conditional or depth in conditional
            open_nodes.append(node)


def flatten(tree, path=""):
    """(path, tag) -> Node for all attributes of a tree."""
    rows = {}
    for tag, node in tree.children.items():
        rows[path, tag] = node
        rows.update(flatten(node, f"{path}>{tag}" if path else tag))
    return rows


@dataclass
class Block:
    """What one item of a file holds: included macros, then attributes."""
    includes: list = field(default_factory=list)    # (file, usage, comment)
    entries: list = field(default_factory=list)     # Entry
    remarks: list = field(default_factory=list)     # comment lines at the head of the item


@dataclass
class Entry:
    tag: str
    type: str
    vr: str
    value: str
    comment: str
    inside: Block = None


def written_vr(tag, vr):
    """The VR in a file: a choice is left to the dictionary, which has no entry for pixel data."""
    if len(vr) == 2:
        return vr
    return "OW" if tag == "7FE0,0010" else "--"


def quote(text):
    return '"' + text.replace('"', '""') + '"'


def format_block(block):
    """The lines of a block, with the comments in one column."""
    pairs = list(format_item(block, ""))
    width = min(max((len(code) for code, comment in pairs if comment), default=0), 56)
    return [f"{code:<{width}}  # {comment}" if code and comment else code or f"# {comment}"
            for code, comment in pairs]


def format_item(block, prefix):
    """(code, comment) of each line."""
    for remark in block.remarks:
        yield "", remark
    for name, usage, comment in block.includes:
        yield f"{prefix}include {name}" + (f" {usage}" if usage != "M" else ""), comment
    for entry in block.entries:
        value = f" = {quote(entry.value)}" if entry.value else ""
        vr = written_vr(entry.tag, entry.vr)
        comment = entry.comment if vr == entry.vr else f"{entry.comment} ({entry.vr})"
        yield f"{prefix}({entry.tag}) {entry.type:<2} {vr}{value}", comment
        if entry.inside:
            yield from format_item(entry.inside, prefix + ">")
