"""Writes the definition files of modules, macros and IODs."""

from collections import Counter, OrderedDict, defaultdict
from dataclasses import replace

from definition_maker.conditions import quote
from definition_maker.grammar import (Block, Entry, Include, Library, flatten, format_block,
                                      format_if, lower, parse)
from definition_maker.macros import Macro_Book, file_name
from definition_maker.rules import ALWAYS
from definition_maker.tables import Facts_Error, join

EDITION = "PS3.3 2024e (tables of December 2024); names and VRs of PS3.6 2024d."
EDITIONS = {"File Meta Information": "PS3.10 7.1; names and VRs of PS3.6 2024d."}
MADE_BY = "Made by scripts/make_definitions. Do not edit; make it again."

SHARED_GROUPS, FRAME_GROUPS = "5200,9229", "5200,9230"
GROUPS_MODULE = "Multi-frame Functional Groups"
STRICTNESS = ("3", "2C", "1C", "2", "1")

# Of several IODs with one modality the first in the index is that modality's default.
DEFAULTS = ("DOC-PDF", "OP-8BIT", "PR-GSPS", "SM-WSI")


class Text_Writer:
    """Writes text files below a directory and remembers their names."""

    def __init__(self, directory):
        self.directory = directory
        self.written = set()

    def write(self, name, head, lines):
        path = self.directory / (name + ".txt")
        if name in self.written:
            raise ValueError(f"two files would be named {path}")
        self.written.add(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        text = [f"# {line}" for line in (*head, MADE_BY)] + [""] + list(lines)
        path.write_text("\n".join(text) + "\n", encoding="utf-8")


def write_standard(facts, writer):
    """Modules, then IODs, then the macros that they use."""
    book = Macro_Book(facts.macros)
    common = common_modules(facts.iods)
    for name, rows in common.items():
        block = book.recover(rows)
        add_clauses(block, facts.rules.of("modules", name), {row.key: row for row in rows})
        writer.write(file_name("modules", name),
                     [f"{name} Module", EDITIONS.get(name, EDITION)], named_lines(name, block))
    drafts = [(iod, draft_iod(iod, common, book, facts)) for iod in facts.iods]
    write_macros(book, facts.rules, writer)
    library = Library(writer.directory)
    for iod, draft in drafts:
        write_iod(iod, draft, library, writer)
    write_iod_index(facts.iods, writer)


def write_macros(book, rules, writer):
    """The macros in use, until those they include are written too."""
    done = set()
    while todo := sorted(book.used - done):
        for name in todo:
            block = book.block_of(name)
            add_clauses(block, rules.of("macros", name), book.expand_full(name))
            writer.write(file_name("macros", name), [f"{name} Macro", EDITION],
                         named_lines(name, block))
            done.add(name)


def named_lines(name, block):
    """The lines of a module or macro, which messages call by its name."""
    return [f"name {quote(name)}", *format_block(block)]


def add_clauses(block, rules, rows):
    """Adds what the rules say to the lines of the attributes, `rows` being all there are."""
    for key, same in rules.items():
        row = rows.get(key)
        if row is None:
            raise Facts_Error(f"a rule for no attribute: {same[0]}")
        clauses = [rule.clause for rule in same if rule.clause]
        if any(rule.clause and rule.type not in ("", row.type) for rule in same):
            raise Facts_Error(f"a rule for another type than {row.type}: {same[0]}")
        if clauses:
            entry_at(block, *key, row.name).clauses += clauses


def common_modules(iods):
    """Module -> rows in the form that most IODs share."""
    uses = defaultdict(list)
    for iod in iods:
        for use in iod.modules:
            uses[use.module].append(use)
    return OrderedDict((name, common_rows(uses[name])) for name in sorted(uses))


def common_rows(uses):
    places = OrderedDict()
    for use in uses:
        for row in shared_part(use):
            places.setdefault(row.key, []).append(row)
    rows = []
    for same in places.values():
        if len(same) != len(uses):
            raise ValueError(f"{uses[0].module}: {same[0]} is not in every IOD")
        if len({(row.vr, row.name, row.macro) for row in same}) != 1:
            raise ValueError(f"{uses[0].module}: IODs disagree on {same[0]}")
        type_ = Counter(row.type for row in same).most_common(1)[0][0]
        values = {row.value for row in same}
        rows.append(replace(same[0], type=type_, value=values.pop() if len(values) == 1 else ""))
    return rows


def shared_part(use):
    """The rows of a module that do not depend on the functional groups of an IOD."""
    groups = (SHARED_GROUPS, FRAME_GROUPS) if use.module == GROUPS_MODULE else ()
    return [row for row in use.rows if not row.path.startswith(groups)]


def draft_iod(iod, common, book, facts):
    """The block of an IOD without the lines that settle disagreements between its modules."""
    block = Block()
    rules = facts.rules
    for use in iod.modules:
        condition = rules.modules[iod.code, use.module].condition if use.usage == "C" else None
        block.includes.append(Include(file_name("modules", use.module), use.usage, use.entity,
                                      condition))
        base = {row.key: row for row in common[use.module]}
        for row in shared_part(use):
            if (row.type, row.value) != (base[row.key].type, base[row.key].value):
                put(block, row.path, Entry(row.tag, "-", "--", row.value, row.name),
                    "" if row.type == base[row.key].type else row.type)
            if fixed := facts.fixed.get((iod.code, *row.key)):
                entry_at(block, *row.key, row.name).clauses = [fixed]
        if use.module == GROUPS_MODULE:
            for sequence in SHARED_GROUPS, FRAME_GROUPS:
                add_functional_groups(block, iod, use, sequence, book, rules)
    return block


def put(block, path, entry, type_=""):
    """Adds an entry at a path below a block, with the sequences that enclose it."""
    found = entry_at(block, path, entry.tag, entry.comment)
    found.comment = entry.comment
    found.type = type_ or found.type
    found.value = found.value or entry.value
    found.inside = found.inside or entry.inside


def entry_at(block, path, tag, comment=""):
    """The entry at a path below a block; one that is not there is added and leaves all as it is."""
    for step in path.split(">") if path else ():
        outer = entry_at(block, "", step)
        outer.inside = outer.inside or Block()
        block = outer.inside
    for entry in block.entries:
        if entry.tag == tag:
            return entry
    block.entries.append(Entry(tag, "-", "--", "", comment))
    return block.entries[-1]


def add_functional_groups(block, iod, use, sequence, book, rules):
    rows = {at: [row for row in use.rows if row.path == at] for at in (SHARED_GROUPS, FRAME_GROUPS)}
    here = {row.tag for row in rows[sequence]}
    inside = Block()
    for name in sorted({*iod.groups, *(row.macro for row in rows[sequence])}):
        top = {tag for path, tag in book.expand(name) if not path}
        if not top <= here:
            continue
        only_here = all(sum(row.tag in top for row in at) == 0 for path, at in rows.items()
                        if path != sequence)
        usage, condition = group_usage(rules.groups.get((iod.code, name)), only_here)
        inside.includes.append(book.include(name, usage, "" if name in iod.groups
                                            else "usage not known", condition))
    name = next(row.name for row in use.rows if row.tag == sequence)
    put(block, "", Entry(sequence, "-", "--", "", name, inside))


def group_usage(rule, only_here):
    """Usage and condition on the line of a functional group in one of its places."""
    if rule is None:
        return "C", None
    if rule.usage == "M":
        return ("M", None) if only_here else ("C", ALWAYS)
    return rule.usage, rule.condition


GROUPS_REMARK = (
    "Functional groups. A group stands in the shared item or in the item of each frame, so it can",
    "be required of neither alone: a mandatory one is included as conditional (C if true). Only a",
    "mandatory group that has one place alone is required there.",
)
MERGE_REMARK = (
    "Attributes of several modules: a mandatory module wins, and the stricter type among those.",
)


def expected_attributes(iod):
    """(path, tag) -> (type, VR, value) of an IOD after all its modules were merged."""
    found = OrderedDict()
    for use in iod.modules:
        for row in use.rows:
            found.setdefault(row.key, []).append((use.usage, row))
    return OrderedDict((key, merged(same)) for key, same in found.items())


def merged(same):
    mandatory = [row for usage, row in same if usage == "M"]
    rows = mandatory or [row for _, row in same]
    type_ = max((row.type for row in rows), key=STRICTNESS.index)
    if not mandatory and not rows[0].path:
        type_ = lower(type_)
    value = ([row.value for _, row in same if row.value] or [""])[-1]
    return type_, same[-1][1].vr, value


def write_iod(iod, block, library, writer):
    settle_types(iod, block, library)
    lines = [line for part in iod_parts(iod, block) for line in part]
    edition = EDITIONS.get(iod.modules[0].module, EDITION)
    writer.write(f"iods/{iod.code}", [iod.title, edition], lines)


def settle_types(iod, block, library):
    """Adds lines where the last module would win but another one must."""
    draft = parse("\n".join(format_block(block)), iod.code)
    rows = flatten(library.expand_lines(draft, iod.code))
    names = {row.key: row for use in iod.modules for row in use.rows}
    for key, (type_, _, _) in expected_attributes(iod).items():
        node = rows[key]
        want = lower(type_) if node.conditional else type_
        if node.type == want:
            continue
        sources = ", ".join(f"{use.module} {use.usage} {row.type}"
                            for use in iod.modules for row in use.rows if row.key == key)
        put(block, key[0], Entry(key[1], "-", "--", "", f"{names[key].name}: {sources}"), want)
        name_outer(block, key[0], names)


def name_outer(block, path, names):
    """Gives the sequences that enclose an added line their names."""
    at = ""
    for step in path.split(">") if path else ():
        entry = next(entry for entry in block.entries if entry.tag == step)
        entry.comment = entry.comment or names[at, step].name
        at = join(at, step)
        block = entry.inside


def iod_parts(iod, block):
    """The parts of an IOD file: modules by entity, then the lines of this IOD alone."""
    width = max(len(include.file) for include in block.includes)
    entity = ""
    for include in block.includes:
        if include.comment != entity:
            yield ([""] if entity else []) + [f"# {include.comment}"]
            entity = include.comment
        yield [f"include {include.file:<{width}} {include.usage}{format_if(include)}"]
    groups = [entry for entry in block.entries if entry.tag in (SHARED_GROUPS, FRAME_GROUPS)]
    settled = [entry for entry in block.entries if entry not in groups and is_settled(entry)]
    fixed = [entry for entry in block.entries if entry not in groups and entry not in settled]
    for remark, entries in ((("Fixed in this IOD.",), fixed), (MERGE_REMARK, settled),
                            (GROUPS_REMARK, groups)):
        if entries:
            yield [""] + format_block(Block(entries=entries, remarks=list(remark)))


def is_settled(entry):
    """Whether a line settles a type between modules, here or in its items."""
    inside = entry.inside.entries if entry.inside else ()
    return entry.type != "-" or any(is_settled(inner) for inner in inside)


def write_iod_index(iods, writer):
    order = sorted(iods, key=lambda iod: (iod.code not in DEFAULTS, iod.code))
    lines = []
    for iod in order:
        uids = "|".join(iod.uids) or "-"
        for modality in iod.modalities or ["-"]:
            lines.append((iod.code, modality, uids, f'"{iod.title}"'))
            uids = "-"
    widths = [max(len(line[column]) for line in lines) for column in range(3)]
    writer.write("iods/index", [
        "IODs of PS3.3 2024e: file, modality, SOP Class UIDs, title.",
        "The first line with a modality is the default of that modality. An IOD of two modalities",
        "has a line for each."],
        [" ".join(f"{text:<{width}}" for text, width in zip(line, widths)) + f" {line[3]}"
         for line in lines])
