"""Compares the clauses of the definition files with the rules in the tables of facts."""

from definition_maker.compose import FRAME_GROUPS, SHARED_GROUPS
from definition_maker.macros import (CONDITIONAL_IN, DIRECTORY_MODULE, RECORD_SUFFIX,
                                     RECORD_TYPES, file_name, include_condition, record_condition)
from definition_maker.rules import ALWAYS
from definition_maker.tables import join

COUNTS = {"attributes": "conditions of attributes", "values": "sets of values",
          "items": "numbers of items"}


def check_rules(facts, library, result):
    """Every row against its file, and every clause and condition of the files against the rows."""
    files = library.names("modules", "macros")
    owners = {file_name("modules", use.module): ("modules", use.module)
              for iod in facts.iods for use in iod.modules}
    owners |= {file_name("macros", name): ("macros", name) for name in facts.macros}
    for file, owner in owners.items():
        if file not in files:
            result.counts["rows of macros that no IOD uses"] += \
                len(facts.rules.owners.get(owner, ()))
    for file in files:
        check_file(file, owners.get(file), facts.rules, library, result)
    sources = Owners(facts)
    for iod in facts.iods:
        own = clauses_of(library.lines(f"iods/{iod.code}"))
        fixed = {(path, tag): [values] for (code, path, tag), values in facts.fixed.items()
                 if code == iod.code}
        result.same("IODs with the values that they alone fix", f"iods/{iod.code}", fixed, own)
        check_modules(iod, facts.rules, library, result)
        check_functional_groups(iod, facts.rules, library, result)
        check_reached(iod, sources, library, result)


def clauses_of(lines):
    """(path, tag) -> the clauses on the lines of one file."""
    found = {}
    for path, line in placed(lines):
        if line.clauses:
            found.setdefault((path, line.tag), []).extend(line.clauses)
    return found


def placed(lines):
    """(path, line) of each line of a file."""
    open_tags = []
    for line in lines:
        del open_tags[line.depth:]
        yield ">".join(open_tags), line
        open_tags.append(line.tag)


def macro_conditions(owner):
    """Those that depend on the item which includes a macro."""
    name = owner[1] if owner else ""
    if name == DIRECTORY_MODULE:
        records = [kind + RECORD_SUFFIX for kind in RECORD_TYPES]
        return {file_name("macros", record): record_condition(record) for record in records}
    path, conditions = CONDITIONAL_IN.get(name, ("", {}))
    return {file_name("macros", included): include_condition(name, path, included)
            for included in conditions}


def check_file(file, owner, rules, library, result):
    """A module or macro: its name, and the clause of each row at the place of the row."""
    lines = library.lines(file)
    result.same("names of modules and macros", file, owner and owner[1], lines[0].name)
    result.same("conditions of included macros", file, macro_conditions(owner),
                {line.include: line.condition for line in lines if line.condition})
    written = clauses_of(lines)
    for key, same in (rules.of(*owner) if owner else {}).items():
        clauses = written.pop(key, [])
        for rule in same:
            where = f"{file} {key}"
            if rule.clause is None:
                result.counts["conditions that a data set does not tell"] += 1
                continue
            found = clauses.pop(0) if clauses else None
            result.same(COUNTS[rule.table], where, rule.clause, found)
            result.counts["of these with other cases that are allowed"] += \
                isinstance(getattr(rule.clause, "otherwise", None), tuple)
            if rule.type:
                result.same("types of these", where, rule.type, library.flat(file)[key].type)
        if clauses:
            written[key] = clauses
    for key, clauses in written.items():
        result.differences.append(f"{file} {key}: not in the facts: {' '.join(map(str, clauses))}")


def check_modules(iod, rules, library, result):
    name = f"iods/{iod.code}"
    lines = [line for line in library.lines(name) if line.include.startswith("modules/")]
    written = {line.include: (line.usage, line.condition) for line in lines}
    for use in iod.modules:
        rule = rules.modules[iod.code, use.module]
        result.same("usages of modules", f"{name} {use.module}",
                    (rule.usage, rule.condition if rule.usage == "C" else None),
                    written.pop(file_name("modules", use.module), None))
    result.same("lists", f"{name} modules", {}, written)


def check_functional_groups(iod, rules, library, result):
    """A group with two places is required of neither alone."""
    name = f"iods/{iod.code}"
    written = {}
    for path, line in placed(library.lines(name)):
        if line.include and path:
            places = written.setdefault(line.include, {})
            result.same("lines of functional groups", f"{name} {line.include}", True,
                        path in (SHARED_GROUPS, FRAME_GROUPS) and path not in places)
            places[path] = line.usage, line.condition
    for macro in iod.groups:
        rule = rules.groups[iod.code, macro]
        found = written.pop(file_name("macros", macro), {})
        want = rule.usage, rule.condition
        if rule.usage == "M":
            want = ("M", None) if len(found) == 1 else ("C", ALWAYS)
        result.same("usages of functional groups", f"{name} {macro}", {want},
                    set(found.values()))
    for include, places in written.items():
        result.same("functional groups of unknown usage", f"{name} {include}", {("C", None)},
                    set(places.values()))


def check_reached(iod, owners, library, result):
    """What a reader of an IOD finds at each attribute, wherever its clauses were written."""
    whole = library.flat(f"iods/{iod.code}")
    for use in iod.modules:
        for row in use.rows:
            if clauses := owners.clauses(use.module, row):
                found = set(whole[row.key].clauses)
                result.same("attributes of IODs with clauses",
                            f"iods/{iod.code} {use.module} {row.key}",
                            [], [str(clause) for clause in clauses if clause not in found])


class Owners:
    """Finds the modules and macros that the rows of the IODs come from."""

    def __init__(self, facts):
        self._macros = facts.macros
        self._own_keys = {name: {row.key for row in macro.rows}
                          for name, macro in facts.macros.items()}
        self._rules = {owner: facts.rules.of(*owner) for owner in facts.rules.owners}
        self._found = {}

    def clauses(self, module, row):
        """What the tables say of a row of an IOD."""
        place = (row.macro, row.key) if row.macro else (module, row.key, "")
        if place not in self._found:
            found = self._of_macro(*place) if row.macro else [("modules", module, row.key)]
            self._found[place] = [
                rule.clause for folder, name, key in found
                for rule in self._rules.get((folder, name), {}).get(key, ()) if rule.clause]
        return self._found[place]

    def _of_macro(self, macro, key):
        """The macro stands in the item of the attribute or in one that encloses it."""
        path, tag = key
        steps = path.split(">") if path else []
        for start in range(len(steps), -1, -1):
            if found := list(self._below(macro, (join(*steps[start:]), tag), ())):
                return found
        return []

    def _below(self, macro, key, includers):
        """The places of an attribute in a macro and in what it includes."""
        if key in self._own_keys[macro]:
            yield "macros", macro, key
            return
        for path, included in self._macros[macro].includes:
            if included not in includers and (path == "" or (key[0] + ">").startswith(path + ">")):
                rest = key[0][len(path):].removeprefix(">"), key[1]
                yield from self._below(included, rest, (*includers, macro))
