#!/usr/bin/env python3
"""Runs clang-tidy over sources of the native build, and over none whose text it found clean before.

    tidy.py FILE...

What it remembers stands in ~/.cache/qdcore-tidy: digests of all that it looks at, which are the preprocessed source,
its options, .clang-tidy and clang-tidy's version.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/linux"
CLEAN = pathlib.Path(os.environ.get("XDG_CACHE_HOME", pathlib.Path.home() / ".cache")) / "qdcore-tidy"
TIDY = ["clang-tidy", "--quiet", "--warnings-as-errors=*", "-p", str(BUILD)]


def options_of():
    """{source: what its compiler is told, but for the names of files}"""
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    found = {}
    for entry in commands:
        words = shlex.split(entry["command"])  # launcher, compiler, options, -o file -c file
        found[entry["file"]] = words[next(i for i, word in enumerate(words) if word.startswith("-")):-4]
    return found


def digest(file, options, common):
    """None when it cannot be read; comments count, as they may silence a finding. The checkout's place does not."""
    words = ["clang++", *options, "-w", "-E", "-P", "-CC", file]
    done = subprocess.run(words, cwd=BUILD, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    text = " ".join(options).encode() + common + done.stdout
    return None if done.returncode else hashlib.sha256(text.replace(str(ROOT).encode(), b".")).hexdigest()


def is_clean(name, options, common):
    file = str(ROOT / name)
    key = digest(file, options[file], common)
    if key and (CLEAN / key).exists():
        return True
    done = subprocess.run([*TIDY, file], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    if done.returncode:
        print(done.stdout, flush=True)
    elif key:
        (CLEAN / key).touch()
    return done.returncode == 0


def main():
    CLEAN.mkdir(parents=True, exist_ok=True)
    common = (ROOT / ".clang-tidy").read_bytes() + subprocess.run(["clang-tidy", "--version"], stdout=subprocess.PIPE,
                                                                  check=True).stdout
    options = options_of()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return not all(list(pool.map(lambda name: is_clean(name, options, common), sys.argv[1:])))


if __name__ == "__main__":
    sys.exit(main())
