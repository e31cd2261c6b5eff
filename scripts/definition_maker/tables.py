"""Reads tab-separated tables with one header line and no quoting."""

import re

TAG = re.compile(r"[0-9A-F]{4},[0-9A-F]{4}")


class Facts_Error(Exception):
    """A fact that this program does not understand."""


def join(*parts):
    return ">".join(part for part in parts if part)


def read_table(path, columns):
    """The rows of a table as dictionaries."""
    lines = path.read_text(encoding="utf-8").split("\n")
    if lines.pop() != "":
        raise Facts_Error(f"{path}: the last line has no end")
    if lines[0].split("\t") != columns:
        raise Facts_Error(f"{path}:1: the columns are not {' '.join(columns)}")
    rows = []
    for number, line in enumerate(lines[1:], 2):
        fields = line.split("\t")
        if len(fields) != len(columns) or not all(field.isprintable() for field in fields):
            raise Facts_Error(f"{path}:{number}: {len(columns)} columns of plain text expected")
        rows.append(dict(zip(columns, fields)))
    return rows
