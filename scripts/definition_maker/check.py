"""Compares written definition files with the facts, and checks them without facts."""

import re
from collections import Counter

from definition_maker.check_rules import check_rules
from definition_maker.clauses import Items, Required
from definition_maker.compose import FRAME_GROUPS, SHARED_GROUPS, expected_attributes
from definition_maker.conditions import quote
from definition_maker.facts import LEGACY_SCHEMES, VRS
from definition_maker.grammar import (Grammar_Error, Library, Node, flatten, lower, parse,
                                      written_vr)
from definition_maker.lists import MAX_CODE_LINE, code_file, code_line, legacy_scheme
from definition_maker.macros import SHORT_FORMS, Macro_Book, file_name, moved


class Comparison:
    """Counts what was compared and keeps what differs."""

    def __init__(self):
        self.counts = Counter()
        self.differences = []

    def same(self, kind, where, fact, written):
        self.counts[kind] += 1
        if fact != written:
            self.differences.append(f"{where}: facts {fact}, files {written}")


def check_with_facts(facts, directory):
    """Compares every fact with the files, and every attribute of the files with the facts."""
    library = Library(directory)
    book = Macro_Book(facts.macros)
    result = Comparison()
    for iod in facts.iods:
        check_iod(iod, library, book, result)
    check_rules(facts, library, result)
    check_private(facts.creators, directory, result)
    check_codes(facts.codes, directory, result)
    return result


def check_iod(iod, library, book, result):
    name = f"iods/{iod.code}"
    own = flatten(library.expand_own_lines(name))
    whole = flatten(library.expand(name))
    includes = [(line.include, line.usage) for line in library.lines(name)
                if line.include.startswith("modules/")]
    result.same("modules in IODs", name,
                [(file_name("modules", use.module), use.usage) for use in iod.modules], includes)
    facts = expected_attributes(iod)
    for use in iod.modules:
        coded = {row.key: row for row in whole_codes(use.rows, book)}
        written = library.flat(file_name("modules", use.module))
        where = f"{name} {use.module}"
        for row in use.rows:
            check_row("rows of modules", where, row, (written, own), result)
        for row in coded.values():
            check_row("rows brought by whole coded entries", where, row, (written, own), result)
            facts.setdefault(row.key, (row.type, row.vr, row.value))
        for key in written.keys() - coded.keys() - {row.key for row in use.rows}:
            result.differences.append(f"{where} {key}: not in the facts")
    check_merged(name, facts, whole, result)
    check_groups(name, whole, result)


def whole_codes(rows, book):
    """What the tables of the IODs leave out of coded entries."""
    for path, macro in {(row.path, row.macro): None for row in rows if row.macro in SHORT_FORMS}:
        shown = book.expand(macro)
        left_out = {key: row for key, row in book.expand_full(macro).items() if key not in shown}
        yield from moved(left_out, path).values()


def check_row(kind, where, row, files, result):
    """A row against the file of its module; the IOD may give a type and a value of its own."""
    nodes = [file[row.key] for file in files if row.key in file]
    conditional = any(node.conditional for node in nodes)
    result.counts["of these brought by conditional macros"] += conditional
    want = lower(row.type) if conditional else row.type, written_vr(row.tag, row.vr), row.value
    found = (want[0] if any(node.type == want[0] for node in nodes) else "other types",
             next((node.vr for node in nodes if node.vr != "--"), "--"),
             want[2] if any(node.value == want[2] for node in nodes) else "other values")
    result.same(kind, f"{where} {row.key}", want, found if nodes else "nothing")


def check_merged(where, facts, whole, result):
    """Each attribute as a reader sees it after all modules."""
    for key, (type_, vr, value) in facts.items():
        node = whole.get(key, Node())
        want = lower(type_) if node.conditional else type_
        result.same("attributes of merged IODs", f"{where} {key}",
                    (want, written_vr(key[1], vr), value), (node.type, node.vr, node.value))
    for key in whole.keys() - facts.keys():
        result.differences.append(f"{where} {key}: not in the facts")


def check_groups(where, whole, result):
    """What may stand in the shared or in the per-frame item is required of neither."""
    for path, tag in whole:
        if path == SHARED_GROUPS and (FRAME_GROUPS, tag) in whole:
            types = {whole[at, tag].type for at in (SHARED_GROUPS, FRAME_GROUPS)}
            result.same("functional groups", f"{where} {tag}", set(), types & {"1", "2"})


def read_lines(path):
    """The lines of a file that are neither empty nor comments."""
    return [line for line in path.read_text(encoding="utf-8").splitlines()
            if line and not line.startswith("#")]


QUOTED = r'"((?:[^"]|"")*)"'
PRIVATE = re.compile(r"\(([0-9A-F]{4}),(xx[0-9A-F]{2})\) ([A-Z]{2}) ([0-9n-]+) +"
                     rf"{QUOTED}(?: # (.*))?")
CREATOR = re.compile(rf"creator {QUOTED}")
PRIVATE_INDEX = re.compile(rf"{QUOTED} +([a-z0-9-]+)")
IOD_INDEX = re.compile(rf"([A-Z0-9-]+) +([A-Z]+|-) +([0-9.|]+|-) +{QUOTED}")
CODE_INDEX = re.compile(rf"([0-9]+) +(cid-[0-9a-z-]+) +{QUOTED}")
CODE = re.compile(r"[^ #*;][^ ]* [^ ]+ [^ ].*")


def read_private(directory):
    """creator -> (file, rows) of all private files."""
    creators = {}
    for path in sorted((directory / "private").glob("*.txt")):
        rows = None
        for line in read_lines(path) if path.stem != "index" else ():
            if match := CREATOR.fullmatch(line):
                rows = []
                name = match[1].replace('""', '"')
                if name in creators:
                    raise Grammar_Error(f"{path}: creator {name} stands twice")
                creators[name] = path.stem, rows
            elif (match := PRIVATE.fullmatch(line)) and rows is not None and match[3] in VRS:
                rows.append((match[1], match[2], match[6] or match[3], match[4],
                             match[5].replace('""', '"')))
            else:
                raise Grammar_Error(f"{path}: not understood: {line}")
    return creators


def check_private(creators, directory, result):
    written = read_private(directory)
    result.same("lists", "private creators", sorted(creator.name for creator in creators),
                sorted(written))
    for creator in creators:
        rows = dict((row[:2], row) for row in written.get(creator.name, ("", []))[1])
        for row in creator.rows:
            result.same("private attributes", creator.name, row, rows.pop(row[:2], None))
        result.same("lists", creator.name, {}, rows)


def check_codes(tables, directory, result):
    for table in tables:
        written = []
        for scheme in ("", *LEGACY_SCHEMES):
            path = directory / (code_file(table.cid, scheme) + ".txt")
            lines = read_lines(path) if path.exists() else []
            mixed = [line for line in lines if legacy_scheme(line.split()) != scheme]
            result.same("lists", str(path), [], mixed)
            written += lines
        facts = Counter(code_line(entry) for entry in table.entries)
        result.same("lists", f"CID {table.cid}", facts, Counter(written))
        result.counts["codes"] += len(table.entries)


def self_check(directory):
    """The faults of a directory of definition files, found without facts."""
    faults = []
    for path in sorted(directory.rglob("*.txt")):
        text = path.read_text(encoding="utf-8")
        if not text.startswith("# ") or "\t" in text or not text.endswith("\n"):
            faults.append(f"{path}: no comment at the head, a tab, or no line end at the end")
    for check in (check_trees, check_iod_index, check_private_index, check_code_index):
        try:
            faults += check(directory)
        except (Grammar_Error, OSError) as error:
            faults.append(str(error))
    return faults


def check_trees(directory):
    """Every module, macro and IOD expands, and something includes each module and macro."""
    library = Library(directory)
    for path in sorted((directory / "iods").glob("*.txt")):
        if path.stem != "index":
            library.expand(f"iods/{path.stem}")
    faults = []
    for folder in "modules", "macros":
        for path in sorted((directory / folder).glob("*.txt")):
            if f"{folder}/{path.stem}" not in library.files:
                parse(path.read_text(encoding="utf-8"), path)
                faults.append(f"{path}: nothing includes it")
    for name, lines in library.files.items():
        if [bool(line.name) for line in lines[:1]] == [name.startswith("iods/")]:
            faults.append(f"{name}: a module or macro without a name, or an IOD with one")
        faults += [f"{name}: {fault}" for line in lines for fault in misplaced(line)]
        tops = [line.tag for line in lines if line.depth == 0 and line.tag]
        faults += [f"{name}: ({tag}) stands twice"
                   for tag, count in Counter(tops).items() if count > 1]
    return faults


def misplaced(line):
    """Clauses that say nothing where they stand."""
    if line.condition and line.usage != "C":
        yield f"a condition of {line.include}, which is not conditional"
    for clause in line.clauses:
        if isinstance(clause, Required) and line.type not in ("1C", "2C", "-"):
            yield f"a condition of ({line.tag}), which is not conditional: {clause}"
        if isinstance(clause, Items) != (line.vr == "SQ") and line.vr != "--" and \
                not isinstance(clause, Required):
            yield f"({line.tag}) {line.vr} has no such values or items: {clause}"


def check_iod_index(directory):
    listed = set()
    for line in read_lines(directory / "iods/index.txt"):
        match = IOD_INDEX.fullmatch(line)
        if not match:
            raise Grammar_Error(f"iods/index.txt: not understood: {line}")
        listed.add(match[1])
    return unlisted(directory / "iods", listed)


def check_private_index(directory):
    listed = {}
    for line in read_lines(directory / "private/index.txt"):
        match = PRIVATE_INDEX.fullmatch(line)
        if not match:
            raise Grammar_Error(f"private/index.txt: not understood: {line}")
        listed[match[1].replace('""', '"')] = match[2]
    written = {name: file for name, (file, _) in read_private(directory).items()}
    wrong = [f"private/index.txt: {quote(name)} does not fit the files"
             for name in sorted(listed.keys() | written.keys())
             if listed.get(name) != written.get(name)]
    return wrong + unlisted(directory / "private", set(listed.values()))


def check_code_index(directory):
    faults = []
    listed = set()
    for line in read_lines(directory / "codes/index.txt"):
        match = CODE_INDEX.fullmatch(line)
        if not match or not match[2].startswith(f"cid-{int(match[1]):04}"):
            raise Grammar_Error(f"codes/index.txt: not understood: {line}")
        listed.add(match[2])
    for name in sorted(listed):
        for line in read_lines(directory / "codes" / (name + ".txt")):
            if not CODE.fullmatch(line) or len(line.encode()) > MAX_CODE_LINE:
                faults.append(f"codes/{name}.txt: not understood: {line}")
    return faults + unlisted(directory / "codes", listed)


def unlisted(directory, listed):
    files = {path.stem for path in directory.glob("*.txt")} - {"index"}
    return [f"{directory / name}.txt: listed but missing" for name in sorted(listed - files)] + \
           [f"{directory / name}.txt: not in the index" for name in sorted(files - listed)]
