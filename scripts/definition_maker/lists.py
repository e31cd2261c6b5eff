"""Writes the definition files of private attributes and of code tables."""

from collections import OrderedDict

from definition_maker.conditions import quote
from definition_maker.facts import LEGACY_SCHEMES
from definition_maker.macros import file_name

MAX_CODE_LINE = 179     # bytes a reader of code tables accepts
CODE_EDITION = {4021: "PS3.16 2024c with additions up to 2025e",
                4031: "PS3.16 2024c with additions up to 2025e"}


def write_private(creators, writer):
    """A file for each vendor with a section for each of its creators."""
    vendors = OrderedDict()
    for creator in sorted(creators, key=lambda creator: (creator.vendor, creator.name)):
        vendors.setdefault(creator.vendor, []).append(creator)
    index = []
    for vendor, own in vendors.items():
        name = file_name("private", vendor)
        lines = []
        for creator in own:
            lines += ([""] if lines else []) + [f"creator {quote(creator.name)}"]
            lines += private_lines(creator.rows)
            index.append((quote(creator.name), name.removeprefix("private/")))
        writer.write(name, [
            f"Private attributes of {vendor}, from conformance statements as collected in public",
            "tables, 2024 to 2026. Each line: VR, VM, name; Unknown where only the VR is known.",
        ], lines)
    width = max(len(name) for name, _ in index)
    writer.write("private/index", ["Private creators and their files."],
                 [f"{name:<{width}} {file}" for name, file in sorted(index)])


def private_lines(rows):
    width = max(len(row[3]) for row in rows)
    for group, element, vr, vm, name in sorted(rows):
        # A text of several possible VRs is OW without an explicit VR (PS3.5 A.1).
        vrs = vr.split(" or ")
        remark = f" # {vr}" if len(vrs) > 1 else ""
        yield f"({group},{element.replace('X', 'x')}) {vrs[-1]} {vm:<{width}} {quote(name)}{remark}"


def write_codes(tables, writer):
    """A file for each context group; the old SNOMED values apart, since each is a concept again."""
    index = []
    shortened = 0
    for table in sorted(tables, key=lambda table: table.cid):
        edition = CODE_EDITION.get(table.cid, "PS3.16 2024c")
        for scheme in ("", *LEGACY_SCHEMES):
            entries = [entry for entry in table.entries if legacy_scheme(entry) == scheme]
            if not entries:
                continue
            name = code_file(table.cid, scheme)
            title = table.title + (f" ({scheme}, retired values)" if scheme else "")
            lines = [code_line(entry) for entry in entries]
            shortened += sum(line != " ".join(entry) for line, entry in zip(lines, entries))
            writer.write(name, [f"CID {table.cid} {title}", f"{edition}."], lines)
            index.append(f"{table.cid:<4} {name.removeprefix('codes/'):<14} {quote(title)}")
    writer.write("codes/index", [
        "Context groups of PS3.16 2024c: number, file, title. The first line of a number is the",
        "current table."], index)
    return shortened


def legacy_scheme(entry):
    """The legacy scheme of an entry, empty for a current one."""
    return entry[0] if entry[0] in LEGACY_SCHEMES else ""


def code_file(cid, scheme):
    return f"codes/cid-{cid:04}" + (f"-{scheme.lower()}" if scheme else "")


def code_line(entry):
    """An entry as a line, the meaning cut at a word where the line would be too long."""
    line = " ".join(entry)
    while len(line.encode()) > MAX_CODE_LINE:
        line = line.rpartition(" ")[0]
    return line
