"""Conditions: parsed from the tables of facts or from definition files, and written for the files.

A parsed condition is a tuple of its kind and its parts, so that two of them can be compared:
("or", terms), ("and", factors), ("not", factor), ("true",), ("unknown",), ("sop", uids),
("is", operand, word), ("equals", operand, sign, texts), ("number", operand, sign, integer) and
("count", operand, sign, integer). An operand is (path, number of the value or None).
"""

import re

PLAIN_TAG = r"\((?:[0-9A-F]{4}|[56]0xx),[0-9A-F]{4}\)"
PATH = rf"(?P<path>(?:/|@|(?:\.\./)+)?{PLAIN_TAG}(?:/{PLAIN_TAG})*)"
COMMON = (r"|(?P<number>-?\d+(?!\.?\d))|(?P<uid>\d+(?:\.\d+)+)|(?P<word>[a-z]+)"
          r"|(?P<sign>[<>]=?|!?=|\.\.\.|\.\.|[()|*\[\]])")
# In the tables "#" counts; in the files it begins a comment, and a quote in quotes is doubled.
FACT_TOKEN = re.compile(PATH + r'(?:\#(?P<value>[1-9]\d*))?|(?P<count>\#count)'
                        r'|"(?P<text>[^"]*)"' + COMMON)
FILE_TOKEN = re.compile(PATH + r'(?:\[(?P<value>[1-9]\d*)\])?|(?P<count>count\b)'
                        r'|"(?P<text>(?:[^"]|"")*)"' + COMMON)
STATES = "present", "valued", "private"
ORDERS = ">", ">=", "<", "<="
EQUALITIES = "=", "!="


class Condition_Error(Exception):
    """An expression or a clause that does not follow the grammar."""


def quote(text):
    return '"' + text.replace('"', '""') + '"'


class Tokens:
    """The words of an expression, taken one after the other: (kind, text)."""

    def __init__(self, text, grammar=FILE_TOKEN):
        self.in_facts = grammar is FACT_TOKEN
        self._text = text
        self._words = []
        at = 0
        while at < len(text):
            match = grammar.match(text, at)
            if match:
                self._words.append(self._word(match))
                at = match.end()
            elif text[at] == " ":
                at += 1
            else:
                raise Condition_Error(f"not understood at '{text[at:]}': {text}")
        self._next = 0

    def _word(self, match):
        if match["path"]:
            return "operand", (match["path"], int(match["value"]) if match["value"] else None)
        if match["text"] is not None:
            text = match["text"]
            return "text", text if self.in_facts else text.replace('""', '"')
        kind = match.lastgroup
        return kind, int(match[kind]) if kind == "number" else match[kind]

    def peek(self):
        return self._words[self._next] if self._next < len(self._words) else ("end", "")

    def take(self, kind, *choices):
        """The next word when it is of the kind and among the choices, otherwise None."""
        found, word = self.peek()
        if found != kind or (choices and word not in choices):
            return None
        self._next += 1
        return word

    def expect(self, kind, *choices):
        word = self.take(kind, *choices)
        if word is None:
            raise Condition_Error(f"{' or '.join(choices) or kind} expected before "
                                  f"'{self.peek()[1]}': {self._text}")
        return word

    def expect_end(self):
        self.expect("end")

    def choices(self, kind):
        """One or more words of a kind with "|" between them; stops before a "|" without one."""
        words = [self.expect(kind)]
        while self._words[self._next:self._next + 1] == [("sign", "|")] \
                and self._words[self._next + 1:self._next + 2] != [("sign", "...")]:
            self._next += 1
            words.append(self.expect(kind))
        return tuple(words)


def parse_fact(text):
    """A condition as the tables of facts write it."""
    tokens = Tokens(text, FACT_TOKEN)
    condition = parse_condition(tokens)
    tokens.expect_end()
    return condition


def parse_condition(tokens):
    return parse_list(tokens, "or", lambda: parse_list(tokens, "and", lambda: factor(tokens)))


def parse_list(tokens, word, part):
    parts = [part()]
    while tokens.take("word", word):
        parts.append(part())
    return (word, tuple(parts)) if len(parts) > 1 else parts[0]


def factor(tokens):
    if tokens.take("word", "not"):
        return "not", factor(tokens)
    if tokens.take("sign", "("):
        inside = parse_condition(tokens)
        tokens.expect("sign", ")")
        return inside
    if tokens.take("word", "true"):
        return ("true",)
    # The facts say by a column of their own what a condition leaves open.
    if not tokens.in_facts and tokens.take("word", "unknown"):
        return ("unknown",)
    if tokens.take("word", "sop"):
        tokens.expect("sign", "=")
        return "sop", tokens.choices("uid")
    return parse_test(tokens)


def parse_test(tokens):
    operand = tokens.expect("operand")
    if state := tokens.take("word", *STATES):
        return "is", operand, state
    if tokens.take("count"):
        sign = tokens.expect("sign", *EQUALITIES, *ORDERS)
        return "count", operand, sign, tokens.expect("number")
    if sign := tokens.take("sign", *EQUALITIES):
        return "equals", operand, sign, tokens.choices("text")
    sign = tokens.expect("sign", *ORDERS)
    return "number", operand, sign, tokens.expect("number")


def format_operand(operand):
    path, value = operand
    return path if value is None else f"{path}[{value}]"


def format_texts(texts):
    return "|".join(map(quote, texts))


def format_condition(condition):
    """A condition as the definition files write it, without needless parentheses."""
    kind, *parts = condition
    if kind in ("or", "and"):
        loose = ("or",) if kind == "or" else ("or", "and")
        return f" {kind} ".join(enclosed(part, loose) for part in parts[0])
    if kind == "not":
        return "not " + enclosed(parts[0], ("or", "and"))
    if kind in ("true", "unknown"):
        return kind
    if kind == "sop":
        return "sop = " + "|".join(parts[0])
    operand, *rest = parts
    if kind == "is":
        return f"{format_operand(operand)} {rest[0]}"
    if kind == "equals":
        return f"{format_operand(operand)} {rest[0]} {format_texts(rest[1])}"
    count = " count" if kind == "count" else ""
    return f"{format_operand(operand)}{count} {rest[0]} {rest[1]}"


def enclosed(condition, loose):
    text = format_condition(condition)
    return f"({text})" if condition[0] in loose else text
