"""Values that the standard fixes for an attribute in an IOD: nothing else is allowed there.

The tables of rules come first: where they have a set of values for an attribute, it is left as it is,
since it may name more values, or hold under a condition.
"""

from collections import Counter, defaultdict

from definition_maker.clauses import Values
from definition_maker.rules import Rule

MODALITY = "0008,0060"
# Several classes may share an IOD, media types do not depend on case, and bytes are no values.
NOT_DEMANDED = ("0008,0016", "0042,0012", "0002,0001")


def add_fixed(rules, iods, macros):
    """Adds rules for values that all IODs of a module, or a macro, fix.

    Returns (IOD, path, tag) -> the set of values that one IOD alone fixes.
    """
    told = defaultdict(list)
    for owner, same in rules.owners.items():
        for rule in same:
            if isinstance(rule.clause, Values):
                told[owner[1], rule.key[1]].append(rule.clause)
    for macro in macros.values():
        for row in macro.rows:
            if row.value and (macro.name, row.tag) not in told:
                add_rule(rules, ("macros", macro.name), row)
    uses = Counter(use.module for iod in iods for use in iod.modules)
    fixing = defaultdict(list)
    for iod in iods:
        for use in iod.modules:
            for row in use.rows:
                if row.value and row.tag not in NOT_DEMANDED and not is_told(told, use, row) and \
                        not any(row.value == other.value for other in macro_rows(macros, row)):
                    fixing[use.module, row.key, row.value].append((iod, row))
    own = {}
    for (module, key, value), places in fixing.items():
        if len(places) == uses[module] and not places[0][1].macro:
            add_rule(rules, ("modules", module), places[0][1])
        else:
            own |= {(iod.code, *key): Values(True, (value,)) for iod, _ in places}
    return own


def add_rule(rules, owner, row):
    rules.owners.setdefault(owner, []).append(
        Rule("values", row.key, Values(True, (row.value,))))


def is_told(told, use, row):
    """Whether the tables say which values there are; the IOD narrows those of Modality."""
    sets = [values for name in (use.module, row.macro) for values in told.get((name, row.tag), ())]
    if row.tag == MODALITY:
        return any(values.enumerated and values.texts == (row.value,) for values in sets)
    return bool(sets)


def macro_rows(macros, row):
    return [other for other in macros[row.macro].rows if other.tag == row.tag] if row.macro else []
