"""Clauses: what a line of a definition file says of an attribute behind its mark."""

from dataclasses import dataclass

from definition_maker.conditions import (Condition_Error, Tokens, format_condition, format_texts,
                                         parse_condition)


@dataclass(frozen=True)
class Required:
    """When an attribute or a module is required, and what holds in the other cases."""
    condition: tuple
    otherwise: object = None    # "free", "absent", a condition, or None where nothing is said

    def __str__(self):
        text = "if " + format_condition(self.condition)
        if self.otherwise is None:
            return text
        if isinstance(self.otherwise, str):
            return f"{text} else {self.otherwise}"
        return f"{text} else if {format_condition(self.otherwise)}"


@dataclass(frozen=True)
class Values:
    """The values that an attribute may have."""
    enumerated: bool    # otherwise terms that others may add to
    texts: tuple
    number: int = None  # of the value, None for each
    complete: bool = True
    when: tuple = None

    def __str__(self):
        word = "in" if self.enumerated else "like"
        place = f" [{self.number}]" if self.number else ""
        return (f"{word}{place} {format_texts(self.texts)}" + ("" if self.complete else "|...")
                + format_when(self.when))


@dataclass(frozen=True)
class Items:
    """How many items a sequence may have."""
    least: int
    most: int           # None without a limit
    when: tuple = None

    def __str__(self):
        most = "*" if self.most is None else self.most
        count = f"{self.least}" if self.least == self.most else f"{self.least}..{most}"
        return f"items {count}{format_when(self.when)}"


def format_when(when):
    return f" when {format_condition(when)}" if when else ""


def parse_clauses(text):
    """The clauses of an attribute line."""
    tokens = Tokens(text)
    clauses = []
    while tokens.peek()[0] != "end":
        word = tokens.expect("word", "if", "in", "like", "items")
        clauses.append(parse_required(tokens) if word == "if" else parse_items(tokens)
                       if word == "items" else parse_values(tokens, word))
    if sum(isinstance(clause, Required) for clause in clauses) > 1:
        raise Condition_Error(f"two conditions on one line: {text}")
    return clauses


def parse_include_condition(text):
    """The condition of an include line, None without one."""
    tokens = Tokens(text)
    condition = None
    if tokens.take("word", "if"):
        condition = parse_condition(tokens)
    tokens.expect_end()
    return condition


def parse_required(tokens):
    condition = parse_condition(tokens)
    otherwise = None
    if tokens.take("word", "else"):
        otherwise = tokens.expect("word", "free", "absent", "if")
        if otherwise == "if":
            otherwise = parse_condition(tokens)
    return Required(condition, otherwise)


def parse_values(tokens, word):
    number = None
    if tokens.take("sign", "["):
        number = tokens.expect("number")
        if number < 1:
            raise Condition_Error(f"values are counted from 1: {number}")
        tokens.expect("sign", "]")
    texts = tokens.choices("text")
    complete = not tokens.take("sign", "|")
    if not complete:
        tokens.expect("sign", "...")
    return Values(word == "in", texts, number, complete, parse_when(tokens))


def parse_items(tokens):
    least = tokens.expect("number")
    most = least
    if tokens.take("sign", ".."):
        most = None if tokens.take("sign", "*") else tokens.expect("number")
    if least < 0 or most is not None and most < max(least, 1):
        raise Condition_Error(f"no count of items: {least}..{most}")
    return Items(least, most, parse_when(tokens))


def parse_when(tokens):
    return parse_condition(tokens) if tokens.take("word", "when") else None
