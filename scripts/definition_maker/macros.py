"""Finds the macros again that the tables of the IODs show expanded."""

from collections import OrderedDict, defaultdict
from dataclasses import replace

from definition_maker.clauses import parse_include_condition
from definition_maker.grammar import Block, Entry, Include, lower
from definition_maker.tables import join

# In the tables of the IODs a coded entry shows these attributes only; the files have all of them.
SHORT_FORMS = {
    "Code Sequence": "Basic Code Sequence",
    "Code Sequence (code meaning type 3)": "Basic Code Sequence (code meaning type 3)",
}

# Macros whose includes hold for some items only: by Value Type (PS3.3 C.17.3.2), by the way a
# content item relates to its parent (C.17.3.2.4). What they ask for is not asked of every item.
CONDITIONAL_IN = {
    "Document Content": ("", {
        "3D Spatial Coordinates": '(0040,A040) = "SCOORD3D"',
        "Code": '(0040,A040) = "CODE"',
        "Composite Object Reference": '(0040,A040) = "COMPOSITE"|"IMAGE"|"WAVEFORM"',
        "Container": '(0040,A040) = "CONTAINER"',
        "Image Reference": '(0040,A040) = "IMAGE"',
        "Numeric Measurement": '(0040,A040) = "NUM"',
        "Spatial Coordinates": '(0040,A040) = "SCOORD"',
        "Waveform Reference": '(0040,A040) = "WAVEFORM"',
    }),
    "Document Relationship": ("0040,A730", {
        "Document Content": "not (0040,DB73) present",
    }),
}

# What is asked of a directory record depends on its type (PS3.3 F.4).
RECORD_SUFFIX = " Directory Record"
RECORD_TYPES = {
    "Encapsulated Document": "ENCAP DOC",
    "Fiducial": "FIDUCIAL",
    "HL7Structured Document": "HL7 STRUC DOC",
    "Hanging Protocol": "HANGING PROTOCOL",
    "Image": "IMAGE",
    "Key Object Document": "KEY OBJECT DOC",
    "Patient": "PATIENT",
    "Presentation": "PRESENTATION",
    "RTDose": "RT DOSE",
    "RTPlan": "RT PLAN",
    "RTStructure Set": "RT STRUCTURE SET",
    "RTTreatment Record": "RT TREAT RECORD",
    "Raw Data": "RAW DATA",
    "Real World Value Mapping": "VALUE MAP",
    "Registration": "REGISTRATION",
    "SRDocument": "SR DOCUMENT",
    "Series": "SERIES",
    "Spectroscopy": "SPECTROSCOPY",
    "Stereometric Relationship": "STEREOMETRIC",
    "Study": "STUDY",
    "Surface": "SURFACE",
    "Waveform": "WAVEFORM",
}
DIRECTORY_MODULE = "Directory Information"


def include_condition(macro, path, included):
    """When a macro includes another one, parsed; None for always."""
    at, conditions = CONDITIONAL_IN.get(macro, (None, {}))
    return parse_include_condition("if " + conditions[included]) if at == path else None


def record_condition(macro):
    """When a directory record is one that a macro describes, parsed."""
    kind = RECORD_TYPES[macro.removesuffix(RECORD_SUFFIX)]
    return parse_include_condition(f'if (0004,1430) = "{kind}"')


def file_name(folder, name):
    """The name of the file for a module or macro."""
    letters = (letter if letter.isascii() and letter.isalnum() else "" if letter == "'" else " "
               for letter in name.lower())
    return folder + "/" + "-".join("".join(letters).split())


class Macro_Book:
    """All macros, with their expansions and the blocks of lines that hold them."""

    def __init__(self, macros):
        self.macros = macros
        self.used = set()
        self._expanded = {}

    def expand(self, name):
        """(path, tag) -> Row as the tables of the IODs show the macro.

        Of several rows the last include wins, and own rows win over all includes.
        """
        if name not in self._expanded:
            rows = self._expand_whole(SHORT_FORMS.get(name, name), self.expand)
            if name in SHORT_FORMS:
                rows = {key: replace(row, macro=name) for key, row in rows.items()}
            self._expanded[name] = rows
        return self._expanded[name]

    def expand_full(self, name):
        """The same with everything that the macro includes."""
        return self._expand_whole(name, self.expand_full)

    def _expand_whole(self, name, expand):
        rows = OrderedDict()
        macro = self.macros[name]
        for path, included in macro.includes:
            if included != name:
                rows.update(moved(expand(included), path))
        for row in macro.rows:
            rows[row.key] = row
        return rows

    def block_of(self, name):
        """The lines that define a macro."""
        self.used.add(name)
        macro = self.macros[name]
        by_path = defaultdict(list)
        for row in macro.rows:
            by_path[row.path].append(row)
        return self._block_at("", macro, by_path)

    def _block_at(self, path, macro, by_path):
        block = Block()
        for at, included in macro.includes:
            if at == path and included == macro.name:
                block.remarks.append(f"The items nest without end, by the {included} Macro; "
                                     "they are opened once.")
            elif at == path:
                condition = include_condition(macro.name, path, included)
                block.includes.append(self.include(included, "C" if condition else "M",
                                                   condition=condition))
        for row in by_path.get(path, ()):
            block.entries.append(entry_of(row, self._block_at(row.place, macro, by_path)))
        return block

    def include(self, name, usage="M", comment="", condition=None):
        self.used.add(name)
        return Include(file_name("macros", name), usage, comment, condition)

    def recover(self, rows):
        """The block of lines for expanded rows."""
        items = defaultdict(OrderedDict)
        for row in rows:
            items[row.path][row.tag] = row
        return self._recover_item(items, "", "")

    def _recover_item(self, items, path, context):
        """The block of one item; rows of the macro `context`, or of none, are the item's own."""
        here = items.get(path, {})
        names = self._macros_of_item(items, path, context)
        brought = {}
        conditional = set()
        block = Block()
        for name in names:
            is_record = name.endswith(RECORD_SUFFIX)
            usage = "C" if is_record else "M"
            block.includes.append(self.include(
                name, usage, condition=record_condition(name) if is_record else None))
            for key, row in self.expand(name).items():
                brought[key] = row
                if usage == "C" and not row.path:
                    conditional.add(row.tag)
        for tag, row in here.items():
            if ("", tag) not in brought:
                block.entries.append(entry_of(row, self._recover_item(items, row.place, row.macro)))
            elif entry := self._difference(items, path, row, brought, tag in conditional):
                block.entries.append(entry)
        return block

    def _macros_of_item(self, items, path, context):
        """The macros that bring the rows of an item which are not its own."""
        here = items.get(path, {})
        names = [name for name in self.macros if name.endswith(RECORD_SUFFIX)
                 and any(row.macro == name for row in here.values())]
        if names:
            names = [name for name in self.macros if name.endswith(RECORD_SUFFIX)]
        left = {tag for tag, row in here.items() if row.macro != context}
        while True:
            left -= {tag for name in names for at, tag in self.expand(name) if not at}
            if not left:
                return names
            scores = [(score, name) for name in self.macros
                      if (score := self._score(name, items, path, left)) is not None]
            if not scores:
                raise LookupError(f"no macro brings {sorted(left)} at '{path}'")
            names.append(max(scores, key=lambda pair: pair[0])[1])

    def _score(self, name, items, path, left):
        """How well a macro explains the tags `left` of an item; None when it cannot stand there."""
        here = items[path]
        rows = self.expand(name)
        top = [row for row in rows.values() if not row.path]
        hits = sum(row.tag in left and here[row.tag].macro == row.macro for row in top
                   if row.tag in here)
        if not hits or any(row.tag not in here for row in top):
            return None
        unlike = sum(facts_of(row) != facts_of(here[row.tag]) for row in top)
        missing = sum(row.tag not in items.get(join(path, row.path), {}) for row in rows.values())
        return hits - 3 * unlike - 3 * missing, -len(rows)

    def _difference(self, items, path, row, brought, conditional):
        """The entry that turns what the macros bring into the row, or None."""
        relative = row.place[len(path):].lstrip(">")
        at = relative.rpartition(">")[0]
        inside = Block()
        for tag, child in items.get(row.place, {}).items():
            if (relative, tag) not in brought:
                more = self._recover_item(items, child.place, child.macro)
                inside.entries.append(entry_of(child, more))
            elif entry := self._difference(items, path, child, brought, False):
                inside.entries.append(entry)
        same = facts_of(brought[at, row.tag]) == facts_of(row)
        if same and not inside.entries:
            return None
        entry = entry_of(row, inside)
        if same:
            entry.type, entry.vr, entry.value = "-", "--", ""
        elif conditional:
            entry.type = lower(entry.type)
        return entry


def moved(rows, path):
    """The rows of a macro as they stand inside the sequence at `path`."""
    if not path:
        return rows
    inside = (replace(row, path=join(path, row.path)) for row in rows.values())
    return {row.key: row for row in inside}


def facts_of(row):
    return row.vr, row.type, row.value


def entry_of(row, inside):
    filled = inside and (inside.includes or inside.entries or inside.remarks)
    return Entry(row.tag, row.type, row.vr, row.value, row.name, inside if filled else None)
