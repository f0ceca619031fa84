#!/usr/bin/env python3
"""Replays what a power failure may leave of each operation that saves a file.

    power.py SECONDS SEED [FILTER]    part of a name of an operation or of a run: archive@new

strace records what an operation of Power.cpp does to its folder, three saves one after the other. Of each moment of
that recording those states of the folder are made that a disk may hold when the power fails then, and a program of
the library looks at each: the file must hold what is promised, the next save must succeed, and nothing may be left
behind it. What changes one file is also run with that file behind a link (@link), missing before (@new) and one that
cannot be moved over, so that it is copied over (@copied).

What a disk may hold is what the interfaces of the system allow, and not what some file system does better:

- Until a file is synchronised, each of its sectors of 512 bytes has the content of any moment since the last time, and
  its size is that of any moment, too, whatever the sectors hold. What was never written reads as zeros or as something
  foreign.
- Until a folder is synchronised, any of the changes of its entries are there and the others are not, also when they
  are later. A rename is one change: it is there or not.

That a file which is moved over another one is written before, without being synchronised, is no longer so: behind a
cut, ext4 as Linux 6.18 mounts it by default held zeros in its place, and XFS nothing.

Where a moment has few such states, all are replayed, else those that the seed draws, among them: all up to some
moment and nothing later, all but one, one alone.
"""

import bisect
import collections
import hashlib
import itertools
import math
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = ROOT / "build/linux/bin/qdpower"
FIRST, LAST = 1, 4  # what is there before, and the last number that is saved
SECTOR, BLOCK = 512, 4096  # bytes; files grow by blocks
FEW = 256  # states of a moment that are all replayed
MANY = 60  # moments of a run that one seed looks at
FOREIGN = b"\xa5" * SECTOR
BATCH = 32  # states

CALLS = """getppid open openat creat close dup dup2 dup3 fcntl read readv lseek write writev pwrite64 pwritev pwritev2
    ftruncate truncate fallocate rename renameat renameat2 unlink unlinkat mkdir mkdirat rmdir link linkat symlink
    symlinkat fsync fdatasync sync syncfs mmap msync copy_file_range sendfile""".split()


# --- a recording ----------------------------------------------------------------------------------

class Inode:
    """A file, folder or link with all that it ever held. Moments are numbers of changes; 0 is the beginning."""

    def __init__(self, content=b"", target=None, is_folder=False):
        self.target, self.is_folder, self.is_shared_memory = target, is_folder, False
        self.sizes = [(0, len(content))]
        self.sectors = {}  # number: what it held from which moment on
        self.syncs = [0]
        self.write(0, 0, content)

    def size(self):
        return self.sizes[-1][1]

    def write(self, moment, offset, data):
        for number in range(offset // SECTOR, -(-(offset + len(data)) // SECTOR)):
            start = number * SECTOR
            old = self.sectors.setdefault(number, [(-1, None)])[-1][1] or bytes(SECTOR)
            begin, end = max(offset, start), min(offset + len(data), start + SECTOR)
            new = old[:begin - start] + data[begin - offset:end - offset] + old[end - start:]
            self.sectors[number].append((moment, new))
        self.grow(moment, offset + len(data))

    def grow(self, moment, size):
        """Block by block, as it may be written."""
        for end in range(self.size() // BLOCK * BLOCK + BLOCK, size, BLOCK):
            self.sizes.append((moment, end))
        if size > self.size():
            self.sizes.append((moment, size))

    def truncate(self, moment, size):
        if size >= self.size():
            self.grow(moment, size)
            return
        for number, history in self.sectors.items():
            kept = max(0, min(SECTOR, size - number * SECTOR))
            if kept < SECTOR and history[-1][1]:
                history.append((moment, history[-1][1][:kept] + bytes(SECTOR - kept)))
        self.sizes.append((moment, size))


Change = collections.namedtuple("Change", "moment folder removed added inode")  # of a folder's entries


class Recording:
    """What an operation did to a folder, from the lines of strace."""

    def __init__(self, folder):
        self.moment, self.changes, self.marks, self.told = 0, [], [], [""]
        self.prefix = str(folder)
        self.root = Inode(is_folder=True)
        self.first = {self.root: {}}  # entries of the folders, at the beginning
        self.descriptors = {}  # of a process and number: [inode, offset, whether it appends]
        self.take(folder, self.root)
        self.now = {inode: dict(entries) for inode, entries in self.first.items()}

    def take(self, folder, inode):
        for path in sorted(folder.iterdir()):
            child = (Inode(target=os.readlink(path)) if path.is_symlink() else
                     Inode(is_folder=True) if path.is_dir() else Inode(path.read_bytes()))
            self.first[inode][path.name] = child
            if child.is_folder:
                self.first[child] = {}
                self.take(path, child)

    def replay(self, lines):
        for line in lines:
            parts = re.match(r"(\d+) +(\w+)\((.*)\) += (-?\w+)", line)
            if parts is None:
                if re.match(r"\d+ +(\+\+\+|---)", line):
                    continue
                raise ValueError(f"no call: {line[:200]}")
            process, call, text, result = parts.groups()
            if int(result, 0) >= 0:
                self.line = line
                self.do(process, call, text, int(result, 0))

    def next(self):
        self.moment += 1
        self.told.append(self.line)
        return self.moment

    def tell(self, moment):
        """What happened then, for people."""
        return re.sub(r'"((?:\\x[0-9a-f]{2})*)"', lambda match: repr(texts(match[0])[0][:100])[1:],
                      self.told[moment])[:300]

    def place(self, path):
        """(folder, name, inode or None), which may be that of a link; None outside of the root."""
        path = os.path.normpath(path.decode("utf-8", "surrogateescape"))
        if path == self.prefix:
            return None, "", self.root
        if not path.startswith(self.prefix + "/"):
            return None
        names = path[len(self.prefix) + 1:].split("/")
        folder = self.root
        for name in names[:-1]:
            folder = self.now[folder].get(name)
            if folder is None or not folder.is_folder:
                raise ValueError(f"a path through no folder: {path}")
        return folder, names[-1], self.now[folder].get(names[-1])

    def change(self, folder, removed, added, inode):
        self.changes.append(Change(self.next(), folder, removed, added, inode))
        apply(self.now, self.changes[-1])

    def do(self, process, call, text, result):
        words = text.split(", ")
        key = (process, int(words[0])) if re.fullmatch(r"\d+", words[0]) else None
        opened = self.descriptors.get(key)
        if call == "getppid":
            self.marks.append(self.next())
        elif call in ("open", "openat", "creat"):
            self.open(process, call, text, result)
        elif call in ("dup", "dup2", "dup3") or call == "fcntl" and words[1].startswith("F_DUPFD"):
            self.descriptors[process, result] = opened
        elif call in ("rename", "renameat", "renameat2"):
            (old_folder, old, inode), (folder, name, _) = map(self.place, texts(text))
            if folder is not old_folder:
                raise ValueError(f"from folder to folder: {self.line}")
            self.change(folder, old, name, inode)
        elif call in ("unlink", "unlinkat", "rmdir"):
            if place := self.place(texts(text)[0]):
                self.change(place[0], place[1], None, place[2])
        elif call in ("mkdir", "mkdirat"):
            if place := self.place(texts(text)[0]):
                made = Inode(is_folder=True)
                self.first[made], self.now[made] = {}, {}
                self.change(place[0], None, place[1], made)
        elif call == "mmap":
            if "MAP_SHARED" in text and "PROT_WRITE" in text and (found := self.descriptors.get(
                    (process, int(words[4]) if words[4].isdigit() else -1))):
                found[0].is_shared_memory = True  # written unseen, at any time
        elif opened is not None:
            self.use(key, opened, call, text, words, result)
        elif call in ("sync", "syncfs", "truncate") or call.startswith(("link", "symlink")):
            raise ValueError(f"not modelled: {text}")

    def open(self, process, call, text, result):
        self.descriptors.pop((process, result), None)
        place = self.place(texts(text)[0])
        if place is None:
            return
        folder, name, inode = place
        while inode is not None and inode.target is not None:
            if inode.target.startswith("/"):
                raise ValueError(f"an absolute link: {inode.target}")
            folder, name, inode = self.place(f"{self.path_of(folder)}/{inode.target}".encode())
        if inode is None:
            inode = Inode()
            self.change(folder, None, name, inode)
        if "O_TRUNC" in text and inode.size() > 0:
            inode.truncate(self.next(), 0)
        self.descriptors[process, result] = [inode, 0, "O_APPEND" in text]

    def path_of(self, wanted):
        if wanted is self.root:
            return self.prefix
        return next(f"{self.path_of(folder)}/{name}" for folder, entries in self.now.items()
                    for name, inode in entries.items() if inode is wanted)

    def use(self, key, opened, call, text, words, result):
        inode = opened[0]
        if call == "close":
            del self.descriptors[key]
        elif call in ("read", "readv"):
            opened[1] += result
        elif call == "lseek":
            opened[1] = result
        elif call in ("write", "writev"):
            if opened[2]:
                opened[1] = inode.size()
            inode.write(self.next(), opened[1], b"".join(texts(text))[:result])
            opened[1] += result
        elif call == "pwrite64":
            inode.write(self.next(), int(words[-1]), texts(text)[0][:result])
        elif call == "ftruncate":
            inode.truncate(self.next(), int(words[1]))
        elif call == "fallocate" and words[1] == "0":
            inode.grow(self.next(), int(words[2]) + int(words[3]))
        elif call in ("fsync", "fdatasync"):
            inode.syncs.append(self.next())
        elif call not in ("fcntl", "open", "msync"):
            raise ValueError(f"not modelled: {self.line[:200]}")


def texts(text):
    if '"...' in text:
        raise ValueError("strace left something out")
    return [bytes.fromhex(match.replace("\\x", "")) for match in re.findall(r'"((?:\\x[0-9a-f]{2})*)"', text)]


def apply(entries, change):
    folder = entries[change.folder]
    if change.removed is not None and folder.get(change.removed) is change.inode:
        del folder[change.removed]
    if change.added is not None:
        folder[change.added] = change.inode


# --- what a disk may hold -------------------------------------------------------------------------

def last_until(moments, moment):
    return moments[bisect.bisect_right(moments, moment) - 1]


class Moment:
    """The power fails right behind a change."""

    def __init__(self, recording, moment, rng):
        self.recording, self.moment, self.rng = recording, moment, rng
        changes = [change for change in recording.changes if change.moment <= moment]
        self.done = [change for change in changes if change.moment <= last_until(change.folder.syncs, moment)]
        self.open = [change for change in changes if change not in self.done]

    def world(self, number):
        """The changes of entries that have their bit in the number are there."""
        return World(self, [change for bit, change in enumerate(self.open) if number >> bit & 1])

    def states(self):
        """All when they are few, else without end."""
        ways = 2 ** len(self.open)
        worlds, count = [], ways
        for number in range(ways):
            if count > FEW:
                break
            worlds.append(self.world(number))
            count += worlds[-1].count() - 1
        if count <= FEW:
            states = [(world, choice) for world in worlds for choice in world.all()]
            self.rng.shuffle(states)
            yield from (world.state(choice) for world, choice in states)
            return
        while True:
            world = self.world(self.rng.choice((0, ways - 1, self.rng.randrange(ways))))
            yield world.state(world.draw())


class World:
    """A choice of entries; what is left to choose are the contents of the files that they lead to."""

    def __init__(self, moment, changes):
        self.moment, recording = moment, moment.recording
        self.entries = {inode: dict(entries) for inode, entries in recording.first.items()}
        for change in sorted(moment.done + changes):
            apply(self.entries, change)
        self.paths = []  # (path, inode)
        self.walk("", recording.root)
        self.floors = {inode: last_until(inode.syncs, moment.moment) for _, inode in self.paths}  # what is durable
        self.choices = [choice for _, inode in self.paths if not inode.is_folder for choice in self.choices_of(inode)]

    def walk(self, path, folder):
        for name, inode in sorted(self.entries[folder].items()):
            self.paths.append((path + name, inode))
            if inode.is_folder:
                self.walk(f"{path}{name}/", inode)

    def choices_of(self, inode):
        """(inode, sector or None for the size, [(moment, value)])"""
        for number, history in ((None, inode.sizes), *inode.sectors.items()):
            options = self.options(history, self.floors[inode])
            if len(options) > 1:
                yield inode, number, options

    def options(self, history, floor):
        begin = bisect.bisect_right(history, floor, key=lambda entry: entry[0]) - 1
        end = bisect.bisect_right(history, self.moment.moment, key=lambda entry: entry[0])
        return history[max(begin, 0):end]

    def count(self):
        return math.prod(len(options) for _, _, options in self.choices)

    def all(self):
        return itertools.product(*(range(len(options)) for _, _, options in self.choices))

    def draw(self):
        rng = self.moment.rng
        ends = [len(options) - 1 for _, _, options in self.choices]
        one = rng.randrange(len(ends)) if ends else None
        way = rng.choice(("cut", "random", "all but one", "one", "sizes", "data"))
        if way == "cut":
            cut = rng.randint(min(self.floors.values(), default=0), self.moment.moment)
            return [max(bisect.bisect_right(options, cut, key=lambda entry: entry[0]) - 1, 0)
                    for _, _, options in self.choices]
        if way == "random":
            return [rng.randint(0, end) for end in ends]
        if way in ("sizes", "data"):
            return [end if (number is None) == (way == "sizes") or rng.random() < 0.1 else 0
                    for end, (_, number, _) in zip(ends, self.choices)]
        return [(rng.randint(0, end) if at == one else end) if way == "all but one" else
                (end if at == one or self.choices[at][1] is None else 0) for at, end in enumerate(ends)]

    def state(self, choice):
        """{path: its bytes, None for a folder, a text for a link}"""
        chosen = {(inode, number): options[at] for at, (inode, number, options) in zip(choice, self.choices)}
        never = self.moment.rng.choice((bytes(SECTOR), FOREIGN))
        return {path: None if inode.is_folder else inode.target if inode.target is not None else
                self.content(inode, chosen, never) for path, inode in self.paths}

    def content(self, inode, chosen, never):
        _, size = chosen.get((inode, None)) or self.latest(inode.sizes)
        if inode.is_shared_memory:
            return (never * (size // SECTOR + 1))[:size]
        pieces = []
        for number in range(-(-size // SECTOR)):
            history = inode.sectors.get(number, [(0, None)])
            _, data = chosen.get((inode, number)) or self.latest(history)
            pieces.append(data or never)
        return b"".join(pieces)[:size]

    def latest(self, history):
        return self.options(history, self.moment.moment)[-1]


# --- recording ------------------------------------------------------------------------------------

Run = collections.namedtuple("Run", "name operation promise recording path is_new is_copied")


def record(name, operation, promise, template, path, inject=()):
    folder = template.parent / "recorded"
    shutil.copytree(template, folder, symlinks=True)
    log = template.parent / "log"
    recording = Recording(folder)
    done = subprocess.run(
        ["strace", "-f", "-xx", "-s", "16777216", "-o", log, "-e", "signal=none", "-e", "trace=" + ",".join(CALLS),
         *inject, PROGRAM, "save", folder, operation, str(FIRST + 1), str(LAST)],
        env=dict(os.environ, TMPDIR=str(template.parent)), check=False)
    shutil.rmtree(folder)
    if done.returncode != 0:
        sys.exit(f"{name}: a save was refused")
    recording.replay(line for line in log.read_text().splitlines()
                     if "(INJECTED)" not in line and " = ?" not in line)
    return Run(name, operation, promise, recording, path, name.endswith("@new"), bool(inject))


def runs(root, wanted):
    listed = subprocess.run([PROGRAM, "list"], stdout=subprocess.PIPE, text=True, check=True).stdout
    for operation, promise, path in (line.split("\t") for line in listed.splitlines()):
        if wanted.partition("@")[0] not in operation:
            continue
        template = root / "template"
        template.mkdir()
        subprocess.run([PROGRAM, "save", template, operation, str(FIRST), str(FIRST)], check=True,
                       env=dict(os.environ, TMPDIR=str(root)))
        plain = record(operation, operation, promise, template, path)
        yield plain
        if path:
            if any(change.removed and change.added for change in plain.recording.changes):
                yield record(operation + "@copied", operation, promise, template, path,
                             ["-e", "inject=rename,renameat,renameat2:error=EBUSY"])
            file = template / path
            (file.parent / "real").mkdir()
            file.rename(file.parent / "real" / file.name)
            file.symlink_to(pathlib.Path("real") / file.name)
            yield record(operation + "@link", operation, promise, template, path)
            file.unlink()
            shutil.rmtree(file.parent / "real")
            yield record(operation + "@new", operation, promise, template, path)
        shutil.rmtree(template)


# --- looking at the states ------------------------------------------------------------------------

def make(folder, state):
    folder.mkdir()
    for path, content in state.items():  # folders come before what is in them
        if content is None:
            (folder / path).mkdir()
        elif isinstance(content, str):
            (folder / path).symlink_to(content)
        else:
            (folder / path).write_bytes(content)


def wrong(run, moment, state, answer):
    """What a state breaks of the promise; nothing when all is well."""
    words = answer.split()
    if len(words) != 5:
        return f"the reader {' '.join(words[1:]) or 'ended'}"
    found, is_saved, following, afterwards, drafts = map(int, words)
    acknowledged = FIRST + bisect.bisect_right(run.recording.marks, moment) - 1
    is_idle = moment in run.recording.marks or acknowledged == LAST
    promise = run.promise
    initial = FIRST
    if run.is_new:
        acknowledged, initial = acknowledged if acknowledged > FIRST else 0, 0
        if found < 0 and (run.path not in state or promise != "durable"):
            found = 0
    if run.is_copied and (promise != "durable" or not is_idle):
        promise = "nothing"
    least = {"durable": acknowledged, "atomic": initial, "kept": initial, "nothing": found}[promise]
    if not least <= found <= max(LAST, found if promise == "nothing" else 0):
        return "is torn" if found < 0 else f"has {found}, though {acknowledged} was acknowledged"
    if not is_saved:
        return "takes no next save"
    is_whole = promise == "durable" or promise == "atomic" and not run.is_new
    if is_whole and afterwards != following:
        return f"has {afterwards} behind the next save, not {following}"
    return f"has {drafts} drafts behind the next save" if drafts else ""


class Replay:
    def __init__(self, root):
        self.root, self.counts, self.faults, self.number = root, collections.Counter(), collections.Counter(), 0
        self.judge = subprocess.Popen([PROGRAM, "judge"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                      bufsize=1, env=dict(os.environ, TMPDIR=str(root)))
        self.waiting = collections.deque()

    def add(self, run, moment, state):
        self.number += 1
        folder = self.root / f"state{self.number}"
        make(folder, state)
        self.judge.stdin.write(f"{folder}\t{run.operation}\n")
        self.waiting.append((run, moment, state, folder))
        if len(self.waiting) >= BATCH:
            self.settle()

    def settle(self):
        run, moment, state, folder = self.waiting.popleft()
        fault = wrong(run, moment, state, self.judge.stdout.readline())
        name = run.name
        self.counts[name] += 1
        if fault:
            self.faults[name] += 1
            if self.faults[name] <= 3:
                print(f"{name}: {fault}, when the power fails behind {run.recording.tell(moment)}")
                print("   ", {path: content if content is None or isinstance(content, str) else len(content)
                              for path, content in state.items()}, flush=True)
        shutil.rmtree(folder)

    def end(self):
        while self.waiting:
            self.settle()
        self.judge.stdin.close()
        self.judge.wait()


def fingerprint(run, moment, state):
    digest = hashlib.blake2b(f"{run.name} {bisect.bisect(run.recording.marks, moment)}".encode())
    for path, content in state.items():
        digest.update(f"{path} {len(content) if content else content}".encode())
        digest.update(content if isinstance(content, bytes) else b"")
    return digest.digest()


def points(all_runs, rng):
    """A source of states for moments of each run."""
    for run in all_runs:
        moments = range(run.recording.marks[0], run.recording.moment + 1)
        for moment in rng.sample(moments, min(len(moments), MANY)):
            yield run, moment, Moment(run.recording, moment, rng).states()


def main():
    seconds, rng = float(sys.argv[1]), random.Random(int(sys.argv[2]))
    wanted = sys.argv[3] if len(sys.argv) > 3 else ""
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None
    with tempfile.TemporaryDirectory(prefix="qd-power", dir=memory) as name:
        root = pathlib.Path(name)
        all_runs = [run for run in runs(root, wanted) if wanted in run.name]
        end = time.monotonic() + seconds
        open_points = list(points(all_runs, rng))
        rng.shuffle(open_points)
        replay, seen = Replay(root), set()
        while open_points and time.monotonic() < end:
            still_open = []
            for run, moment, states in open_points:
                if time.monotonic() >= end:
                    break
                for state in itertools.islice(states, FEW):  # until a new one
                    if (mark := fingerprint(run, moment, state)) not in seen:
                        seen.add(mark)
                        replay.add(run, moment, state)
                        still_open.append((run, moment, states))
                        break
            open_points = still_open
        replay.end()
    for name in replay.counts:
        print(f"{name:44}{replay.counts[name]:8} states{replay.faults[name]:6} faults")
    print(f"{sum(replay.counts.values())} states")
    return sum(replay.faults.values()) > 0


if __name__ == "__main__":
    sys.exit(main())
