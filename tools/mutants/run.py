#!/usr/bin/python3
"""Tells how many planted faults the tests notice, by folder of core.

    run.py [FOLDER...] [--count N] [--seed N] [--files PATTERN]

Copies the project to build/mutants, plants every mutant of the folders (see plant.py) and builds the
two test programs once. Each test then runs alone and leaves the numbers of the mutants that it
reaches; a mutant can only be noticed by those. Of each folder `--count` mutants are drawn (all: 0)
and each is woken by an environment variable while its tests run, as a user without rights, in a
folder of its own, with limits of time, memory and file sizes. Noticed is what makes a test fail,
crash or take far too long.

accepted.txt names survivors: those that change nothing that a caller could see do not count,
the others count as not noticed and say why they stay.
"""

import argparse
import concurrent.futures
import fnmatch
import json
import multiprocessing
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

import plant

ROOT = pathlib.Path(__file__).resolve().parents[2]
HERE = pathlib.Path(__file__).resolve().parent
WORK = ROOT / "build" / "mutants"
TREE, BUILD = WORK / "tree", WORK / "build"
PROGRAMS = ["qdcore_tests", "qdcore_seam_tests"]
WORKERS = os.cpu_count() or 1
LIBRARY = WORK / "libqdmutants.so"


# --- planting and building -----------------------------------------------------------------------


def write_if_changed(path, content):
    if path.exists() and path.read_bytes() == content:
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def copy_project():
    files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           cwd=ROOT, stdout=subprocess.PIPE, check=True).stdout.decode().split("\0")
    files = [name for name in files if name and (ROOT / name).is_file()]
    for path in [path for path in TREE.rglob("*") if path.is_file()]:
        if str(path.relative_to(TREE)) not in files:
            path.unlink()
    return files


def arguments_of(commands):
    """What Clang's library needs to read a file: the include paths and definitions of any command."""
    command = shlex.split(next(c["command"] for c in commands if "/core/" in c["file"]))
    kept = [word for word in command if word.startswith(("-I", "-D"))]
    resources = subprocess.run(["clang++", "-print-resource-dir"], stdout=subprocess.PIPE, text=True,
                               check=True).stdout.strip()
    return ["-x", "c++", "-std=c++20", "-resource-dir", resources, "-DQD_CORE_BUILD", *kept]


def find_in(job):
    name, arguments = job
    return plant.find(name, str(ROOT / name), arguments)


def is_mutated(name, folders):
    parts = name.split("/")
    return (parts[0] == "core" and len(parts) > 2 and parts[1] in folders and "win32" not in parts
            and name.endswith((".h", ".cpp", ".inl")))


def find_mutants(names):
    commands = json.loads((ROOT / "build/linux/compile_commands.json").read_text())
    arguments = arguments_of(commands)
    with multiprocessing.Pool(WORKERS) as pool:
        found = [mutant for part in pool.map(find_in, [(name, arguments) for name in names], 1)
                 for mutant in part]
    lines = {name: (ROOT / name).read_text().splitlines() for name in names}
    for number, mutant in enumerate(found, 1):
        mutant.number = number
        mutant.source = lines[mutant.path][mutant.line - 1].strip()
    return found


ERROR = re.compile(r"^([^:\s]+):(\d+):(\d+)(: (?:error|note):)", re.MULTILINE)


def refused(output, mutants):
    """The mutants at the places where the compiler complained."""
    gone = set()
    for file, line, column, rest in ERROR.findall(output):
        path = pathlib.Path(os.path.normpath(BUILD / file))  # the compiler cache makes them relative
        if not path.is_relative_to(TREE):
            continue
        name = str(path.relative_to(TREE))
        lines = path.read_bytes().split(b"\n")
        line = int(line)
        offset = sum(len(text) + 1 for text in lines[:line - 1]) + int(column) - 1
        here = [m for m in mutants if m.path == name]
        around = [m for m in here if m.span[0] <= offset < m.span[1]]
        if around:
            gone.add(min(around, key=lambda m: m.span[1] - m.span[0]).number)
        elif ": error:" in rest:  # the complaint is about what stands around a mutant
            start = offset - int(column) + 1
            gone |= {m.number for m in here if start <= m.span[0] <= start + len(lines[line - 1])}
    return gone


def build(mutants, names):
    subprocess.run(["clang++", "-std=c++20", "-fPIC", "-shared", "-O2", HERE / "Mutants.cpp", "-o",
                    LIBRARY], check=True)
    others = set(copy_project()) - set(names)
    for name in others:
        write_if_changed(TREE / name, (ROOT / name).read_bytes())
    environment = dict(os.environ, CCACHE_BASEDIR=str(TREE), CCACHE_NOHASHDIR="1",
                       CCACHE_SLOPPINESS="pch_defines,time_macros")
    configure = ["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "--log-level=WARNING",
                 "-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache",
                 "-DCMAKE_BUILD_TYPE=None", "-DQD_TESTS=ON",
                 f"-DCMAKE_CXX_FLAGS=-O1 -w -ferror-limit=0 -include {HERE}/Mutants.h",
                 f"-DCMAKE_CXX_STANDARD_LIBRARIES={LIBRARY}"]
    while True:
        for name in names:
            here = [mutant for mutant in mutants if mutant.path == name]
            write_if_changed(TREE / name, plant.planted((ROOT / name).read_bytes(), here))
        subprocess.run(configure, check=True, env=environment, stdout=subprocess.DEVNULL)
        result = subprocess.run(["cmake", "--build", BUILD, "--target", *PROGRAMS, "--", "-k", "0"],
                                env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if result.returncode == 0:
            return mutants
        gone = refused(result.stdout, mutants)
        if not gone:
            sys.exit(result.stdout[-4000:] + "\nThe mutated sources do not compile.")
        print(f"{len(gone)} mutants do not compile and are left out", flush=True)
        mutants = [mutant for mutant in mutants if mutant.number not in gone]


# --- running -------------------------------------------------------------------------------------


class Sandbox:
    """A folder of its own for one run, a user without rights, and limits."""

    SIZE = 5 << 30  # of a file, with holes; more than 4 GiB for the tests of large files
    MEMORY = 8 << 30  # of addresses
    USER = 54321  # nobody's, so that a mutated path harms nothing outside the folder

    def __enter__(self):
        self.folder = tempfile.mkdtemp(prefix="mutant-")
        if os.getuid() == 0:
            os.chown(self.folder, self.USER, self.USER)
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder, ignore_errors=True)

    def limit(self):
        os.setsid()
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_FSIZE, (self.SIZE, self.SIZE))
        resource.setrlimit(resource.RLIMIT_AS, (self.MEMORY, self.MEMORY))
        if os.getuid() == 0:
            os.setgroups([])
            os.setgid(self.USER)
            os.setuid(self.USER)

    def run(self, program, tests, seconds, **more):
        """True when all tests passed in time."""
        return self.output(program, tests, seconds, "--gtest_fail_fast", **more) is None

    def failing(self, program, tests, seconds, **more):
        """Those of the tests that fail; one that crashes or hangs, and then those behind it, too."""
        failed = set()
        while tests:
            output = self.output(program, tests, seconds, **more)
            if output is None:
                break
            failed |= set(re.findall(r"^\[  FAILED  \] ([\w/.]+)", output, re.MULTILINE))
            begun = re.findall(r"^\[ RUN      \] ([\w/.]+)", output, re.MULTILINE)
            if not begun or f"[       OK ] {begun[-1]}" in output or begun[-1] in failed:
                break
            failed.add(begun[-1])
            tests = [test for test in tests if test not in begun]
        return failed

    def output(self, program, tests, seconds, *flags, **more):
        """None when all tests passed in time, or else what was printed."""
        environment = dict(HOME=self.folder, TMPDIR=self.folder, PATH=os.environ["PATH"], LANG="C.UTF-8",
                           **more)
        with open(os.path.join(self.folder, "output"), "w+b") as printed:
            process = subprocess.Popen(
                [BUILD / "bin" / program, *flags, "--gtest_filter=" + ":".join(tests)],
                cwd=self.folder, env=environment, stdin=subprocess.DEVNULL, stdout=printed,
                stderr=subprocess.DEVNULL, preexec_fn=self.limit)
            try:
                passed = process.wait(seconds) == 0
            except subprocess.TimeoutExpired:
                passed = False
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()
            printed.seek(0)
            return None if passed else printed.read(1 << 24).decode(errors="replace")


def tests_of(program):
    text = subprocess.run([BUILD / "bin" / program, "--gtest_list_tests"], stdout=subprocess.PIPE, text=True,
                          check=True).stdout
    suite = ""
    for line in text.splitlines():
        word = line.split("#")[0].rstrip()
        if not line.startswith(" "):
            suite = word
        elif "DISABLED_" not in word and suite.endswith("."):
            yield suite + word.strip()


class Suite:
    """All tests, with the mutants that each reaches and the time that it takes."""

    def __init__(self, size):
        self.size = size
        self.reaching = {}  # mutant: [(seconds, program, test)]
        self.failing = []
        jobs = [(program, test) for program in PROGRAMS for test in tests_of(program)]
        with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
            list(pool.map(self.record, jobs))
        for tests in self.reaching.values():
            tests.sort()

    def record(self, job):
        program, test = job
        with Sandbox() as sandbox:
            file = os.path.join(sandbox.folder, "reached")
            pathlib.Path(file).write_bytes(bytes(self.size))
            os.chmod(file, 0o666)
            start = time.monotonic()
            passed = sandbox.run(program, [test], 120, QD_MUTANTS_REACHED=file)
            seconds = time.monotonic() - start
            flags = pathlib.Path(file).read_bytes()
        if not passed:
            self.failing.append(test)
            return
        for number, flag in enumerate(flags):
            if flag:
                self.reaching.setdefault(number, []).append((seconds, program, test))

    def notices(self, mutant):
        """True when a test fails, crashes or does not end; the quick ones first."""
        tests = self.reaching.get(mutant.number, [])
        for some in (tests[:25], tests[25:]):
            for program in PROGRAMS:
                chosen = [test for test in some if test[1] == program]
                seconds = 10 + 2 * sum(test[0] for test in chosen)
                if chosen:
                    with Sandbox() as sandbox:
                        if not sandbox.run(program, [test[2] for test in chosen], seconds,
                                           QD_MUTANT=str(mutant.number)):
                            return True
        return False


    def noticing(self, mutant):
        """All tests that fail, crash or do not end."""
        names = set()
        for program in PROGRAMS:
            chosen = [test for test in self.reaching.get(mutant.number, []) if test[1] == program]
            if chosen:
                with Sandbox() as sandbox:
                    names |= sandbox.failing(program, [test[2] for test in chosen],
                                             10 + 2 * sum(test[0] for test in chosen),
                                             QD_MUTANT=str(mutant.number))
        return {re.sub(r"^\w+/(?=\w+/\d)|/\d+", "", name) for name in names}


TEST = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),\s*(\w+)\)\n\{.*?^\}", re.MULTILINE | re.DOTALL)


def lengths_of_tests():
    """{suite and name: lines}"""
    return {f"{match[1]}.{match[2]}": match[0].count("\n") + 2
            for path in (ROOT / "tests").rglob("*.cpp") for match in TEST.finditer(path.read_text())}


def report_needless(suite, mutants):
    """Tests without which the others notice all that is noticed, the longest first."""
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        noticed = [names for names in pool.map(suite.noticing, mutants) if names]
    lengths = lengths_of_tests()
    for name in sorted(lengths, key=lengths.get, reverse=True):
        if all(len(names) > 1 for names in noticed if name in names):
            for names in noticed:
                names.discard(name)
            print(f"needless for these mutants: {name}, {lengths[name]} lines", flush=True)


# --- what was accepted, and the report -----------------------------------------------------------


def accepted():
    """{(path, source line, what): (kind, reason)}; kind is "same" or "left"."""
    rows = {}
    file = HERE / "accepted.txt"
    for line in file.read_text().splitlines() if file.exists() else []:
        if line and not line.startswith("#"):
            kind, path, source, what, reason = [part.strip() for part in line.split(" | ")]
            rows[path, source, what] = (kind, reason)
    return rows


def key_of(mutant):
    return mutant.path, mutant.source, mutant.what


def folder_of(mutant):
    return mutant.path.split("/")[1]


def drawn(mutants, count, seed):
    """`count` of each folder, the same for the same sources and seed."""
    chosen = []
    for folder in sorted({folder_of(mutant) for mutant in mutants}):
        of_folder = [mutant for mutant in mutants if folder_of(mutant) == folder]
        random.Random(f"{seed} {folder}").shuffle(of_folder)
        chosen += of_folder[:count or None]
    return chosen


def main():
    every = sorted(path.name for path in (ROOT / "core").iterdir() if path.is_dir())
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("folders", nargs="*", default=every, metavar="FOLDER")
    parser.add_argument("--count", type=int, default=100, help="mutants a folder; 0: all (100)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--files", default="*", help="only files whose names match")
    parser.add_argument("--needless", action="store_true",
                        help="also tells tests whose removal loses none of what is noticed")
    options = parser.parse_args()
    folders = options.folders or every
    if unknown := set(folders) - set(every):
        sys.exit(f"no such folder of core: {', '.join(sorted(unknown))}")

    WORK.mkdir(parents=True, exist_ok=True)
    files = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "core"],
                           cwd=ROOT, stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()
    names = [name for name in files if is_mutated(name, folders) and (ROOT / name).exists()
             and fnmatch.fnmatch(os.path.basename(name), options.files)]
    mutants = find_mutants(names)
    size = len(mutants) + 1
    print(f"{len(mutants)} mutants in {len(names)} files; seed {options.seed}", flush=True)
    mutants = build(mutants, names)
    suite = Suite(size)
    for test in suite.failing:
        print(f"left out, fails without a mutant: {test}", flush=True)

    known = accepted()
    chosen = [mutant for mutant in drawn(mutants, options.count, options.seed)
              if known.get(key_of(mutant), ("",))[0] != "same"]
    lock, survivors = threading.Lock(), []

    def judge(mutant):
        if suite.notices(mutant):
            return
        with lock:
            survivors.append(mutant)
            path, line, what = key_of(mutant)
            kind = known.get((path, line, what), ("new",))[0]
            reached = "" if mutant.number in suite.reaching else " (no test comes here)"
            print(f"{kind} | {path}:{mutant.line} | {line} | {what}{reached}", flush=True)

    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        list(pool.map(judge, chosen))

    print(f"{'folder':<12}{'planted':>9}{'noticed':>9}{'share':>8}")
    for folder in [folder for folder in every if folder in folders]:
        planted = sum(folder_of(mutant) == folder for mutant in chosen)
        noticed = planted - sum(folder_of(mutant) == folder for mutant in survivors)
        if planted:
            print(f"{folder:<12}{planted:>9}{noticed:>9}{100 * noticed / planted:>7.0f}%", flush=True)
    if options.needless:
        report_needless(suite, chosen)


if __name__ == "__main__":
    main()
