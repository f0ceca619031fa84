#!/usr/bin/env python3
"""Tells the lines of code that the tests in build/linux-coverage never ran, with their text.

Fails when a line of a reader was never run, or less than 95 % of all. A reader is a source that takes in
bytes or text from outside. The Windows half is not in that build. There `_exit` is `exit`, so that what a
test's child processes ran counts, too.
"""

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
    for name, lines in sorted(files.items()):
        text = (ROOT / name).read_text().splitlines()
        for line in (line for line, count in sorted(lines.items()) if not count):
            print(f"{name}:{line}: {text[line - 1].strip()}")
    everything = [count for lines in files.values() for count in lines.values()]
    share = sum(map(bool, everything)) / len(everything)
    incomplete = [reader for reader in READERS if not all(files[reader].values())]
    print(f"{share:.1%} of {len(everything)} lines ran (at least {LEAST:.0%} are to), "
          f"and all lines of {len(READERS) - len(incomplete)} of {len(READERS)} readers")
    for reader in incomplete:
        print(f"not all lines of {reader}")
    return bool(incomplete) or share < LEAST


if __name__ == "__main__":
    sys.exit(main())
