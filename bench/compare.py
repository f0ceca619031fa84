#!/usr/bin/env python3
"""Measures each job in a process of its own, beside its peers, and writes docs/performance.md.

A benchmark `BM_Job_Peer/size` does for a peer what `BM_Job/size` does for the library. Each runs once a
round, ours and the peers in turn and each round another one first, so that a slow moment of the machine
meets all of them; the least of the rounds counts, as whatever else the machine and its host do only adds. A
benchmark that got a wrong result stops or says so, and then the comparison fails.
"""

import argparse
import collections
import datetime
import itertools
import json
import math
import os
import pathlib
import platform
import re
import subprocess
import sys
import tempfile
import time
from typing import NamedTuple

from jobs import PACKAGES, SECTIONS

ROOT = pathlib.Path(__file__).resolve().parent.parent
NAME = re.compile(r"(BM_[^_/]+)(?:_([^/]+))?((?:/[^/]+)*?)(?:/iterations:1|/min_time:[^/]+|/real_time)*")
SCALES = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
FEWEST_ROUNDS = 4
SECONDS = 12  # after which a job and size gets no further round


class Benchmark(NamedTuple):
    program: pathlib.Path
    name: str
    job: str
    peer: str  # empty for ours
    size: str


def benchmarks(folder):
    for program in sorted(folder.glob("*_bench")):
        names = subprocess.run([program, "--benchmark_list_tests=true"], check=True, capture_output=True, text=True)
        for name in names.stdout.split():
            job, peer, size = NAME.fullmatch(name).groups(default="")
            if not peer.startswith("Bare"):  # what the machine asks for, which is no peer
                yield Benchmark(program, name, job, peer, size)


def choose(known, part):
    """The benchmarks of the table, those of a job and a size one after the other, ours first."""
    for job in dict.fromkeys(job.name for jobs in SECTIONS.values() for job in jobs):
        sizes = [ours.size for ours in known if ours.job == job and not ours.peer]
        if not sizes:
            sys.exit(f"there is no {job}")
        found = [b for b in known if b.job == job and b.size in sizes and re.search(part, b.name)]
        yield from sorted(found, key=lambda b: (sizes.index(b.size), b.peer))


def run(benchmark):
    """The figures of one process, times in nanoseconds: "time" and "peak" an item, the others of all items."""
    # A folder of its own, too: a registry that others filled would be another one.
    with tempfile.TemporaryDirectory() as scratch:
        settings = {"TMPDIR": scratch, "QD_REGISTRY": f"{scratch}/registry"}
        done = subprocess.run(
            [benchmark.program, f"--benchmark_filter=^{re.escape(benchmark.name)}$", "--benchmark_format=json",
             "--benchmark_min_time=0.05"], capture_output=True, text=True, env=os.environ | settings)
    if done.returncode != 0:
        raise RuntimeError(f"{benchmark.name} failed: {done.stderr[-500:]}")
    [found] = json.loads(done.stdout)["benchmarks"]
    if found.get("error_occurred"):
        raise RuntimeError(f"{benchmark.name} failed: {found['error_message']}")
    used = found["cpu_time"] * SCALES[found["time_unit"]]
    rate = found.get("items_per_second") or found.get("bytes_per_second") or 1e9 / used
    return {"time": 1e9 / rate, "peak": found.get("peak"), "kernel": found.get("kernel", 0) * 1e9, "used": used,
            "label": found.get("label")}


def measure(chosen, rounds):
    """{benchmark: figures of each round}, and what failed. A job and size that is quick takes part in more
    rounds: the least of few would be what the neighbours left of the machine. Each round begins with another of
    its benchmarks: who is the first pays for memory that was left cold, and would be ours each time."""
    figures, failures, spent = {benchmark: [] for benchmark in chosen}, [], collections.Counter()
    for number in range(rounds):
        for job, group in itertools.groupby(chosen, key=lambda benchmark: (benchmark.job, benchmark.size)):
            if number >= FEWEST_ROUNDS and spent[job] > SECONDS:
                continue
            members = list(group)
            first = number % len(members)
            start = time.monotonic()
            for benchmark in members[first:] + members[:first]:
                print(f"\r\033[Kround {number + 1} of {rounds}: {benchmark.name}",
                      end="", file=sys.stderr, flush=True)
                try:
                    figures[benchmark].append(run(benchmark))
                except RuntimeError as error:
                    failures.append(str(error))
            spent[job] += time.monotonic() - start
    print(file=sys.stderr)
    return {benchmark: runs for benchmark, runs in figures.items() if runs}, failures


# --- the table ------------------------------------------------------------------------------------------

def time_text(ns):
    unit = next((unit for unit in ("s", "ms", "us") if ns >= SCALES[unit]), "ns")
    return f"{ns / SCALES[unit]:.3g} {unit}"


def size_texts(sizes):
    """What differs between the sizes "/nodes:1000/...", as "1,000 nodes"."""
    arguments = [[part.rpartition(":") for part in size.split("/") if part] for size in sizes]
    differ = [len(set(column)) > 1 for column in zip(*arguments)]
    return [", ".join(f"{int(number):,} {what}" for (what, _, number), is_told in zip(row, differ) if is_told)
            for row in arguments]


def is_missed(reach, ours, peers):
    number, _, what = reach.partition(" ")
    if what in SCALES:
        return ours > float(number) * SCALES[what]
    peer = peers.get(what.removeprefix("of "), math.inf) if what else min(peers.values(), default=math.inf)
    return ours > float(number) * peer * 1.005  # as the ratio is shown


def cells(ours, peers, reach, first, text):
    best = min(peers, key=peers.get, default=None)
    told = [text(ours), "", ""] if best is None else [text(ours), f"{text(peers[best])} {best}",
                                                      f"{ours / peers[best]:.2f}"]
    missed = " (missed)" if reach and is_missed(reach, ours, peers) else ""
    return told + [f"{reach or ''}{missed}", f"{ours / first:.2f}" if first else ""]


def kernel_share(runs):
    used, kernel = (sum(figure[key] for figure in runs) for key in ("used", "kernel"))
    # The system counts in ticks: of a short time it does not know whose it was.
    return f"{kernel / used:.0%}" if kernel and used > 2e8 else ""


def least(figures, benchmark, metric="time"):
    return min(figure[metric] for figure in figures[benchmark])


def of_job(job, figures):
    """Ours, a size each."""
    return [b for b in figures if b.job == job.name and not b.peer and re.fullmatch(job.sizes, b.size)]


def peers_of(ours, figures):
    return [b for b in figures if b.job == ours.job and b.peer and b.size == ours.size]


def goal(reach, index):
    return reach[index % len(reach)] if isinstance(reach, list) else reach


def rows_of(job, figures):
    sizes = of_job(job, figures)
    told = [figures[b][0]["label"] or text for b, text in zip(sizes, size_texts([b.size for b in sizes]))]
    for metric, title, reach, text in (("time", job.title, job.reach, time_text),
                                       ("peak", f"{job.title}: peak memory", job.peak, "{:.0f} bytes".format)):
        for index, ours in enumerate(sizes if metric == "time" or reach else []):
            peers = {b.peer: least(figures, b, metric) for b in peers_of(ours, figures)}
            row = [title, told[index]] + cells(
                least(figures, ours, metric), peers, goal(reach, index),
                None if figures[ours][0]["label"] else least(figures, sizes[0], metric), text)
            row.append(kernel_share(figures[ours]) if metric == "time" else "")
            is_behind = row[4] and float(row[4]) > 1
            yield [f"**{cell}**" if is_behind and cell else cell for cell in row]


def output(folder, *command):
    done = subprocess.run(command, capture_output=True, text=True, cwd=folder)
    return done.stdout.strip() if done.returncode == 0 else ""


def machine(folder, rounds):
    cache = (folder.parent / "CMakeCache.txt").read_text()
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", cache).group(1)
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    versions = ((what, output(folder, "dpkg-query", "-W", "-f=${Version}", package))
                for what, package in PACKAGES.items())
    return [f"- {datetime.date.today()}, state {output(folder, 'git', 'rev-parse', '--short', 'HEAD')}, "
            f"the least of {FEWEST_ROUNDS} rounds and of up to {rounds} in {SECONDS} seconds a job and size; "
            f"load at the end {os.getloadavg()[0]:.1f}",
            f"- {os.cpu_count()} cores, {memory:.0f} GiB, {platform.system()} {platform.release()}",
            f"- {output(folder, compiler, '--version').splitlines()[0]}, "
            + ", ".join(f"{what} {version}" for what, version in versions if version)]


HEAD = """# Speed beside peers

Made by `./dev bench compare`; not to be edited. Each figure is from processes of their own, one a job and
round, ours and the peers in turn. Times are of the processor, the kernel's part included, and of the clock
where settings are written; of one item each. "growth" is ours over ours at the first size of the job,
"kernel" its part of the time. Bold: a peer is ahead. A peer is named as its benchmark in `bench`, which
says what it does less.
"""
COLUMNS = ["job", "size", "ours", "best peer", "ratio", "to reach", "growth", "kernel"]


def table(figures, where):
    sections = {title: [row for job in jobs for row in rows_of(job, figures)] for title, jobs in SECTIONS.items()}
    rows = [row for section in sections.values() for row in section]
    lines = [HEAD, *where, "", f"Of {len(rows)} rows a peer is ahead in {sum(row[0][0] == '*' for row in rows)}, and "
             f"{sum('missed' in row[5] for row in rows)} miss what they are to reach."]
    for title, section in sections.items():
        if section:
            table_rows = [COLUMNS, ["---"] * len(COLUMNS), *section]
            lines += ["", f"## {title}", "", *(f"| {' | '.join(row)} |" for row in table_rows)]
    return "\n".join(lines) + "\n"


def main():
    options = argparse.ArgumentParser(description=__doc__)
    options.add_argument("filter", nargs="?", default="", help="part of a benchmark's name; then nothing is written")
    options.add_argument("--programs", type=pathlib.Path, default=ROOT / "build/linux-bench/bin")
    options.add_argument("--out", type=pathlib.Path, default=ROOT / "docs/performance.md")
    options.add_argument("--rounds", type=int, default=32, help="at most")
    options.add_argument("--large", action="store_true", help="also trees of 10,000,000 nodes")
    asked = options.parse_args()
    if asked.large:
        os.environ["QD_BENCH_LARGE"] = "1"
    figures, failures = measure(list(choose(list(benchmarks(asked.programs)), asked.filter)), asked.rounds)
    text = table(figures, machine(asked.programs, asked.rounds))
    if asked.filter or failures:
        print(text)
    else:
        asked.out.write_text(text)
    sys.exit("\n".join(failures) or 0)


if __name__ == "__main__":
    main()
