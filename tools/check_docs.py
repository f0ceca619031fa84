#!/usr/bin/env python3
"""Checks that the code in README.md and docs/*.md is code of examples/guides or examples/peers.

Indentation, blank lines and includes aside.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
GUIDES = sorted([*(ROOT / "examples/guides").glob("*.cpp"), *(ROOT / "examples/peers").glob("*.cpp")])
BLOCK = re.compile(r"^```cpp\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def bare(text):
    lines = (line.strip() for line in text.splitlines())
    return "".join(line + "\n" for line in lines if line and not line.startswith("#include"))


def main():
    guides = ["\n" + bare(path.read_text(encoding="utf-8")) for path in GUIDES]
    blocks = faults = 0
    for page in PAGES:
        for block in BLOCK.findall(page.read_text(encoding="utf-8")):
            blocks += 1
            if not any("\n" + bare(block) in guide for guide in guides):
                faults += 1
                print(f"{page.relative_to(ROOT)}: no guide has this code:\n{block}")
    print(f"{blocks} pieces of code, {faults} faults")
    return 1 if faults or blocks == 0 else 0


sys.exit(main())
