"""The grammar of the definition files: lines as text, files as trees of attributes.

A reader merges the lines of a file and of the files it includes into one tree. The expansion here
does the same, so that what is written can be checked as a reader will see it.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

from definition_maker.clauses import parse_clauses, parse_include_condition
from definition_maker.conditions import Condition_Error, format_condition, quote
from definition_maker.facts import VRS

MAX_DEPTH = 9
# What stands before a comment, which a "#" in quotes does not begin.
CODE = r'(?:[^"\#]|"[^"]*")*?'
LINE = re.compile(rf"""(?P<depth>>*)\((?P<tag>[0-9A-F]{{4}},[0-9A-F]{{4}})\)
                       [ ]+(?P<type>1C?|2C?|3|-)[ ]+(?P<vr>[A-Z]{{2}}|--)
                       (?:[ ]+(?:(?P<mark>[!=+])[ ]+"(?P<value>(?:[^"]|"")*)"|(?P<delete>x)))?
                       (?:[ ]+(?P<clauses>(?:if|in|like|items)\b{CODE}))?
                       [ ]*(?:\#.*)?""", re.VERBOSE)
INCLUDE = re.compile(r"(?P<depth>>*)include +(?P<name>[a-z0-9/-]+)(?: +(?P<usage>[MCU]))?"
                     rf"(?: +(?P<condition>if\b{CODE}))? *(?:#.*)?")
NAME = re.compile(r'name +"(?P<name>(?:[^"]|"")+)" *(?:#.*)?')


class Grammar_Error(Exception):
    """A line of a definition file that does not follow the grammar."""


@dataclass
class Line:
    depth: int
    tag: str = ""
    type: str = "-"
    vr: str = "--"
    value: str = None
    clauses: list = field(default_factory=list)
    include: str = ""
    usage: str = "M"
    condition: tuple = None     # of an include
    name: str = ""              # what a file calls itself


@dataclass
class Node:
    """An attribute as the lines so far leave it."""
    type: str = "-"
    vr: str = "--"
    value: str = ""
    clauses: list = field(default_factory=list)     # of all its lines
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
        try:
            lines.append(parse_line(line))
        except Condition_Error as error:
            raise Grammar_Error(f"{where}:{number}: {error}") from error
        if lines[-1].name and len(lines) > 1:
            raise Grammar_Error(f"{where}:{number}: a name behind the first line")
    return lines


def parse_line(line):
    if match := INCLUDE.fullmatch(line):
        return Line(len(match["depth"]), include=match["name"], usage=match["usage"] or "M",
                    condition=parse_include_condition(match["condition"] or ""))
    if match := NAME.fullmatch(line):
        return Line(0, name=match["name"].replace('""', '"'))
    match = LINE.fullmatch(line)
    if not match or match["vr"] not in VRS | {"--"}:
        raise Condition_Error(f"not understood: {line}")
    value = match["value"]
    return Line(len(match["depth"]), match["tag"], match["type"], match["vr"],
                None if value is None else value.replace('""', '"'),
                parse_clauses(match["clauses"] or ""))


class Library:
    """The definition files of a directory, each parsed once."""

    def __init__(self, directory):
        self.directory = Path(directory)
        self.files = {}
        self.flat_files = {}

    def names(self, *folders):
        """The files of some folders."""
        return [f"{folder}/{path.stem}" for folder in folders
                for path in sorted((self.directory / folder).glob("*.txt"))]

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
            if line.name:
                continue
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
            node.clauses += line.clauses
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
class Include:
    file: str
    usage: str = "M"
    comment: str = ""
    condition: tuple = None


@dataclass
class Block:
    """What one item of a file holds: included macros, then attributes."""
    includes: list = field(default_factory=list)    # Include
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
    clauses: list = field(default_factory=list)


def written_vr(tag, vr):
    """The VR in a file: a choice is left to the dictionary, which has no entry for pixel data."""
    if len(vr) == 2:
        return vr
    return "OW" if tag == "7FE0,0010" else "--"


def format_block(block):
    """The lines of a block, with the comments in one column that clauses do not move."""
    lines = list(format_item(block, ""))
    width = min(max((len(code) for code, _, comment in lines if comment), default=0), 56)
    return [f"{code + clauses:<{width}}  # {comment}" if code and comment
            else code + clauses or f"# {comment}" for code, clauses, comment in lines]


def format_item(block, prefix):
    """(code, clauses, comment) of each line."""
    for remark in block.remarks:
        yield "", "", remark
    for include in block.includes:
        usage = f" {include.usage}" if include.usage != "M" else ""
        yield f"{prefix}include {include.file}{usage}", format_if(include), include.comment
    for entry in block.entries:
        value = f" = {quote(entry.value)}" if entry.value else ""
        vr = written_vr(entry.tag, entry.vr)
        comment = entry.comment if vr == entry.vr else f"{entry.comment} ({entry.vr})"
        clauses = "".join(f" {clause}" for clause in entry.clauses)
        yield f"{prefix}({entry.tag}) {entry.type:<2} {vr}{value}", clauses, comment
        if entry.inside:
            yield from format_item(entry.inside, prefix + ">")


def format_if(include):
    return f" if {format_condition(include.condition)}" if include.condition else ""
