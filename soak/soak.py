#!/usr/bin/env python3
"""Runs the checks of checks.py for hours, and says in docs/reliability.md what they reached.

    soak.py [HOURS] [CHECK...] [--seed N] [--short]

A check is a program that is called with seconds and a seed, ends about then, prints as its last line how much it
did ("51200 reads"), and fails when it found a fault. Each gets its share of the time (a quarter of an hour for all
when no HOURS are told), in slices of a minute, so that a run that is cut off loses a minute at most: the next one
goes on with the next seed. What a faulty slice printed stands in build/soak/faults, named by check and seed:
`soak.py 0.017 CHECK --seed N` does the same again, in one slice however long, and when it passes, took no less time
and did no less, the fault is open no more. --short is for CI: a slice of a few seconds of each that is built soon,
with seed 1; it leaves the page alone.
"""

import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import time

from checks import CHECKS, ROOT

WORK = ROOT / "build/soak"
STATE = WORK / "state.json"
PAGE = ROOT / "docs/reliability.md"
SLICE, SHORT_SLICE = 60, 3  # seconds
MANY = 5  # faults, after which a check is left for this run: mostly they are one
PATIENCE = 300  # seconds that a slice may take longer than it was told
MEMORY = "/dev/shm"  # files that wait for no disk
ENVIRONMENT = dict(os.environ, **({"TMPDIR": MEMORY} if os.path.isdir(MEMORY) else {}))
COUNT = re.compile(r"^(\d+) (\w[\w ]*)$", re.MULTILINE)


def run_slice(check, seconds, seed):
    """(count, seconds taken, what it printed when it found a fault)"""
    start = time.monotonic()
    try:
        done = subprocess.run(check.command(seconds, seed), cwd=ROOT, env=ENVIRONMENT, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace", timeout=seconds + PATIENCE)
        output, failed = done.stdout, done.returncode != 0
    except subprocess.TimeoutExpired as expired:
        output, failed = (expired.stdout or b"").decode(errors="replace") + "\nhangs\n", True
    counts = COUNT.findall(output)
    if not counts or int(counts[-1][0]) == 0:
        output, failed = output + "\nnothing was done\n", True
    return int(counts[-1][0]) if counts else 0, time.monotonic() - start, output if failed else ""


def fault_file(check, seed):
    return WORK / "faults" / f"{check.name}-{seed}.txt"


def open_faults(check):
    return sum(bool(re.fullmatch(rf"{check.name}-\d+\.txt", file.name)) for file in WORK.glob("faults/*.txt"))


def seconds_of(file):
    return float(file.read_text(errors="replace").split()[0])


def keep_fault(check, seed, seconds, fault):
    file = fault_file(check, seed)
    file.parent.mkdir(parents=True, exist_ok=True)
    if file.exists():  # a short slice that finds it again does not make that enough to close it
        seconds = max(seconds, seconds_of(file))
    file.write_text(f"{seconds:.1f} seconds\n{fault}")
    print(f"{check.name}: FAULT with seed {seed}, see {file.relative_to(ROOT)}", flush=True)


def close_fault(check, seed, seconds, done):
    """What passes in less time than the faulty slice had, or does less, tells nothing."""
    file = fault_file(check, seed)
    if file.exists() and float(f"{seconds:.1f}") >= seconds_of(file):
        counts = COUNT.findall(file.read_text(errors="replace"))
        if not counts or done >= int(counts[-1][0]):
            file.unlink()


def run_check(check, budget, seed, state, is_short):
    """True when no fault was found."""
    kept = state.setdefault(check.name, {"count": 0, "seconds": 0.0, "longest": 0.0, "seed": 1})
    fixed, taken, count, faults = seed is not None, 0.0, 0, 0
    seed = seed if fixed else 1 if is_short else kept["seed"]
    while taken < budget and faults < MANY:
        told = budget if fixed else min(SLICE, max(SHORT_SLICE, budget - taken))
        done, seconds, fault = run_slice(check, told, seed)
        taken, count = taken + seconds, count + done
        if fault:
            faults += 1
            keep_fault(check, seed, told, fault)
        else:
            close_fault(check, seed, told, done)
        seed += 1
        if not is_short:
            kept["count"] += done
            kept["seconds"] += seconds
            kept["longest"] = max(kept["longest"], taken)
            if not fixed:
                kept["seed"] = seed
            STATE.write_text(json.dumps(state, indent=1))
    print(f"{check.name}: {count:,} {check.unit} in {taken:.0f} s, {faults} faults", flush=True)
    return faults == 0


def page(state):
    rows = ["| check | reached | a second | time | longest run | to reach the goal | open faults | what is promised |",
            "|---|---|---|---|---|---|---|---|"]
    for check in CHECKS:
        kept = state.get(check.name)
        reached = "not yet | | | | " if not kept else (
            f"{kept['count']:,} {check.unit} | {rate(kept):,.{0 if rate(kept) >= 10 else 1}f} | {hours(kept['seconds'])} | {hours(kept['longest'])}"
            f" | {hours_left(check, kept)}")
        rows.append(f"| {check.name} | {reached} | {open_faults(check)} | {check.promise} |")
    found = [f"- **{check.name}**: {fault}" for check in CHECKS for fault in check.mended]
    return "\n".join([
        "# Reliability", "",
        "Made by `./dev soak`; not to be edited. What each check does stands in `soak/checks.py`, and how to run it",
        "in `soak/soak.py`. Counts and times add up over the runs on one machine. A fault is open until the same seed",
        "has passed again. Where less than the goal was reached, the table tells how long the rest takes.", "",
        *rows, "",
        *BESIDE, "", "## Found by these checks, and mended", "", *(found or ["Nothing yet."]), ""])


# The checks that need no time, and so have no row.
BESIDE = """
What stands beside these checks:

- `./dev test asan` runs all tests under the sanitizers of addresses and undefined behaviour, `./dev test tsan` under
  the thread sanitizer; both with the assertions of the standard library (`_GLIBCXX_ASSERTIONS`).
- `./dev test valgrind` runs the suites in valgrind, which sees what is read before it was written.
- `./dev coverage` lists the lines that no test runs.
- `./dev package` looks whether the library was hardened: read-only relocations, watched stack, jumps and
  returns, checked calls of the C library, no executable stack.
""".strip().splitlines()


def rate(kept):
    return kept["count"] / max(kept["seconds"], 1)


def hours_left(check, kept):
    missing = check.goal - kept["count"]
    return hours(missing / rate(kept)) if missing > 0 and kept["count"] > 0 else ""


def hours(seconds):
    return f"{seconds / 3600:.1f} h" if seconds >= 3600 else f"{seconds / 60:.0f} min"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("words", nargs="*", metavar="HOURS or CHECK")
    parser.add_argument("--seed", type=int)
    parser.add_argument("--short", action="store_true")
    options = parser.parse_args()
    numbers = [float(word) for word in options.words if re.fullmatch(r"[\d.]+", word)]
    names = [word for word in options.words if not re.fullmatch(r"[\d.]+", word)]
    if unknown := set(names) - {check.name for check in CHECKS}:
        sys.exit(f"no such check: {', '.join(sorted(unknown))}; there are "
                 + ", ".join(check.name for check in CHECKS))
    chosen = [check for check in CHECKS if check.name in names
              or not names and (check.is_short or not options.short)]
    for preset in sorted({preset for check in chosen for preset in check.preset.split()}):
        targets = {target for check in chosen if preset in check.preset.split() for target in check.targets}
        for command in (["cmake", "--preset", preset, "--log-level=ERROR"],
                        ["cmake", "--build", "--preset", preset, "--target", *sorted(targets)]):
            subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    WORK.mkdir(parents=True, exist_ok=True)
    state = json.loads(STATE.read_text()) if STATE.exists() else {}
    share = (numbers[0] if numbers else 0.25) * 3600 / len(chosen)
    whole = True
    for check in chosen:
        whole &= run_check(check, SHORT_SLICE if options.short else share, options.seed, state, options.short)
    if not options.short:
        PAGE.write_text(page(state))
    return not whole


if __name__ == "__main__":
    sys.exit(main())
