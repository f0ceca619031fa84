#!/usr/bin/env python3
"""Checks that includes point down: from a folder to its own floor or a lower one.

Within a folder, and between folders of one floor, headers must not include one another in a circle.
Also checks that the compiler's name for Windows is tested in core/platform alone, and that headers
write `(std::max)(...)`, which the macros of <windows.h> leave alone.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLOORS = [
    ["platform"],
    ["base"],
    ["diag", "sync"],
    ["operation", "file"],
    ["archive", "profile", "language", "units", "memory"],
    ["tree", "geometry"],
]
FLOOR_OF = {folder: floor for floor, folders in enumerate(FLOORS) for folder in folders}
MACRO_CALL = re.compile(r"\b(?:std|numeric_limits<[^>]*>|Limits)::(?:min|max)\(")
INCLUDE = re.compile(r'^#\s*include\s+"([^"]+)"', re.MULTILINE)


def sources():
    for path in sorted((ROOT / "core").rglob("*")):
        if path.suffix in (".h", ".cpp", ".inl"):
            yield path.relative_to(ROOT)


def floor(path):
    parts = pathlib.PurePosixPath(path).parts
    if parts[0] != "core" or len(parts) < 3:
        return len(FLOORS)  # core/Startup.cpp, core/qdcore.h
    return FLOOR_OF[parts[1]]


def circle(graph):
    """A list of files that include one another, or None."""
    done, way = set(), []

    def visit(node):
        if node in way:
            return way[way.index(node):] + [node]
        if node in done:
            return None
        way.append(node)
        for following in graph.get(node, ()):
            if found := visit(following):
                return found
        way.pop()
        done.add(node)
        return None

    for node in graph:
        if found := visit(node):
            return found
    return None


def main():
    faults, graph = [], {}
    for path in sources():
        text = (ROOT / path).read_text(encoding="utf-8")
        included = [name for name in INCLUDE.findall(text) if name.startswith("core/")]
        graph[path.as_posix()] = included
        for name in included:
            if not (ROOT / name).exists():
                faults.append(f"{path}: includes {name}, which is not there")
            elif floor(name) > floor(path.as_posix()):
                faults.append(f"{path}: includes {name} from a floor above")
        if path.parts[1] != "platform" and re.search(r"^#.*\b_WIN32\b", text, re.MULTILINE):
            faults.append(f"{path}: tests _WIN32 outside core/platform")
        if path.suffix == ".h" and (call := MACRO_CALL.search(text)):
            faults.append(f"{path}: {call.group()} is a macro call where <windows.h> came first")
    if found := circle(graph):
        faults.append("a circle of includes: " + " -> ".join(found))
    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"{len(graph)} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
