"""Finds the places in a C++ source where a small fault can be made, and makes it in the text.

Knows tokens, not types: a fault that does not compile is found by trying. Relies on the tree's formatting, where binary
operators have a space on both sides and those of types and templates do not.
"""

import random
import re
from collections.abc import Iterator
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<space>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*)
      |(?P<text>(?:u8|[uUL])?R"(?P<fence>[^(]*)\(.*?\)(?P=fence)"|(?:u8|[uUL])?"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])+')
      |(?P<number>\.?\d(?:'\d|[eEpP][+-]|[\w.])*)
      |(?P<name>[A-Za-z_]\w*)
      |(?P<sign><=>|<<=|>>=|->|::|\+\+|--|<<|&&|\|\||[-+*/%&|^<>=!]=|.)""",
    re.S | re.M | re.X,
)

TURNED = {"<": ("<=", ">"), "<=": ("<", ">"), ">": (">=", "<"), ">=": (">", "<"), "==": ("!=",), "!=": ("==",)}
SWAPPED = {
    "+": "-",
    "-": "+",
    "*": "/",
    "/": "*",
    "%": "/",
    "&": "|",
    "|": "&",
    "<<": ">>",
    ">>": "<<",
    "+=": "-=",
    "-=": "+=",
    "*=": "/=",
    "|=": "&=",
    "&=": "|=",
    "++": "--",
    "--": "++",
}
LOGIC = {"&&": "||", "||": "&&"}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "|=", "&=", "^=", "<<=", ">>="}
CONTROL = {"if", "for", "while", "switch", "catch", "return", "sizeof", "alignof", "decltype", "noexcept", "assert"}
# Dropping a call of these changes what a program costs, not what it does.
IDLE_CALLS = {"reserve", "Reserve", "shrink_to_fit"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int

    @property
    def end(self) -> int:
        return self.start + len(self.text)


@dataclass(frozen=True)
class Fault:
    kind: str
    start: int
    end: int
    text: str

    def made_in(self, source: str) -> str:
        """The source with the fault; its lines keep their numbers."""
        lines = source.count("\n", self.start, self.end) - self.text.count("\n")
        return source[: self.start] + self.text + "\n" * lines + source[self.end :]


def tokens_of(source: str) -> list[Token]:
    found = (Token(m.lastgroup or "", m.group(), m.start()) for m in TOKEN.finditer(source))
    # The fence of a raw string is a group of its own inside the token.
    return [Token("text" if t.kind == "fence" else t.kind, t.text, t.start) for t in found if t.kind != "space"]


def brackets_of(tokens: list[Token]) -> dict[int, int]:
    """Index of the partner of each round, square and curly bracket."""
    partner: dict[int, int] = {}
    open_ones: list[int] = []
    for i, token in enumerate(tokens):
        if token.kind == "sign" and token.text in "([{":
            open_ones.append(i)
        elif token.kind == "sign" and token.text in ")]}" and open_ones:
            partner[i] = open_ones.pop()
            partner[partner[i]] = i
    return partner


NUMBER = re.compile(r"(0[xX][\da-fA-F']+|[\d'.]+(?:[eE][+-]?\d+)?)(\w*)")


def off_by_one(number: str, choose: random.Random) -> str:
    match = NUMBER.fullmatch(number)
    if match is None:
        return number
    digits, suffix = match.groups()
    if digits[:2] in ("0x", "0X"):
        return hex(int(digits.replace("'", ""), 16) + 1) + suffix
    if re.search(r"[.eE]", digits):
        return f"({digits}{suffix} + 1)"
    value = int(digits.replace("'", ""))
    return str(value + choose.choice((1, -1) if value > 0 else (1,))) + suffix


class Finder:
    """The faults of one source, by kind."""

    def __init__(self, source: str, choose: random.Random) -> None:
        self.source = source
        self.choose = choose
        self.tokens = tokens_of(source)
        self.partner = brackets_of(self.tokens)

    def faults(self) -> Iterator[Fault]:
        fixed_until = -1  # what is checked while compiling is no place for a fault
        for i, token in enumerate(self.tokens):
            if token.text == "static_assert":
                fixed_until = self.partner.get(i + 1, i)
            if i <= fixed_until:
                continue
            yield from self.signs(i, token)
            yield from self.names(i, token)
            if token.kind == "number":
                text = off_by_one(token.text, self.choose)
                if text != token.text:
                    yield Fault("constant", token.start, token.end, text)
            if token.text == "(" and i in self.partner:
                yield from self.arguments(i)
            if token.text == ";":
                yield from self.statement(i)
            if token.text == "{":
                yield from self.early_return(i)

    def text_at(self, i: int) -> str:
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def signs(self, i: int, token: Token) -> Iterator[Fault]:
        if token.kind != "sign":
            return
        if token.text in ("++", "--"):
            yield Fault("arithmetic", token.start, token.end, SWAPPED[token.text])
        elif token.text == "!":
            yield Fault("negation", token.start, token.end, "")
        elif self.source[token.start - 1 : token.start].isspace() and self.source[token.end : token.end + 1].isspace():
            if token.text in TURNED:
                yield Fault("comparison", token.start, token.end, self.choose.choice(TURNED[token.text]))
            elif token.text in LOGIC:
                yield Fault("logic", token.start, token.end, LOGIC[token.text])
            elif token.text in SWAPPED:
                yield Fault("arithmetic", token.start, token.end, SWAPPED[token.text])

    def names(self, i: int, token: Token) -> Iterator[Fault]:
        if token.text in ("true", "false"):
            yield Fault("constant", token.start, token.end, "false" if token.text == "true" else "true")
        if token.text in ("min", "max") and self.text_at(i - 1) == "::" and self.text_at(i + 2) != ")":
            yield Fault("arithmetic", token.start, token.end, "max" if token.text == "min" else "min")

    def arguments(self, i: int) -> Iterator[Fault]:
        """Two neighbours of a call's arguments, turned round."""
        if self.tokens[i - 1].kind != "name" or self.text_at(i - 1) in CONTROL:
            return
        edges, j = [i], i + 1
        while j < self.partner[i]:
            if self.text_at(j) == ",":
                edges.append(j)
            j = self.partner.get(j, j) + 1 if self.text_at(j) in ("(", "[", "{") else j + 1
        edges.append(self.partner[i])
        if len(edges) < 3:
            return
        at = self.choose.randrange(len(edges) - 2)
        first, second = (
            self.source[self.tokens[edges[k]].end : self.tokens[edges[k + 1]].start].strip() for k in (at, at + 1)
        )
        if first and second and first != second:
            yield Fault(
                "swapped arguments",
                self.tokens[edges[at]].end,
                self.tokens[edges[at + 2]].start,
                f"{' ' if at else ''}{second}, {first}",
            )

    def statement(self, i: int) -> Iterator[Fault]:
        """A call, an assignment or a jump, left out."""
        start = i - 1
        while start >= 0 and self.text_at(start) not in (";", "{", "}", ":"):
            start = self.partner.get(start, start) - 1 if self.text_at(start) in (")", "]") else start - 1
        start += 1
        if self.text_at(start) in CONTROL | {"else", "do"}:  # the statement below a condition
            if self.text_at(start) in ("else", "do"):
                start += 1
            if self.text_at(start) in ("if", "for", "while") and start + 1 in self.partner:
                start = self.partner[start + 1] + 1
        if start >= i:
            return
        if self.text_at(start) in ("break", "continue") or self.drops_well(start, i):
            yield Fault("dropped statement", self.tokens[start].start, self.tokens[i].start, "")

    def drops_well(self, start: int, end: int) -> bool:
        """Whether the tokens read as one call or one assignment, not as a declaration."""
        j = start
        while self.text_at(j) in ("*", "++", "--"):
            j += 1
        if self.tokens[j].kind != "name" or self.text_at(j) in CONTROL | {"throw", "using", "delete", "co_return"}:
            return False
        last = ""
        while j < end:
            token = self.tokens[j]
            if token.kind == "name" or token.text in (".", "->", "::"):
                if token.kind == "name" and j > start and self.tokens[j - 1].kind == "name":
                    return False
                last = token.text if token.kind == "name" else last
                j += 1
            elif token.text in ("(", "[") and j in self.partner:
                j = self.partner[j] + 1
            else:
                return token.text in ASSIGNMENTS or token.text in ("++", "--")
        return self.text_at(end - 1) == ")" and last not in IDLE_CALLS

    def early_return(self, i: int) -> Iterator[Fault]:
        """A function that does nothing and returns a value of nothing."""
        j = i - 1
        while self.text_at(j) in ("const", "noexcept", "override", "final", "mutable"):
            j -= 1
        if self.text_at(j) != ")" or j not in self.partner:
            return
        j = self.partner[j] - 1
        if self.tokens[j].kind != "name" or self.text_at(j) in CONTROL:
            return
        while self.text_at(j - 1) == "::":
            j -= 2
        value = ";" if self.text_at(j - 1) == "void" else " {};"
        place = self.tokens[i].end
        yield Fault("early return", place, place, " return" + value)


def faults_in(source: str, choose: random.Random) -> list[Fault]:
    return list(Finder(source, choose).faults())
