"""Reads the tables of facts and refuses what it does not understand."""

import re
from collections import OrderedDict, defaultdict
from dataclasses import dataclass
from pathlib import Path

from definition_maker.fixed import add_fixed
from definition_maker.rules import Rules
from definition_maker.tables import TAG, Facts_Error, join, read_table

TYPES = ("1", "1C", "2", "2C", "3")
USAGES = ("M", "C", "U")
VRS = set("AE AS AT CS DA DS DT FD FL IS LO LT OB OD OF OL OV OW PN SH SL SQ SS ST SV TM UC UI UL "
          "UN UR US UT UV".split())
LEGACY_SCHEMES = ("SRT", "99SDM")


@dataclass(frozen=True)
class Row:
    """One attribute: what a module or macro says about it at one place."""
    path: str       # enclosing sequences, "gggg,eeee>gggg,eeee", empty at the top
    tag: str        # "gggg,eeee"
    vr: str         # one VR or "US or SS"
    type: str
    name: str
    value: str      # the value the standard fixes, or empty
    macro: str      # innermost macro that brings the attribute, or empty

    @property
    def key(self):
        return self.path, self.tag

    @property
    def place(self):
        """The path of the attributes inside this one."""
        return join(self.path, self.tag)


def first_group(fields, first):
    """Group and name; a repeating group (PS3.5 7.6) is described by its first one."""
    group, name = fields["group"], fields["name"]
    if group.endswith("xx"):
        return group[:2] + first, f"{name} ({group})"
    return group, name


def make_row(where, fields, macro):
    group, name = first_group(fields, "00")
    row = Row(fields["path"], f"{group},{fields['element']}", fields["vr"], fields["type"], name,
              fields["value"], macro)
    good = (all(TAG.fullmatch(step) for step in row.path.split(">") if row.path)
            and TAG.fullmatch(row.tag) and row.type in TYPES and row.name
            and all(vr in VRS for vr in row.vr.split(" or ")))
    if not good:
        raise Facts_Error(f"{where}: not understood: {row}")
    return row


@dataclass
class Macro:
    name: str
    rows: list          # Row
    includes: list      # (path, name of the macro)


@dataclass
class Module_Use:
    entity: str
    module: str
    usage: str
    rows: list          # Row


@dataclass
class Iod:
    code: str
    title: str
    uids: list
    modalities: list
    modules: list       # Module_Use
    groups: dict        # functional group macro -> usage


def read_macros(directory):
    path = directory / "macros.tsv"
    macros = OrderedDict()
    for fields in read_table(path, "macro path group element vr type name value includes".split()):
        macro = macros.setdefault(fields["macro"], Macro(fields["macro"], [], []))
        if fields["includes"]:
            if fields["group"] or fields["type"]:
                raise Facts_Error(f"{path}: an include with an attribute in {macro.name}")
            macro.includes.append((fields["path"], fields["includes"]))
        else:
            macro.rows.append(make_row(path, fields, macro.name))
    for macro in macros.values():
        for _, name in macro.includes:
            if name not in macros:
                raise Facts_Error(f"{path}: {macro.name} includes {name}, which is not there")
    return macros


def read_iods(directory):
    groups = defaultdict(OrderedDict)
    for fields in read_table(directory / "functional_groups.tsv", "code macro usage".split()):
        groups[fields["code"]][fields["macro"]] = usage_of(fields)
    uses = defaultdict(OrderedDict)
    for fields in read_table(directory / "iod_modules.tsv",
                             "code position entity module usage".split()):
        uses[fields["code"]][fields["module"]] = Module_Use(fields["entity"], fields["module"],
                                                            usage_of(fields), [])
    iods = []
    for fields in read_table(directory / "index.tsv",
                             "code iod sop_class_uids modality file rows".split()):
        code = fields["code"]
        iod = Iod(code, fields["iod"], words(fields["sop_class_uids"]),
                  [word for word in words(fields["modality"]) if word != "any"],
                  list(uses[code].values()), groups[code])
        read_iod_rows(directory / fields["file"], uses[code], int(fields["rows"]))
        iods.append(iod)
    return iods


def words(text):
    return text.split("|") if text else []


def usage_of(fields):
    if fields["usage"] not in USAGES:
        raise Facts_Error(f"usage not understood: {fields}")
    return fields["usage"]


def read_iod_rows(path, uses, count):
    rows = read_table(path, "module usage path group element vr type name value macro".split())
    if len(rows) != count:
        raise Facts_Error(f"{path}: {len(rows)} rows, the index says {count}")
    seen = set()
    for number, fields in enumerate(rows, 2):
        use = uses.get(fields["module"])
        if use is None or use.usage != fields["usage"]:
            raise Facts_Error(f"{path}:{number}: the module list has no such module and usage")
        row = make_row(f"{path}:{number}", fields, fields["macro"])
        if (use.module, row.key) in seen:
            raise Facts_Error(f"{path}:{number}: attribute stands twice in its module")
        seen.add((use.module, row.key))
        use.rows.append(row)
    for use in uses.values():
        if not use.rows:
            raise Facts_Error(f"{path}: no attribute of module {use.module}")


@dataclass
class Creator:
    name: str
    vendor: str
    rows: list          # (group, element, vr, vm, name)


def read_private(directory):
    creators = []
    columns = "creator file vendor rows named_rows rows_in_two_sources_same_vr".split()
    for fields in read_table(directory / "index.tsv", columns):
        path = directory / fields["file"]
        rows = []
        for row in read_table(path, "creator group element vr vm name".split()):
            group, name = first_group(row, "01")
            good = (row["creator"] == fields["creator"] and name and row["vm"]
                    and re.fullmatch(r"[0-9A-F]{4}", group)
                    and re.fullmatch(r"xx[0-9A-F]{2}", row["element"])
                    and all(vr in VRS for vr in row["vr"].split(" or ")))
            if not good:
                raise Facts_Error(f"{path}: not understood: {row}")
            rows.append((group, row["element"], row["vr"], row["vm"], name))
        if len(set(row[:2] for row in rows)) != len(rows) or len(rows) != int(fields["rows"]):
            raise Facts_Error(f"{path}: an attribute stands twice, or the count is wrong")
        creators.append(Creator(fields["creator"], fields["vendor"], rows))
    return creators


@dataclass
class Code_Table:
    cid: int
    title: str
    entries: list       # (scheme, value, meaning)


def read_codes(directory):
    tables = []
    columns = "cid title uid file rows sct srt 99sdm dcm other".split()
    for fields in read_table(directory / "index.tsv", columns):
        path = directory / fields["file"]
        entries = []
        for row in read_table(path, "coding_scheme code_value code_meaning".split()):
            entry = row["coding_scheme"], row["code_value"], row["code_meaning"]
            if not all(entry) or " " in entry[0] or " " in entry[1] or entry[0][0] in "#*;":
                raise Facts_Error(f"{path}: not understood: {entry}")
            entries.append(entry)
        tables.append(Code_Table(int(fields["cid"]), fields["title"], entries))
    return tables


class Facts:
    def __init__(self, directory):
        directory = Path(directory)
        self.macros = read_macros(directory / "iods")
        self.iods = read_iods(directory / "iods")
        self.creators = read_private(directory / "private")
        self.codes = read_codes(directory / "codes")
        self.rules = Rules(directory / "conditions", self.iods, self.macros)
        self.fixed = add_fixed(self.rules, self.iods, self.macros)
