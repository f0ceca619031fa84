#!/usr/bin/env python3
"""Makes core/platform/posix/CollationTables.h from the sort keys of Windows.

    make_collation_tables.py with-case without-case prolonged > core/platform/posix/CollationTables.h

The first two files have a line for each unit from 1 on: the unit and its key, both hexadecimal, as
LCMapStringW(0x0409, LCMAP_SORTKEY | flags, &unit, 1, ...) gives it with no flags and with
NORM_IGNORECASE. The third has the same for kana, each followed by U+30FC, without case.

A key of a unit is "places 01 marks 01 forms 01 kana 01 dashes 00". Places of two or more bytes are
numbered in their order. Units are put together to runs with equal steps, and runs are written as
small numbers (`ReadPage` in CollationWeights.cpp reads them).
"""

import sys
import textwrap
import unicodedata

PLAIN = 2
SIGN, MARK, DASH, SEVERAL, REPEAT = 2, 3, 4, 5, 6  # as in CollationWeights.h
# In the key of an expansion marks and ignored units have places; the order of texts knows none.
LOOSE_MARK = b"\x01\x00"
LOOSE_NOTHING = b"\x00\x00"
REPEATED_IDEOGRAPH = b"\x05\x00"
ALONE = b"\xff\xff"  # the place of a repetition mark that repeats nothing
DASHES = 0x06
KANA = 0x22
KANA_IN_EXPANSION = 0x03
FIRST_PLACE = 0x200  # no byte of a place in a key is taken for the end of a level
# What repetition marks add to the marks of the kana that they repeat; U+30FC and U+FF70 prolong.
REPEATERS = {0x3032: 3, 0x3034: 3, 0x309E: 3, 0x30FE: 3, 0x3005: 5, 0x303B: 5, 0xA015: 7}
PROLONGERS = (0x30FC, 0xFF70)
HALF_WIDTH = 0xFF70


def read_keys(path):
    with open(path, encoding="ascii") as file:
        return {int(unit, 16): bytes.fromhex(key)[:-1] for unit, key in map(str.split, file)}


def kana_form(kana):
    """2, with 1 for full width, 4 for a large sign, 0x20 for hiragana."""
    sizes, types, widths = kana.split(b"\xff")[:3]
    return 2 | (not widths) | (not sizes) << 2 | (types == b"\x02") << 5


def is_private(place):
    """Whether its third byte stands where others have a mark: so it has none."""
    return 0xA9 <= place[0] <= 0xAF


def split_key(key):
    """Places, marks, forms, kana, dashes. A place may have a byte of 1."""
    places = b""
    while key[:1] != b"\x01" or key.count(b"\x01") > 4:
        size = 3 if is_private(key) else 2
        places += key[:size]
        key = key[size:]
    return [places] + key[1:].split(b"\x01")


def weights_of(unit, key, key_without_case):
    """(kind, place, mark, form), or for an expansion (SEVERAL, signs); None for what is ignored."""
    places, marks, forms, kana, dashes = split_key(key)
    if places == ALONE:
        form = 2 | (unit != HALF_WIDTH) | (unit in PROLONGERS) << 2
        return REPEAT, ALONE, REPEATERS.get(unit, PLAIN), form
    if dashes:
        depends_on_case = key != key_without_case
        mark = PLAIN if depends_on_case else dashes[3] >> 3
        return DASH, bytes([DASHES, dashes[2]]), mark, dashes[3] - (mark << 3)
    if not places:
        return (MARK, 0, marks[0], PLAIN) if marks else None
    signs = [places]
    if len(places) == 6 or len(places) == 4 and places[1:2] != b"\xff":
        signs = [places[i : i + 2] for i in range(0, len(places), 2)]
    marks = marks.ljust(len(signs), bytes([PLAIN]))
    forms = forms.ljust(len(signs), bytes([PLAIN]))
    if len(signs) > 1:
        return SEVERAL, [
            (SIGN, place, mark or PLAIN, form or PLAIN)
            for place, mark, form in zip(signs, marks, forms)
        ]
    mark = 0 if is_private(places) else marks[0]  # what follows adds to an earlier sign then
    return SIGN, places, mark, kana_form(kana) if kana else forms[0]


class Numbers:
    """Small numbers as text: the last digit is one of 56, those before it are of 34."""

    def __init__(self):
        self.text = ""

    def add(self, number):
        digits = chr(ord("#") + number % 56)
        if digits >= "?":  # two of them in a row might be taken for a trigraph
            digits = chr(ord(digits) + 1)
        number //= 56
        while number:
            digits = chr(ord("]") + number % 34) + digits
            number //= 34
        self.text += digits

    def add_signed(self, number):
        self.add(number << 1 if number >= 0 else ~number << 1 | 1)


def longest_run(unit, todo):
    """(stride, count, place step, mark step) of the run that begins with `unit`."""
    best = (1, 1, 1, 0)
    for stride in (1, 2):
        second = unit + stride
        if second not in todo or second >> 8 != unit >> 8:
            continue
        first = todo[unit]
        if todo[second][0] != first[0] or todo[second][3] != first[3]:
            continue
        step = [todo[second][i] - first[i] for i in (1, 2)]
        count = 1
        while True:
            other = unit + stride * count
            if other >> 8 != unit >> 8 or other not in todo:
                break
            kind, place, mark, form = first
            if todo[other] != (kind, place + step[0] * count, mark + step[1] * count, form):
                break
            count += 1
        if count > best[1]:
            best = (stride, count, *step)
    return best


def write_page(todo):
    numbers = Numbers()
    end = place = 0
    mark, form, kind, step, stride, mark_step = PLAIN, PLAIN, SIGN, 1, 1, 0
    for unit in sorted(todo):
        if unit not in todo:
            continue
        run = longest_run(unit, todo)
        now = todo[unit]
        changes = [
            run[1] > 1,
            run[1] > 1 and run[2] != step,
            now[2] != mark,
            now[3] != form,
            now[0] != kind,
            run[1] > 1 and (run[0], run[3]) != (stride, mark_step),
        ]
        numbers.add((unit & 0xFF) - end)
        numbers.add(sum(bit << i for i, bit in enumerate(changes)))
        if changes[0]:
            numbers.add(run[1] - 2)
        if changes[1]:
            step = run[2]
            numbers.add_signed(step)
        if changes[2]:
            mark = now[2]
            numbers.add(mark)
        if changes[3]:
            form = now[3]
            numbers.add(form)
        if changes[4]:
            kind = now[0]
            numbers.add(kind)
        if changes[5]:
            stride, mark_step = run[0], run[3]
            numbers.add(stride)
            numbers.add_signed(mark_step)
        numbers.add_signed(now[1] - place)
        place, mark = now[1], now[2]
        for i in range(run[1]):
            place, mark = todo[unit + i * stride if run[1] > 1 else unit][1:3]
            del todo[unit + i * stride if run[1] > 1 else unit]
        end = unit & 0xFF
    return numbers.text


def quote(text):
    return "".join(
        char if 0x20 <= ord(char) < 0x7F and char not in '"\\' else f"\\u{ord(char):04x}"
        for char in text
    )


def wrapped(text, prefix):
    room = 94 - len(prefix)
    lines = []
    while text:
        end = min(room, len(text))
        back = text.rfind("\\", max(0, end - 5), end)
        if back >= 0 and end - back < 6 and end < len(text):
            end = back
        lines.append(f'    {prefix}"{text[:end]}"')
        text = text[end:]
    return "\n".join(lines)


def main():
    with_case, without_case, prolonged = map(read_keys, sys.argv[1:])
    weights = {unit: weights_of(unit, with_case[unit], without_case[unit]) for unit in with_case}
    weights = {unit: found for unit, found in weights.items() if found}

    kana = {w[1] for w in weights.values() if w[0] == SIGN and w[1][0] == KANA and len(w[1]) == 2}
    places = {REPEATED_IDEOGRAPH, ALONE} | {w[1] for w in weights.values() if w[0] in (SIGN, DASH)}
    places |= {bytes([KANA_IN_EXPANSION, place[1]]) for place in kana}
    number = {place: FIRST_PLACE + i for i, place in enumerate(sorted(places))}
    assert max(number.values()) < 0x10000

    spellings = {(SIGN, LOOSE_NOTHING, PLAIN, PLAIN): 0x640}
    for unit, found in sorted(weights.items(), reverse=True):
        if found[0] == SIGN:
            spellings[found] = unit
            if found[1] in kana:
                spellings[(SIGN, bytes([KANA_IN_EXPANSION, found[1][1]]), *found[2:])] = unit
        elif found[0] == MARK:
            spellings[(SIGN, LOOSE_MARK, found[2], PLAIN)] = unit
    expansions = []
    for unit, found in sorted(weights.items()):
        if found[0] != SEVERAL:
            continue
        by_unicode = unicodedata.normalize("NFKD", chr(unit))
        as_signs = [weights.get(ord(char)) for char in by_unicode]
        as_signs = [
            s and ((SIGN, LOOSE_MARK, s[2], PLAIN) if s[0] == MARK else s) for s in as_signs
        ]
        if as_signs != found[1]:
            expansions.append(chr(unit) + "".join(chr(spellings[sign]) for sign in found[1]))

    pages = []
    for page in range(0x100):
        todo = {}
        for unit in range(page << 8, (page + 1) << 8):
            if unit in weights:
                found = weights[unit]
                if found[0] == SEVERAL:
                    found = (SEVERAL, 0, PLAIN, PLAIN)
                if found[0] in (SIGN, DASH, REPEAT):
                    found = (found[0], number[found[1]], *found[2:])
                todo[unit] = found
        pages.append(write_page(todo))

    ideographs = sorted(place for place in places if place[:2] in (b"\xfd\xff", b"\xfe\xff"))
    # Their last bytes, from 2 on, follow from their numbers, but for one gap.
    (later,) = [
        b for a, b in zip(ideographs, ideographs[1:]) if b[3] != (a[3] + 1 if a[3] < 0xFF else 2)
    ]
    assert ideographs[0][3] == later[3] == 2
    starts = [0]
    for page in pages:
        starts.append(starts[-1] + len(page))
    constants = {
        "RepeatedIdeograph": REPEATED_IDEOGRAPH,
        "FirstKana": min(kana),
        "LastKana": max(kana),
        "FirstKanaInExpansion": bytes([KANA_IN_EXPANSION, min(kana)[1]]),
        "FirstIdeograph": ideographs[0],
        "FirstLaterIdeograph": later,
        "LastIdeograph": ideographs[-1],
    }
    print(
        TEMPLATE.format(
            constants="\n".join(
                f"inline constexpr std::uint16_t k{name} = {number[place]:#06x};"
                for name, place in constants.items()
            ),
            vowels=vowels_of(sorted(kana), prolonged),
            starts=textwrap.fill(
                ", ".join(map(str, starts)), 98, initial_indent="    ", subsequent_indent="    "
            ),
            runs=wrapped("".join(pages), ""),
            expansions=wrapped(quote("".join(text + " " for text in expansions)), "u"),
        )
    )


def vowels_of(kana, prolonged):
    """For each place of a kana the index of its vowel's place, "-" for one that has none."""
    vowels = {key[:2]: key[2:4] for key in prolonged.values()}
    return "".join("-" if vowels[place] == place else str(kana.index(vowels[place])) for place in kana)


TEMPLATE = """#pragma once

#include <cstdint>

/// The weights of all UTF-16 units as Windows sorts them (English, United States), made by
/// tools/make_collation_tables.py from its sort keys. Places are numbers in the order of Windows'
/// own, so that those of ideographs, too, take 16 bits; CollationWeights.h explains the words.
namespace platform::collation {{

// clang-format off

/// Places.
{constants}

/// For each place of a kana the vowel that prolongs it, as an index of places; "-" is itself.
inline constexpr char kVowels[] = "{vowels}";

/// Where in `kRuns` the runs of each 256 units begin.
inline constexpr std::uint16_t kPageStarts[] = {{
{starts}}};

/// Runs of units whose weights differ by equal steps, as `ReadPage` reads them.
inline constexpr char kRuns[] =
{runs};

/// Units that count as several others, with these, as far as Unicode's compatibility decompositions
/// do not say so; a blank ends each. Intended: some square units count as something odd.
inline constexpr char16_t kExpansions[] =
{expansions};

// clang-format on

}} // namespace platform::collation"""

if __name__ == "__main__":
    main()
