#!/usr/bin/env python3
"""Measures each job in a process of its own, beside its peers, and writes docs/performance.md.

A benchmark `BM_Job_Peer/size` does for a peer what `BM_Job/size` does for the library. Each runs once a
round, ours and the peers in turn, so that a slow moment of the machine meets all of them; the median of
the rounds counts. A benchmark that got a wrong result stops or says so, and then the comparison fails.
"""

import argparse
import datetime
import json
import math
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
NAME = re.compile(r"(BM_[^_/]+)(?:_([^/]+))?((?:/[^/]+)*?)((?:/iterations:1|/min_time:[^/]+|/real_time)*)")
SCALES = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
PACKAGES = {"Boost": "libboost-dev", "cereal": "libcereal-dev", "Qt": "qtbase5-dev", "Abseil": "libabsl-dev",
            "mimalloc": "libmimalloc-dev", "GLib": "libglib2.0-dev", "SimpleIni": "libsimpleini-dev",
            "SQLite": "libsqlite3-dev", "OpenSSL": "libssl-dev", "ICU": "libicu-dev", "fmt": "libfmt-dev",
            "Google Benchmark": "libbenchmark-dev"}


class Job(NamedTuple):
    """`reach` and `peak` are the ratio to the best peer that time and peak memory are to have: a number,
    a number "of" one peer, or a time an item; one for all sizes or one each."""
    title: str
    name: str
    reach: object = None
    sizes: str = ".*"
    peak: object = None


STD_MAP = "1.0 of StdUnorderedMap"
SECTIONS = {
    "Trees": [
        Job("load, a node", "BM_TreeLoad", "1.0", peak="1.0"),
        Job("save, a node", "BM_TreeSave", "0.45", peak="0.9"),
        Job("build, a node", "BM_TreeBuild", "1.0"),
        Job("destroy, a node", "BM_TreeDestroy", "1.2"),
        Job("next sister", "BM_TreeSister", "1.0"),
        Job("remove the first child", "BM_TreeRemoveFirst", "1.5 of QObject"),
    ],
    "Pointers and locks": [
        Job("pointer copied and dropped, no thread", "BM_PointerCopy", "1.0", ".*started:0"),
        Job("pointer copied and dropped, threads", "BM_PointerCopy", "1.0", ".*started:1"),
        Job("lock and unlock, shared", "BM_LockR", "1.2"),
        Job("lock and unlock, exclusive", "BM_LockW", "1.0"),
    ],
    "Dictionaries": [
        Job("insert", "BM_DictionaryInsert", ["1.2", STD_MAP, STD_MAP]),
        Job("find, shuffled", "BM_DictionaryFindShuffled", ["2", STD_MAP, STD_MAP]),
        Job("find, in order", "BM_DictionaryFindInOrder", ["2", STD_MAP, STD_MAP]),
        Job("find, absent", "BM_DictionaryFindAbsent", ["2", STD_MAP, STD_MAP]),
        Job("narrow: insert", "BM_NarrowDictionaryInsert", STD_MAP),
        Job("narrow: find, shuffled", "BM_NarrowDictionaryFindShuffled", STD_MAP),
    ],
    "Texts": [
        Job("append a unit", "BM_StringAppendUnits", ["4 ns", "10 ns", "30 ns"]),
        Job("append a text of 10 units", "BM_StringAppendTexts", ["40 ns", "100 ns", "300 ns"]),
        Job("equality of two texts", "BM_StringEqual", "1.5"),
        Job("copy a text", "BM_StringCopy"),
    ],
    "Large blocks": [
        Job("free, allocate and touch", "BM_BlockExchange", "1.3"),
    ],
    "Settings": [
        Job("text profile at rest: read a key", "BM_TextProfileRead", "900 ns"),
        Job("text profile just changed: read a key", "BM_TextProfileReadYoung", "900 ns"),
        Job("text profile: fill in a default", "BM_TextProfileFill", "30 us"),
        Job("registry: read a value", "BM_ConfigRead", "1.2 us"),
        Job("registry: write a value", "BM_ConfigWrite", "1.1"),
    ],
    "Languages": [
        Job("import, a line", "BM_LanguageImport", "800 ns", ".*underscores:0"),
        Job("import, a line", "BM_LanguageImport", "800 ns", ".*underscores:1"),
        Job("translate", "BM_LanguageTranslate", "1.1"),
    ],
    "What leads": [
        Job("digest, a byte", "BM_Sha1Instructions"),
        Job("bit plane: set all bits, a byte", "BM_BitArraySetAllBits"),
        Job("bit plane: change the extent, a byte", "BM_BitArrayChangeExtent"),
        Job("to windows-1252, a unit", "BM_WideToAnsi", sizes=".*mix:1"),
        Job("from windows-1252, a unit", "BM_AnsiToWide", sizes=".*mix:1"),
        Job("collate", "BM_Collate"),
        Job("make a collation key", "BM_CollationKey"),
        Job("format a name", "BM_FormatNarrowName"),
        Job("format a number", "BM_FormatDouble"),
        Job("read a number", "BM_ScanDouble"),
        Job("step of a progress", "BM_ProgressNext"),
    ],
}


class Benchmark(NamedTuple):
    program: pathlib.Path
    name: str
    job: str
    peer: str
    size: str


def benchmarks(folder):
    for program in sorted(folder.glob("*_bench")):
        names = subprocess.run([program, "--benchmark_list_tests=true"], check=True, capture_output=True, text=True)
        for name in names.stdout.split():
            job, peer, size, _ = NAME.fullmatch(name).groups()
            if not (peer or "").startswith("Bare"):  # what the machine asks for, which is no peer
                yield Benchmark(program, name, job, peer or "", size)


def run(benchmark, scratch):
    """The figures of one process: nanoseconds an item, and what the job counted."""
    settings = {"TMPDIR": scratch, "QD_REGISTRY": f"{scratch}/registry"}
    done = subprocess.run(
        [benchmark.program, f"--benchmark_filter=^{re.escape(benchmark.name)}$", "--benchmark_format=json",
         "--benchmark_min_time=0.05"], capture_output=True, text=True, env=os.environ | settings)
    results = json.loads(done.stdout)["benchmarks"] if done.returncode == 0 else []
    if len(results) != 1 or results[0].get("error_occurred"):
        raise RuntimeError(f"{benchmark.name} failed: {results} {done.stderr[-500:]}")
    found = results[0]
    used = found["cpu_time"] * SCALES[found["time_unit"]]
    rate = found.get("items_per_second") or found.get("bytes_per_second") or 1e9 / used
    return {"time": 1e9 / rate, "peak": found.get("peak"), "kernel": found.get("kernel", 0) * 1e9, "used": used,
            "label": found.get("label")}


def measure(chosen, rounds, scratch):
    """{benchmark: [figures of each round]}; names those that failed."""
    figures, failures = {benchmark: [] for benchmark in chosen}, []
    for number in range(rounds):
        for index, benchmark in enumerate(chosen):
            print(f"\r\033[Kround {number + 1} of {rounds}, {index + 1} of {len(chosen)}: {benchmark.name}",
                  end="", file=sys.stderr)
            try:
                figures[benchmark].append(run(benchmark, scratch))
            except RuntimeError as error:
                failures.append(str(error))
    print(file=sys.stderr)
    return figures, failures


# --- the table ------------------------------------------------------------------------------------------

def time_text(ns):
    unit = next((unit for unit in ("s", "ms", "us") if ns >= SCALES[unit]), "ns")
    return f"{ns / SCALES[unit]:.3g} {unit}"


def size_text(size):
    parts = (part.rpartition(":") for part in size.strip("/").split("/") if part)
    return ", ".join(f"{int(number):,} {what}".strip() for what, _, number in parts)


def is_reached(reach, ours, best, peers):
    number, _, what = reach.partition(" ")
    if what in SCALES:
        return ours <= float(number) * SCALES[what]
    return ours <= float(number) * (peers[what.removeprefix("of ")] if what else best or math.inf) * 1.005


def row(title, size, metric, reach, ours, peers, first):
    """`ours` and `peers` are medians, `first` is ours at the first size."""
    text = time_text if metric == "time" else "{:.0f} bytes".format
    peer = min(peers, key=peers.get, default=None)
    cells = [title, size, text(ours)]
    cells += [f"{text(peers[peer])} {peer}", f"{ours / peers[peer]:.2f}"] if peer else ["", ""]
    if peer and round(ours / peers[peer], 2) > 1:
        cells = [f"**{cell}**" if cell else cell for cell in cells]
    missed = reach and not is_reached(reach, ours, peers.get(peer), peers)
    return cells + [f"{reach} (missed)" if missed else reach or "", f"{ours / first:.2f}"]


def rows_of(job, figures):
    def median(runs, metric):
        return statistics.median(figure[metric] for figure in runs)

    sizes = [(b, runs) for b, runs in figures.items() if b.job == job.name and not b.peer and runs
             and re.fullmatch(job.sizes, b.size)]
    for metric, title, reach in (("time", job.title, job.reach), ("peak", f"{job.title}: peak memory", job.peak)):
        if metric == "peak" and not reach:
            continue
        for index, (ours, runs) in enumerate(sizes):
            peers = {b.peer: median(peer_runs, metric) for b, peer_runs in figures.items()
                     if b.job == job.name and b.peer and b.size == ours.size and peer_runs}
            wanted = reach[index] if isinstance(reach, list) else reach
            cells = row(title, runs[0]["label"] or size_text(ours.size), metric, wanted, median(runs, metric), peers, median(sizes[0][1], metric))
            used = sum(figure["used"] for figure in runs)
            kernel = sum(figure["kernel"] for figure in runs)
            # The system counts in ticks: of a short time it does not know whose it was.
            yield cells + [f"{kernel / used:.0%}" if metric == "time" and kernel and used > 2e8 else ""]


def output(*command):
    done = subprocess.run(command, capture_output=True, text=True, cwd=ROOT)
    return done.stdout.strip() if done.returncode == 0 else ""


def machine(folder, rounds):
    cache = (folder.parent / "CMakeCache.txt").read_text()
    compiler = re.search(r"CMAKE_CXX_COMPILER:\w+=(.*)", cache).group(1)
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    versions = ((what, output("dpkg-query", "-W", "-f=${Version}", package)) for what, package in PACKAGES.items())
    return [f"- {datetime.date.today()}, state {output('git', 'rev-parse', '--short', 'HEAD')}, "
            f"median of {rounds} rounds, load at the end {os.getloadavg()[0]:.1f}",
            f"- {os.cpu_count()} cores, {memory:.0f} GiB, {platform.system()} {platform.release()}",
            f"- {output(compiler, '--version').splitlines()[0]}, "
            + ", ".join(f"{what} {version}" for what, version in versions if version)]


HEAD = """# Speed beside peers

Made by `./dev bench compare`; not to be edited. Each figure is from processes of their own, one a job and
round, ours and the peers in turn. Times are of the processor, the kernel's part included, where a file is
written in the end of the clock; an item each, medians. "growth" is ours over ours at the first size of the
job, "kernel" its part of the time. Bold: a peer is ahead. The peer is named as the benchmark that stands
beside ours in `bench`, which says what it does less.
"""


def table(figures, where):
    lines, behind, missed, count = [], 0, 0, 0
    for section, jobs in SECTIONS.items():
        rows = [cells for job in jobs for cells in rows_of(job, figures)]
        if not rows:
            continue
        lines += ["", f"## {section}", "", "| job | size | ours | best peer | ratio | to reach | growth | kernel |",
                  "|---|---|---|---|---|---|---|---|"]
        lines += [f"| {' | '.join(cells)} |" for cells in rows]
        behind += sum(cells[0].startswith("**") for cells in rows)
        missed += sum("missed" in cells[5] for cells in rows)
        count += len(rows)
    summary = f"Of {count} rows a peer is ahead in {behind}, and {missed} miss what they are to reach."
    return "\n".join([HEAD, *where, "", summary, *lines]) + "\n"


def main():
    options = argparse.ArgumentParser(description=__doc__)
    options.add_argument("filter", nargs="?", default="", help="part of a benchmark's name; then nothing is written")
    options.add_argument("--programs", type=pathlib.Path, default=ROOT / "build/linux-bench/bin")
    options.add_argument("--out", type=pathlib.Path, default=ROOT / "docs/performance.md")
    options.add_argument("--rounds", type=int, default=5)
    options.add_argument("--large", action="store_true", help="also trees of 10,000,000 nodes")
    asked = options.parse_args()
    if asked.large:
        os.environ["QD_BENCH_LARGE"] = "1"
    jobs = {job.name: job for section in SECTIONS.values() for job in section}
    known = list(benchmarks(asked.programs))
    chosen = [b for job in jobs for b in sorted(known, key=lambda b: known.index(b)) if b.job == job
              and re.search(asked.filter, b.name)]
    with tempfile.TemporaryDirectory() as scratch:
        figures, failures = measure(chosen, asked.rounds, scratch)
    text = table(figures, machine(asked.programs, asked.rounds))
    if asked.filter or failures:
        print(text)
    else:
        asked.out.write_text(text)
    sys.exit("\n".join(failures))


if __name__ == "__main__":
    main()
