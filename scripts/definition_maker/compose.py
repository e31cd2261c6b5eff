"""Writes the definition files of modules, macros and IODs."""

from collections import Counter, OrderedDict, defaultdict
from dataclasses import replace

from definition_maker.facts import join
from definition_maker.grammar import Block, Entry, Library, flatten, format_block, lower, parse
from definition_maker.macros import Macro_Book, file_name

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
        writer.write(file_name("modules", name),
                     [f"{name} Module", EDITIONS.get(name, EDITION)],
                     format_block(book.recover(rows)))
    drafts = [(iod, draft_iod(iod, common, book)) for iod in facts.iods]
    write_macros(book, writer)
    library = Library(writer.directory)
    for iod, draft in drafts:
        write_iod(iod, draft, library, writer)
    write_iod_index(facts.iods, writer)


def write_macros(book, writer):
    """The macros in use, until those they include are written too."""
    done = set()
    while todo := sorted(book.used - done):
        for name in todo:
            writer.write(file_name("macros", name), [f"{name} Macro", EDITION],
                         format_block(book.block_of(name)))
            done.add(name)


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


def draft_iod(iod, common, book):
    """The block of an IOD without the lines that settle disagreements between its modules."""
    block = Block()
    for use in iod.modules:
        block.includes.append((file_name("modules", use.module), use.usage, use.entity))
        base = {row.key: row for row in common[use.module]}
        for row in shared_part(use):
            if (row.type, row.value) != (base[row.key].type, base[row.key].value):
                put(block, row.path, Entry(row.tag, "-", "--", row.value, row.name),
                    "" if row.type == base[row.key].type else row.type)
        if use.module == GROUPS_MODULE:
            for sequence in SHARED_GROUPS, FRAME_GROUPS:
                add_functional_groups(block, iod, use, sequence, book)
    return block


def put(block, path, entry, type_=""):
    """Adds an entry at a path below a block, with the sequences that enclose it."""
    entry.type = type_ or "-"
    for step in path.split(">") if path else ():
        outer = next((other for other in block.entries if other.tag == step), None)
        if outer is None:
            outer = Entry(step, "-", "--", "", "")
            block.entries.append(outer)
        outer.inside = outer.inside or Block()
        block = outer.inside
    for other in block.entries:
        if other.tag == entry.tag:
            other.type = type_ or other.type
            other.comment = entry.comment
            other.inside = other.inside or entry.inside
            return
    block.entries.append(entry)


def add_functional_groups(block, iod, use, sequence, book):
    rows = {at: [row for row in use.rows if row.path == at] for at in (SHARED_GROUPS, FRAME_GROUPS)}
    here = {row.tag for row in rows[sequence]}
    inside = Block()
    for name in sorted({*iod.groups, *(row.macro for row in rows[sequence])}):
        top = {tag for path, tag in book.expand(name) if not path}
        if not top <= here:
            continue
        only_here = all(sum(row.tag in top for row in at) == 0 for path, at in rows.items()
                        if path != sequence)
        usage = iod.groups.get(name)
        inside.includes.append(book.include(name, "M" if only_here and usage == "M" else "C",
                                            f"usage {usage}" if usage else "usage not known"))
    name = next(row.name for row in use.rows if row.tag == sequence)
    put(block, "", Entry(sequence, "-", "--", "", name, inside))


GROUPS_REMARK = (
    "Functional groups. A group stands in the shared item or in the item of each frame, so it can",
    "be required of neither: it is included as conditional (C), with its usage in the comment.",
    "Only a mandatory group that has one place alone is required there.",
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
    width = max(len(name) for name, _, _ in block.includes)
    entity = ""
    for name, usage, comment in block.includes:
        if comment != entity:
            yield ([""] if entity else []) + [f"# {comment}"]
            entity = comment
        yield [f"include {name:<{width}} {usage}"]
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
