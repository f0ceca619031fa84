#!/usr/bin/env python3
"""Has the same operations done by the Linux build and, under Wine, by the Windows build, and compares.

    parity.py SECONDS SEED

A batch is 10,000 random operations on texts, files and settings, 7,000 where faults are rare among these (on
the order of texts where it hangs on more than letters, and on paths about as long as may be), and 100 archives
of random graphs of objects, all of them from the seed; batches follow until the time is over. Every result must
be the same on both, every archive the same bytes, and what either build saved must read the same by the other.
What is known to differ, docs/platform-differences.md lists with both answers; the program tries each of its
entries once, and never among the random operations. So any other difference is a fault, and so is an entry
whose answers have changed.

Both programs are in soak/parity; for a difference in round R of seed S `parity 1 S all R` does that round alone,
of the rare ones `parity 1 S NAME R`, with their name instead of "all".
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIST = ROOT / "docs/platform-differences.md"
OPERATIONS, GRAPHS = 10_000, 100  # of a batch
RARE = {"Collation": 5_000, "LongPath": 2_000}  # operations besides, by their name in Parity.cpp
LIMIT = 280  # seconds for a batch of one program, which else takes a few
MANY = 10  # differences that are told
REGISTRY = r"HKCU\Software\qd.core parity"
ENTRY = re.compile(r"^\| `([\w-]+)` \| .* \| `(.*)` \| `(.*)` \| .* \|$", re.MULTILINE)

# The ANSI code page of Wine follows the locale; no debugger waits for somebody to look at a crash.
ENVIRONMENT = dict(os.environ, LC_ALL="C.UTF-8", WINEDEBUG="-all", WINEPREFIX=str(ROOT / "build/wine"),
                   WINEDLLOVERRIDES="winedbg.exe=d")
PROGRAMS = {"linux": [ROOT / "build/linux/bin/parity"],
            "windows": ["wine", ROOT / "build/windows/bin/parity.exe"]}


class Faults:
    def __init__(self):
        self.count = 0

    def tell(self, *lines):
        self.count += 1
        if self.count <= MANY:
            print(*lines, sep="\n")


def run_both(folder, *arguments):
    """What either program told, line by line, as fields; both run at once, each in a folder of its name."""
    running = {}
    for name, program in PROGRAMS.items():
        home = folder / name
        home.mkdir(exist_ok=True)
        output = open(folder / f"{name}.txt", "wb")
        running[name] = subprocess.Popen([*program, *map(str, arguments)], cwd=home, stdout=output,
                                         stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                         env=dict(ENVIRONMENT, QD_REGISTRY=str(home / "registry.db")))
    codes = {}
    for name, process in running.items():
        try:
            codes[name] = process.wait(LIMIT)
        except subprocess.TimeoutExpired:
            process.kill()
            codes[name] = process.wait()
    told = {}
    for name in PROGRAMS:
        text = (folder / f"{name}.txt").read_bytes().decode(errors="replace").replace("\r\n", "\n")
        told[name] = [line.split("\t") for line in text.splitlines()]
        if codes[name] != 0:
            told[name].append([f"{name} ended with {codes[name]}"])  # a difference, also when both did
    return told["linux"], told["windows"]


def compare(faults, what, linux, windows):
    """Tells the first difference of each round; how many lines were compared."""
    differing = None
    for ours, theirs in zip(linux, windows):
        if ours != theirs and ours[0] != differing:
            differing = ours[0]
            faults.tell(f"{what}:", *("    " + "  ".join(line) for line in linux
                                      if line[0] == differing and line is not ours),
                        "  Linux:   " + "  ".join(ours), "  Windows: " + "  ".join(theirs))
    if len(linux) != len(windows):
        longer = max(linux, windows, key=len)
        faults.tell(f"{what}: {len(linux)} lines on Linux, {len(windows)} on Windows; one ends before",
                    "    " + "  ".join(longer[min(len(linux), len(windows))]))
    return min(len(linux), len(windows))


def compare_known(faults, folder):
    listed = {name: (linux, windows) for name, linux, windows in ENTRY.findall(LIST.read_text())}
    linux, windows = ({line[2]: line[3] for line in lines if len(line) == 4}
                      for lines in run_both(folder, "known"))
    for name in sorted(listed.keys() | linux.keys() | windows.keys()):
        answers = linux.get(name), windows.get(name)
        if answers[0] == answers[1]:
            faults.tell(f"{name}: is listed, and differs no more: {answers[0]}")
        elif listed.get(name) != answers:
            faults.tell(f"{name}: {answers[0]} on Linux, {answers[1]} on Windows; "
                        + (f"listed as {' and '.join(listed[name])}" if name in listed else "not listed"))
    return len(listed)


def exchange(faults, folder, seed):
    """Each program reads the archives and profiles that the other one has written."""
    homes = [folder / name for name in PROGRAMS]
    names = [sorted(path.name for path in home.iterdir()
                    if re.fullmatch(r"graph-\d+\.qda|settings\.(bin|ini)", path.name)) for home in homes]
    if names[0] != names[1]:
        faults.tell(f"seed {seed}: {names[0]} on Linux, {names[1]} on Windows")
    homes[0].rename(folder / "other")
    homes[1].rename(homes[0])
    (folder / "other").rename(homes[1])
    compare(faults, f"seed {seed}, what the other one wrote", *run_both(folder, "read", *names[0]))


def keep_wine():
    """Wine boots for each program that finds none running: seconds, on a busy machine a minute."""
    if server := shutil.which("wineserver"):
        subprocess.run([server, "-p60"], env=ENVIRONMENT, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)


def run_batch(faults, base, seed):
    keep_wine()
    folder = pathlib.Path(tempfile.mkdtemp(dir=base))
    count = compare(faults, f"seed {seed}", *run_both(folder, OPERATIONS, seed))
    for name, rare in RARE.items():
        count += compare(faults, f"seed {seed}, {name}", *run_both(folder, rare, seed, name))
    graphs = compare(faults, f"seed {seed}, graphs", *run_both(folder, "graphs", GRAPHS, seed))
    exchange(faults, folder, seed)
    shutil.rmtree(folder)
    return count, graphs


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    end, seed = time.monotonic() + float(sys.argv[1]), int(sys.argv[2])
    faults, operations, graphs = Faults(), 0, 0
    keep_wine()
    with tempfile.TemporaryDirectory(prefix="qd-parity-") as base:
        print(f"{compare_known(faults, pathlib.Path(base))} listed differences")
        while operations == 0 or (time.monotonic() < end and faults.count < MANY):
            done = run_batch(faults, base, seed)
            operations, graphs, seed = operations + done[0], graphs + done[1], seed + 1_000_003
    subprocess.run(["wine", "reg", "delete", REGISTRY, "/f"], env=ENVIRONMENT, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    print(f"{faults.count} differences that are not listed\n{graphs} graphs\n{operations} operations")
    return faults.count != 0


if __name__ == "__main__":
    sys.exit(main())
