"""Plants mutants in C++ sources: small faults, each of which stays asleep until it is chosen.

Clang's syntax tree tells where an expression begins and ends and that it is one; a pattern over the
text would flip template brackets, too. What is planted is text, so that the mutated files are read
and compiled like the others:

    operator flipped     a < b    (qdm::on(7) ? (a <= b) : (a < b))
    condition forced     if (c)   if (qdm::on(8) ? true : qdm::on(9) ? false : bool(c))
    one off              n = 3;   n = (qdm::on(10) ? 3 + 1 : 3);
    statement dropped    f(x);    { if (!qdm::on(11)) { f(x); } }

All mutants so stand in one build. What must be a constant keeps its value, because qdm::on is false
while the compiler evaluates.
"""

import ctypes
import dataclasses
import re

from clang import cindex
from clang.cindex import CursorKind as Kind

FLIPPED = {
    b"<": b"<=", b"<=": b"<", b">": b">=", b">=": b">", b"==": b"!=", b"!=": b"==",
    b"+": b"-", b"-": b"+", b"*": b"/", b"/": b"*", b"%": b"/",
    b"&&": b"||", b"||": b"&&", b"&": b"|", b"|": b"&", b"^": b"&", b"<<": b">>", b">>": b"<<",
    b"+=": b"-=", b"-=": b"+=", b"*=": b"/=", b"/=": b"*=", b"|=": b"&=", b"&=": b"|=",
    b"<<=": b">>=", b">>=": b"<<=", b"^=": b"&=",
    b"++": b"--", b"--": b"++",
}  # fmt: skip
COMMENT = re.compile(rb"//[^\n]*|/\*.*?\*/", re.DOTALL)
FUNCTIONS = {
    Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION,
    Kind.FUNCTION_TEMPLATE,
}  # fmt: skip


@dataclasses.dataclass
class Mutant:
    path: str  # from the root of the project
    start: int  # bytes of the expression, or of the statement with its semicolon
    end: int
    what: str  # for people: "a < b -> a <= b"
    planted: bytes  # the faulty expression; None drops the statement
    line: int = 0
    source: str = ""  # that line
    number: int = 0
    span: tuple = (0, 0)  # bytes of the mutated file


def condensed(text):
    text = " ".join(text.decode(errors="replace").split())
    return text if len(text) <= 60 else text[:57] + "..."


class Finder:
    """The mutants of one file."""

    def __init__(self, path, unit, source):
        self.path = path
        self.file = unit.spelling
        self.source = source
        self.found = []
        self.visit(unit.cursor, inside=False)

    def text(self, start, end):
        return self.source[start:end]

    def add(self, start, end, planted, what):
        line = self.source.count(b"\n", 0, start) + 1
        self.found.append(Mutant(self.path, start, end, what, planted, line))

    # --- where a cursor stands ---

    def spelled(self, location):
        """The place of the text itself; for what a macro makes, the macro's own definition."""
        file, line, column, offset = ctypes.c_void_p(), *(ctypes.c_uint() for _ in range(3))
        cindex.conf.lib.clang_getSpellingLocation(
            location, *map(ctypes.byref, (file, line, column, offset)))
        return offset.value

    def place(self, cursor):
        """(start, end) of a cursor, or None where a macro has a hand in it."""
        extent = cursor.extent
        start, end = extent.start, extent.end
        if not start.file or start.file.name != self.file or end.file.name != self.file:
            return None
        if self.spelled(start) != start.offset or self.spelled(end) != end.offset:
            return None
        return start.offset, end.offset

    # --- the walk ---

    def visit(self, cursor, inside):
        for child in cursor.get_children():
            file = child.location.file
            if file and file.name != self.file:
                continue
            if child.kind in (Kind.STATIC_ASSERT, Kind.TEMPLATE_REF, Kind.TYPE_REF):
                continue
            if child.kind in (Kind.DECL_STMT, Kind.IF_STMT) and self.is_constant(child):
                if child.kind == Kind.DECL_STMT:
                    continue
                for part in list(child.get_children())[1:]:
                    self.visit(part, inside)
                continue
            if child.kind == Kind.CASE_STMT:
                for part in list(child.get_children())[1:]:
                    self.statement(part)
                    self.expression(part)
                    self.visit(part, inside)
                continue
            if inside:
                self.expression(child)
            if inside and cursor.kind == Kind.COMPOUND_STMT:
                self.statement(child)
            self.visit(child, inside or (cursor.kind in FUNCTIONS and child.kind == Kind.COMPOUND_STMT))

    def is_constant(self, cursor):
        place = self.place(cursor)
        if not place:
            return False
        begin = rb"if\s+constexpr\b" if cursor.kind == Kind.IF_STMT else rb"(static\s+)?constexpr\b"
        return re.match(begin, self.text(*place)) is not None

    def expression(self, cursor):
        kind = cursor.kind
        children = list(cursor.get_children())
        if kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            self.operator(cursor, children)
        elif kind == Kind.UNARY_OPERATOR:
            self.unary(cursor, children)
        elif kind in (Kind.INTEGER_LITERAL, Kind.FLOATING_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR):
            self.literal(cursor)
        elif kind == Kind.IF_STMT:
            self.condition(children[0], b"true", b"false")
            for branch in children[1:]:
                self.statement(branch)
        elif kind == Kind.CONDITIONAL_OPERATOR:
            if self.place(children[0]) != self.place(cursor):  # the same where a macro makes both
                self.condition(children[0], b"true", b"false")
        elif kind == Kind.WHILE_STMT:
            self.condition(children[0], b"false")
            self.statement(children[-1])
        elif kind in (Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT) and children:
            self.statement(children[-1])

    def operator(self, cursor, children):
        place = self.place(cursor)
        sides = [self.place(child) for child in children]
        if not place or len(sides) != 2 or None in sides:
            return
        left, right = sides
        between = COMMENT.sub(b"", self.text(left[1], right[0])).strip().strip(b"()").strip()
        if between not in FLIPPED:
            return
        gap = self.text(left[1], right[0]).replace(between, FLIPPED[between], 1)
        planted = self.text(place[0], left[1]) + gap + self.text(right[0], place[1])
        self.add(*place, planted, f"{condensed(self.text(*place))} -> {FLIPPED[between].decode()}")

    def unary(self, cursor, children):
        place = self.place(cursor)
        inner = self.place(children[0]) if len(children) == 1 else None
        if not place or not inner:
            return
        text = self.text(*place)
        if text.startswith(b"!") and not text.startswith(b"!="):  # which may stand for !(a == b)
            self.add(*place, b"static_cast<bool>(" + text[1:] + b")", f"{condensed(text)} -> not negated")
        for step in (b"++", b"--"):
            if text.startswith(step) or text.endswith(step):
                self.add(*place, text.replace(step, FLIPPED[step], 1), f"{condensed(text)} -> other way")

    def literal(self, cursor):
        place = self.place(cursor)
        if not place:
            return
        text = self.text(*place)
        if text in (b"true", b"false"):
            other = b"false" if text == b"true" else b"true"
            self.add(*place, other, f"{text.decode()} -> {other.decode()}")
        elif re.match(rb"[0-9.]", text):
            self.add(*place, text + b" + 1", f"{text.decode()} -> + 1")

    def condition(self, cursor, *forced):
        place = self.place(cursor)
        if not place or not cursor.kind.is_expression():
            return
        for value in forced:
            self.add(*place, value, f"({condensed(self.text(*place))}) -> {value.decode()}")

    def statement(self, cursor):
        place = self.place(cursor)
        if not place or not cursor.kind.is_expression():
            return
        semicolon = re.match(rb"\s*;", self.source[place[1]:])
        if semicolon and not self.text(*place).startswith(b"assert("):
            end = place[1] + semicolon.end()
            self.add(place[0], end, None, f"{condensed(self.text(place[0], end))} -> dropped")


def find(path, file, arguments):
    """The mutants of `file`, which `path` names from the root."""
    unit = cindex.Index.create().parse(file, arguments)
    with open(file, "rb") as stream:
        return Finder(path, unit, stream.read()).found


def planted(source, mutants):
    """The source with all of `mutants`; sets their spans."""
    pieces, length = [], 0

    def put(text):
        nonlocal length
        pieces.append(text)
        length += len(text)

    def write(start, end, inside):
        while inside:
            first, rest = inside[0], inside[1:]
            nested = [mutant for mutant in rest if mutant.start < first.end]
            put(source[start:first.start])
            begin = length
            on = b"::qdm::on(%d)" % first.number
            if first.planted is None:
                put(b"{ if (!" + on + b") { ")
                write(first.start, first.end, nested)
                put(b" } }")
            else:
                is_condition = first.planted in (b"true", b"false")
                put(b"(" + on + b" ? (" + first.planted + b") : ")
                put(b"static_cast<bool>(" if is_condition else b"(")
                write(first.start, first.end, nested)
                put(b"))")
            first.span = (begin, length)
            start = first.end
            inside = rest[len(nested):]
        put(source[start:end])

    write(0, len(source), sorted(mutants, key=lambda m: (m.start, -m.end, m.planted is not None)))
    return b"".join(pieces)
