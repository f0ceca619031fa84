#!/usr/bin/env python3
"""damaged_copies.py FOLDER COMMAND...: qdinspect over all golden files and damaged copies of them.

Whatever is left of a file, the tool ends by itself with one of its three exit codes, says something,
and says the same to a pipe in UTF-8. Prints a table: what is recognised, the exit code, the first
message.
"""

import pathlib
import subprocess
import sys
import tempfile

folder, command = pathlib.Path(sys.argv[1]), sys.argv[2:]
failed = False


def copies(content):
    half = len(content) // 2
    yield "whole", content
    yield "cut in half", content[:half]
    flipped = bytes(byte ^ 0x10 for byte in content[half : half + 1])
    yield "flipped in the middle", content[:half] + flipped + content[half + 1 :]
    yield "zeroed head", bytes(16) + content[16:]


def run(*arguments):
    done = subprocess.run([*command, *arguments], capture_output=True, timeout=60)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


with tempfile.TemporaryDirectory() as temporary:
    copy, new = pathlib.Path(temporary, "copy"), pathlib.Path(temporary, "new")
    for path in sorted(folder.glob("*/*")):
        if path.is_dir() or path.parent.name == "inspect" and path.suffix == ".txt":
            continue # what the tool prints of others
        for damage, content in copies(path.read_bytes()):
            copy.write_bytes(content)
            code, _, errors = run("check", str(copy))
            shown, text, _ = run("show", "--all", str(copy))
            recovered, _, _ = run("recover", str(copy), str(new))
            new.unlink(missing_ok=True)
            if {code, shown, recovered} - {0, 1, 2} or shown != code or not errors:
                failed = True
                print(f"FAILED: {code}, {shown}, {recovered}, {errors!r}")
            kind = text.splitlines()[0] if text else "none"
            message = errors.splitlines()[0].replace(f"{copy}: ", "")
            print(f"| {path.relative_to(folder)} | {damage} | {kind} | {code} | {message} |")
sys.exit(failed)
