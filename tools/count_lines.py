#!/usr/bin/env python3
"""Tells the lines of code and of tests by folder.

Lines of sources count, with their comments and blanks: tests against core, support, examples and
tools, and against everything together. They are meant to be at most 37 % and 29 %.
"""

import collections
import subprocess

CODE = ("core", "support", "examples", "tools")
ENDINGS = (".h", ".cpp", ".inl", ".py", ".cmake", "CMakeLists.txt")


def lines_by_folder():
    names = subprocess.run(["git", "ls-files", "-z"], stdout=subprocess.PIPE, check=True).stdout
    lines = collections.Counter()
    for name in names.decode().split("\0"):
        if name.endswith(ENDINGS):
            with open(name, "rb") as stream:
                parts = name.split("/")
                folder = "/".join(parts[:2]) if parts[0] in ("core", "tests") and len(parts) > 2 else parts[0]
                lines[folder] += sum(1 for _ in stream)
    return lines


def main():
    lines = lines_by_folder()
    total = collections.Counter()
    for folder, count in lines.items():
        total[folder.split("/")[0]] += count
    for folder in sorted(lines):
        print(f"{folder:<24}{lines[folder]:>7}")
    tests, code, everything = total["tests"], sum(total[folder] for folder in CODE), sum(total.values())
    print(f"tests: {tests} lines, {tests / code:.1%} of the code's {code}, "
          f"{tests / everything:.1%} of all {everything}")


if __name__ == "__main__":
    main()
