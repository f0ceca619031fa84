#!/usr/bin/env python3
"""Tells the lines of code that the tests in build/linux-coverage never ran, with their text.

Fails when a line of a reader was never run, or less than 95 % of all. A reader is a source that takes in
bytes or text from outside. Lines of them that no test can run, or none in reasonable time, are accepted with
the reason; it fails, too, when one of these has run or is no longer there. The Windows half is not in that
build. There `_exit` is `exit`, so that what a test's child processes ran counts, too.
"""

import collections
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = "build/linux-coverage"
LEAST = 0.95
READERS = (
    "core/archive/BArchive.cpp", "core/archive/Encoding.cpp", "core/archive/Loader.cpp",
    "core/archive/ObjectHeader.cpp", "core/archive/RecordDirectory.cpp", "core/base/BlockReader.cpp",
    "core/file/BGuid.cpp", "core/language/LanguageReader.cpp", "core/platform/Unicode.cpp",
    "core/platform/posix/IniText.cpp", "core/platform/posix/ProfileBlock.cpp", "core/platform/posix/ProfileFile.cpp",
    "core/platform/posix/RegistryDatabase.cpp", "core/platform/posix/ScanText.cpp",
    "core/platform/posix/TextStream.cpp", "core/profile/BBinProfile.cpp", "core/profile/BVariant.cpp",
    "core/profile/TextProfile.cpp", "core/profile/VariantBytes.cpp", "core/tree/BNodeArchive.cpp",
    "tools/qdinspect/ArchiveFile.cpp", "tools/qdinspect/BinaryProfile.cpp", "tools/qdinspect/FileKind.cpp",
    "tools/qdinspect/LanguageText.cpp", "tools/qdinspect/Log.cpp", "tools/qdinspect/TextProfile.cpp",
)
GIB2 = "a text, a profile or a record of more than 2 GiB"
OBJECTS = "an archive of four billion objects"
ACCEPTED = ( # file, text of the line, why
    ("core/archive/BArchive.cpp", "owner.ThrowError();", OBJECTS),
    ("core/archive/BArchive.cpp", "saver->TellUnwritten(EProblem::ObjectUnwritten);", GIB2),
    ("core/archive/BArchive.cpp", "archive.ThrowError();", GIB2),
    ("core/archive/BArchive.cpp", "return false;", GIB2),
    ("core/archive/BArchive.cpp", "return 0;", OBJECTS),
    ("core/archive/Encoding.cpp", "void FieldWriter::RefuseText(const BArchive& archive)", "a text of more than 4 GiB"),
    ("core/archive/Encoding.cpp", "archive.ThrowError();", "a text of more than 4 GiB"),
    ("core/archive/ObjectHeader.cpp", "return false;", GIB2),
    ("core/archive/Loader.cpp", "} catch (const std::bad_alloc&) { // then without them",
     "the header of a refused record lies across the end of a block that reading others left behind"),
    ("core/platform/posix/ProfileFile.cpp", "errno = EFBIG;", GIB2),
    ("core/platform/posix/ProfileFile.cpp", "return std::nullopt;", GIB2),
)


def lines_by_file():
    """{file: {line: how often it ran}}"""
    folders = [part for folder in ("core", "support", "tools/qdinspect") for part in ("--filter", f"{folder}/")]
    output = subprocess.run(["gcovr", "--root", ".", "--object-directory", BUILD, *folders, "--json", "-"],
                            cwd=ROOT, stdout=subprocess.PIPE, check=True).stdout
    return {entry["file"]: {line["line_number"]: line["count"] for line in entry["lines"] if not line["gcovr/noncode"]}
            for entry in json.loads(output)["files"]}


def main():
    files = lines_by_file()
    if missing := [reader for reader in READERS if not files.get(reader)]:
        sys.exit(f"no counts of {', '.join(missing)}")
    accepted = collections.Counter((name, text) for name, text, _ in ACCEPTED)
    faults = []
    for name, lines in sorted(files.items()):
        texts = (ROOT / name).read_text().splitlines()
        for line in (line for line, count in sorted(lines.items()) if not count):
            text = texts[line - 1].strip()
            print(f"{name}:{line}: {text}")
            if accepted[name, text]:
                accepted[name, text] -= 1
            elif name in READERS:
                faults.append(f"never ran: {name}:{line}: {text}")
    faults += [f"is accepted, and ran or is gone: {name}: {text}" for name, text in accepted.elements()]
    everything = [count for lines in files.values() for count in lines.values()]
    share = sum(map(bool, everything)) / len(everything)
    print(f"{share:.1%} of {len(everything)} lines ran (at least {LEAST:.0%} are to); "
          f"{len(READERS)} readers, {len(ACCEPTED)} lines of which need not:")
    for name, text, reason in ACCEPTED:
        print(f"    {name}: {text}: {reason}")
    print(*faults, sep="\n")
    return bool(faults) or share < LEAST


if __name__ == "__main__":
    sys.exit(main())
