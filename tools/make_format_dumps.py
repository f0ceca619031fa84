#!/usr/bin/env python3
"""Writes the annotated dumps in docs/formats.md from golden files.

    make_format_dumps.py [--check]

A dump stands between "<!-- dump KIND FILE BYTES -->" and "<!-- end -->": the first BYTES of tests/golden/FILE,
field by field, or several ranges "0-55,421-500", which begin and end with a field. Each kind is read here by the
tables of that page alone, and the whole file has to come out even, so a page that is wrong does not go unseen.
--check changes nothing and fails when a dump is not what the script would write.
"""

import argparse
import pathlib
import re
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/formats.md"
DUMP = re.compile(r"(<!-- dump (\w+) (\S+) (\S+) -->\n).*?(<!-- end -->)", re.DOTALL)
BYTES_A_LINE = 12


class Reader:
    """Takes fields from the front of a file and keeps what each means."""

    def __init__(self, data):
        self.data = data
        self.at = 0
        self.fields = []  # (offset, bytes, meaning)

    def take(self, size, meaning):
        field = self.data[self.at:self.at + size]
        if len(field) != size:
            raise ValueError(f"{meaning}: the file ends at {len(self.data)}")
        self.fields.append((self.at, field, meaning))
        self.at += size

    def peek(self, layout):
        return struct.unpack_from("<" + layout, self.data, self.at)

    def number(self, layout, meaning):
        (value,) = self.peek(layout)
        self.take(struct.calcsize("<" + layout), f"{meaning}: {value}")
        return value

    def narrow(self, meaning):
        tag, length = self.peek("cI")
        expect(tag == b"S", f"{meaning}: a text's tag at {self.at}")
        return self.text(meaning, 5, length, "cp1252")

    def wide(self, meaning):
        (units,) = self.peek("i")
        return self.text(meaning, 4, 2 * max(units, 0), "utf-16-le")

    def record(self, meaning):
        return self.text(meaning, 8, 2 * self.complemented(), "utf-16-le", tail=2)

    def block(self, meaning):
        length = self.complemented()
        self.take(8 + length, f"{meaning}: {length} bytes")

    def complemented(self):
        length, complement = self.peek("II")
        expect(complement == length ^ 0xFFFFFFFF, f"a complement at {self.at + 4}")
        return length

    def text(self, meaning, head, size, encoding, tail=0):
        """A text of `size` bytes behind `head` others."""
        begin = self.at + head
        text = self.data[begin:begin + size].decode(encoding, "backslashreplace")
        self.take(head + size + tail, f'{meaning}: "{shown(text)}"')
        return text


def expect(is_there, what):
    if not is_there:
        raise ValueError("expected " + what)


def shown(text):
    return "".join(c if c.isprintable() and c not in "|`<" else f"\\x{ord(c):02x}" for c in text)


def archive(reader):
    reader.narrow("document class")
    reader.number("i", "document version")
    reader.narrow("archive class")
    reader.number("i", "format version")
    while reader.at < len(reader.data):
        reader.narrow("index")
        reader.narrow("label")
        name = reader.narrow("class name")
        reader.number("i", "class version")
        end = reader.number("Q", "payload size") + reader.at
        {"class BNode": node, "class BBitArray": bits}.get(name, lambda r: None)(reader)
        if reader.at != end:  # another class
            reader.take(end - reader.at, "payload")


def node(reader):
    reader.number("Q", "associated object")
    for what in ("child", "attribute"):
        references(reader, what)
    reader.narrow("text in the ANSI code page")
    reader.number("Q", "parent, ignored")
    reader.number("B", "flags")
    reader.wide("text")
    references(reader, "annotation")


def references(reader, what):
    for _ in range(reader.number("i", f"number of {what}s" if what != "child" else "number of children")):
        reader.number("Q", what)


def bits(reader):
    width, height, size = (reader.number("i", what) for what in ("width", "height", "bytes per cell"))
    reader.take(width * height * size, "cells, row by row")


def binary_profile(reader):
    (kind,) = reader.peek("I")
    expect(kind == 0x69414C06, "wide keys")
    reader.take(4, "format id: wide keys")
    values = {1: lambda: reader.number("i", "int"), 3: lambda: reader.number("d", "double"),
              4: lambda: reader.block("block"), 5: lambda: reader.number("B", "truth value"),
              6: lambda: reader.record("text")}
    while reader.at < len(reader.data):
        reader.record("key")
        values[reader.number("I", "type")]()


def lines(reader):
    """The text files: UTF-16 with a mark, and lines."""
    reader.take(2, "byte-order mark")
    while reader.at < len(reader.data):
        end = reader.data.index("\r\n".encode("utf-16-le"), reader.at)
        reader.text("line", 0, end - reader.at, "utf-16-le", tail=4)


def dump(kind, file, ranges):
    reader = Reader((ROOT / "tests/golden" / file).read_bytes())
    globals()[kind](reader)
    assert reader.at == len(reader.data)
    rows = ["| offset | bytes | |", "|---|---|---|"]
    for part in ranges.split(","):
        begin, end = (int(word) for word in part.split("-"))
        chosen = [field for field in reader.fields if begin <= field[0] < end]
        if not chosen or chosen[0][0] != begin or chosen[-1][0] + len(chosen[-1][1]) != end:
            sys.exit(f"{file}: no field begins at {begin} or ends at {end}")
        rows += [row(*field) for field in chosen]
        if end != len(reader.data):
            rows.append("| ... | | |")
    return "\n".join(rows) + "\n"


def row(offset, field, meaning):
    bytes_ = field[:BYTES_A_LINE].hex(" ") + (" ..." if len(field) > BYTES_A_LINE else "")
    return f"| {offset} | `{bytes_}` | {meaning} |"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    page = PAGE.read_text(encoding="utf-8")
    made = DUMP.sub(lambda m: m[1] + dump(m[2], m[3], m[4]) + m[5], page)
    if not options.check:
        PAGE.write_text(made, encoding="utf-8")
    elif made != page or not DUMP.search(page):
        sys.exit("docs/formats.md: its dumps are not those of the files; run tools/make_format_dumps.py")


main()
