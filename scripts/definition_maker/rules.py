"""Reads what the standard demands beyond types: conditions, values, counts of items, usages.

Each row of the tables becomes a clause of a line, as the definition files have it.
"""

from collections import OrderedDict
from dataclasses import dataclass

from definition_maker.clauses import Items, Required, Values
from definition_maker.conditions import Condition_Error, parse_fact
from definition_maker.tables import TAG, Facts_Error, read_table

PLACE = "owner kind path group element"
FOLDERS = {"module": "modules", "macro": "macros"}
OTHERWISE = {"free": "free", "absent": "absent", "unsaid": None}
ALWAYS = ("true",)


@dataclass(frozen=True)
class Rule:
    """What a row says about an attribute of a module or macro."""
    table: str
    key: tuple          # path, tag
    clause: object      # None when the condition cannot be told from a data set
    type: str = ""      # that the condition is about


@dataclass(frozen=True)
class Usage:
    """The usage of a module or functional group in an IOD."""
    usage: str
    condition: tuple    # None when it cannot be told from a data set, or for usage U


class Rules:
    """The rules of all modules and macros, and the usages in all IODs."""

    def __init__(self, directory, iods, macros):
        self.owners = OrderedDict()     # (folder, name) -> Rules
        self._known = {("modules", use.module) for iod in iods for use in iod.modules}
        self._known |= {("macros", name) for name in macros}
        self._allowed = {}
        self._read(directory, "allowed", "allowed edition", self._add_allowed)
        self.allowed_count = len(self._allowed)
        self._read(directory, "attributes", "type required otherwise exact edition",
                   self._add_required)
        if self._allowed:
            raise Facts_Error(f"allowed.tsv: no condition to go with: {min(self._allowed)}")
        self._read(directory, "values", "value_number set values when complete edition",
                   lambda fields, place: self._add("values", place, values_of(fields)))
        self._read(directory, "items", "min max when edition",
                   lambda fields, place: self._add("items", place, items_of(fields)))
        self.modules = read_usages(directory / "modules.tsv", "module")
        self.groups = read_usages(directory / "functional_groups.tsv", "macro")
        compare_usages("modules", self.modules, {
            (iod.code, use.module): use.usage for iod in iods for use in iod.modules})
        compare_usages("functional groups", self.groups, {
            (iod.code, name): usage for iod in iods for name, usage in iod.groups.items()})

    def of(self, folder, name):
        """(path, tag) -> the rules of that attribute in a module or macro."""
        by_key = OrderedDict()
        for rule in self.owners.get((folder, name), ()):
            by_key.setdefault(rule.key, []).append(rule)
        return by_key

    def _read(self, directory, table, columns, add):
        read_each(directory / f"{table}.tsv", f"{PLACE} {columns}",
                  lambda fields: add(fields, self._place(fields)))

    def _place(self, fields):
        """Owner and key of a row."""
        owner = FOLDERS.get(fields["kind"]), fields["owner"]
        # A repeating group (PS3.5 7.6) is described by its first one.
        tag = f"{fields['group'].replace('xx', '00')},{fields['element']}"
        if owner not in self._known:
            raise Condition_Error("no module or macro of this name")
        steps = fields["path"].split(">") if fields["path"] else []
        if not all(TAG.fullmatch(step) for step in (*steps, tag)):
            raise Condition_Error("not the place of an attribute")
        return owner, (fields["path"], tag)

    def _add(self, table, place, clause, type_=""):
        owner, key = place
        self.owners.setdefault(owner, []).append(Rule(table, key, clause, type_))

    def _add_allowed(self, fields, place):
        if place in self._allowed:
            raise Condition_Error("the attribute has a row already")
        self._allowed[place] = parse_fact(fields["allowed"])

    def _add_required(self, fields, place):
        owner, key = place
        if any(rule.key == key for rule in self.owners.get(owner, ())):
            raise Condition_Error("the attribute has a row already")
        condition = condition_of(fields)
        allowed = self._allowed.pop(place, None)
        if fields["type"] not in ("1C", "2C") or fields["otherwise"] not in OTHERWISE:
            raise Condition_Error("type, or what holds otherwise, is not understood")
        if allowed and (not condition or fields["otherwise"] != "free"):
            raise Condition_Error("allowed.tsv says when it is allowed, this row does not fit")
        otherwise = allowed or OTHERWISE[fields["otherwise"]]
        self._add("attributes", place, Required(condition, otherwise) if condition else None,
                  fields["type"])


def read_each(path, columns, read):
    """Hands the rows of a table to `read`, and tells which of them is not understood."""
    for number, fields in enumerate(read_table(path, columns.split()), 2):
        try:
            read(fields)
        except Condition_Error as error:
            raise Facts_Error(f"{path}:{number}: {error}") from error


def condition_of(fields):
    """The condition of a row; one that holds in part leaves the other cases open."""
    exact, text = fields["exact"], fields["required"]
    if exact not in ("whole", "part", "none") or (exact == "none") != (text == ""):
        raise Condition_Error("the condition and its exactness do not fit")
    if exact == "none":
        return None
    condition = parse_fact(text)
    if exact == "whole":
        return condition
    terms = condition[1] if condition[0] == "or" else (condition,)
    return "or", (*terms, ("unknown",))


def values_of(fields):
    number, texts = fields["value_number"], tuple(fields["values"].split("|"))
    if fields["set"] not in ("enumerated", "defined") or fields["complete"] not in ("yes", "no") \
            or not all(texts) or number != "*" and not is_count(number, 1):
        raise Condition_Error("the set of values is not understood")
    return Values(fields["set"] == "enumerated", texts, None if number == "*" else int(number),
                  fields["complete"] == "yes", when_of(fields))


def items_of(fields):
    least, most = fields["min"], fields["max"]
    if not is_count(least, 0) or most != "*" and not is_count(most, max(int(least), 1)):
        raise Condition_Error("the number of items is not understood")
    return Items(int(least), None if most == "*" else int(most), when_of(fields))


def is_count(text, least):
    return text.isascii() and text.isdecimal() and int(text) >= least


def when_of(fields):
    return parse_fact(fields["when"]) if fields["when"] else None


def read_usages(path, of_what):
    """(IOD, module or macro) -> Usage"""
    usages = {}

    def read(fields):
        key = fields["iod"], fields[of_what]
        condition = condition_of(fields)
        if key in usages:
            raise Condition_Error("stands twice")
        if (fields["usage"] == "M") != (condition == ALWAYS) or \
                fields["usage"] == "U" and condition:
            raise Condition_Error("usage and condition do not fit")
        usages[key] = Usage(fields["usage"], condition)

    read_each(path, f"iod {of_what} usage required exact", read)
    return usages


def compare_usages(kind, usages, expected):
    for key in usages.keys() | expected.keys():
        if key not in usages or usages[key].usage != expected.get(key):
            raise Facts_Error(f"{kind}: the tables do not agree on the usage of {key}")
