#!/usr/bin/env python3
"""Makes every system call and allocation of the library's file operations fail, one by one.

    faults.py [FILTER]    part of a name of an operation or of a run: text-write@link:openat.3:EIO

A run is one operation of Faults.cpp in a fresh folder with one fault: a system call that strace
answers with an error, an allocation that fails, or a file that may not grow. A fault comes `once`,
`on` (that call from there on) or to `all` calls that know the error from there on. Then the files
must hold the old or the new content, the operation must have told which, nothing may be left
behind, and a second try in the same process must succeed. Operations whose name ends with "!" may
leave something in between when they say so. What changes a file is also run with that file behind a
symbolic link (@link) and without it (@new). build/faults.txt lists every faulty run.
"""

import collections
import concurrent.futures
import itertools
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = ROOT / "build/linux/bin/qdfaults"
LIST = ROOT / "build/faults.txt"
WORKERS = 2
TIME_LIMIT = 30  # seconds; the library's own waits end after 10
SIZES = [0, 1, 100, 4096, 5000, 9000, 14000, 32768]  # in bytes, beyond which no file grows

ERRORS = {
    "openat": "EACCES EMFILE EIO ENOSPC EINTR",
    "read pread64": "EIO EINTR",
    "write pwrite64 writev": "ENOSPC EIO EINTR",
    "fsync fdatasync": "EIO ENOSPC",
    "rename renameat renameat2": "EACCES EIO ENOSPC EXDEV",
    "newfstatat fstat stat lstat statx readlink readlinkat": "EACCES EIO",
    "access faccessat faccessat2": "EACCES EIO",
    "flock": "ENOLCK EINTR",
    "fcntl": "EIO EINTR",
    "ftruncate": "EIO ENOSPC",
    "fallocate": "ENOSPC EIO EOPNOTSUPP",
    "lseek getdents64 statfs fstatfs getxattr fsetxattr": "EIO",
    "unlink unlinkat": "EACCES EIO",
    "mkdir mkdirat": "EACCES EIO ENOSPC",
    "chmod fchmod fchown": "EPERM EIO",
    "mmap": "ENOMEM",
}
ERRORS_OF = {call: errors.split() for calls, errors in ERRORS.items() for call in calls.split()}
ONCE_ONLY = {"EINTR", "fcntl"}  # for ever, they would keep those that try again: SQLite for 10 s
NEVER_ALL = {"EXDEV", "EOPNOTSUPP"}  # they say more of a file than of the system
NUMBERS = itertools.count()  # of the runs

Fault = collections.namedtuple("Fault", "name strace arguments", defaults=("", [], []))
Try = collections.namedtuple("Try", "success found files")
Run = collections.namedtuple("Run", "end first second descriptors allocations calls")


# --- one run --------------------------------------------------------------------------------------

def write(path, text, encoding="utf-16"):
    path.parent.mkdir(exist_ok=True)
    path.write_bytes(text.encode(encoding))
    path.chmod(0o640)  # to be kept


def prepare(folder):
    """What all operations find."""
    (folder / "tmp").mkdir(parents=True)
    keys = "".join(f"Key{key}={key}\r\n" for key in range(100))
    write(folder / "settings.ini", "".join(
        f"; a comment\r\n[Section{section}]\r\n{keys}" for section in range(4)), "ascii")
    write(folder / "text.txt", ("x" * 200 + "ä\n") * 80, "cp1252")
    for name, count, text in ("master", 25, ""), ("translated", 20, "word"), ("merged", 5, "old"):
        write(folder / name / "texts.lng", "a comment\r\n" + "".join(
            f"$IDS_{i}\t{'x' * 200}\t{text}\r\n" for i in range(count)))
    subprocess.run([PROGRAM, "prepare", folder], check=True)


def content(path):
    data = path.read_bytes()
    if path.suffix == ".ini":  # settings are the same as 8-bit text and as UTF-16
        return data.decode("utf-16" if data[:2] == b"\xff\xfe" else "cp1252", "replace")
    return re.sub(r"\d+", "0", data.decode("utf-16", "replace")) if path.suffix == ".log" else data


def look(folder, operation):
    """What stands in the folder, by name; the registry's files as what the library reads."""
    files = {}
    for path in folder.rglob("*"):
        if not path.name.startswith("registry.db"):
            holds = (os.readlink(path) if path.is_symlink() else
                     None if path.is_dir() else content(path))
            files[str(path.relative_to(folder))] = (path.lstat().st_mode, holds)
    if operation.startswith("registry"):
        shown = subprocess.run([PROGRAM, "show", folder], stdout=subprocess.PIPE)
        files["registry"] = (shown.returncode, shown.stdout)
    return files


def run(operation, template, fault=Fault()):
    folder = template.parent / f"{next(NUMBERS):06}"  # as long for each: what is allocated counts
    log = folder.with_suffix(".log")
    shutil.copytree(template, folder, symlinks=True)
    tracer = ["strace", "-o", log, "-e", "trace=getppid," + ",".join(ERRORS_OF)]
    process = subprocess.Popen(
        [*(tracer + fault.strace if fault.strace else []), PROGRAM, operation, folder,
         *fault.arguments], env=dict(os.environ, TMPDIR=str(folder / "tmp")), text=True,
        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
        start_new_session=True)
    watch = threading.Timer(TIME_LIMIT, os.killpg, (process.pid, 9))
    watch.start()
    lines = [process.stdout.readline() for _ in range(3)]
    files = look(folder, operation)
    lines += process.communicate("\n")[0].splitlines()
    end = process.returncode if watch.is_alive() else "a hang"
    watch.cancel()
    told = {words[0]: words[1:] for words in map(str.split, lines) if words}
    tries = [Try(*told.get(name, ("nothing", "")), files) for name, files in
             (("first", files), ("second", look(folder, operation)))]
    numbers = [int(told.get(name, [0])[0]) for name in ("descriptors", "allocations")]
    calls = log.read_text().splitlines() if fault.strace else []
    log.unlink(missing_ok=True)
    shutil.rmtree(folder)
    return Run(end, *tries, *numbers, calls)


# --- the faults of an operation -------------------------------------------------------------------

def inject(call, error, when):
    return ["-e", f"inject={call}:error={error}:when={when}"]


def call_faults(calls):
    """For each call between the two marks each error that it knows."""
    counts = collections.Counter()
    before = None  # the calls up to the first mark
    for line in calls:
        call = line.partition("(")[0]
        if call == "getppid" and before is not None:
            return
        if call == "getppid":
            before = counts.copy()
            continue
        counts[call] += 1
        if before is None or "_UNLCK" in line or "LOCK_UN" in line:  # which cannot fail
            continue
        for error in ERRORS_OF[call]:
            name = f"{call}.{counts[call] - before[call]}:{error}:"
            on = inject(call, error, f"{counts[call]}+")
            yield Fault(name + "once", inject(call, error, counts[call]))
            if ONCE_ONLY & {call, error}:
                continue
            yield Fault(name + "on", on)
            if error not in NEVER_ALL:
                for other in ERRORS_OF.keys() - ONCE_ONLY - {call}:
                    if error in ERRORS_OF[other]:
                        on = on + inject(other, error, f"{counts[other] + 1}+")
                yield Fault(name + "all", on)


def other_faults(allocations):
    for number in range(1, allocations + 1):
        yield Fault(f"alloc.{number}:once", [], ["alloc", str(number)])
        yield Fault(f"alloc.{number}:on", [], ["alloc", str(number), "on"])
    yield from (Fault(f"size.{size}", [], ["size", str(size)]) for size in SIZES)


# --- what is wrong --------------------------------------------------------------------------------

def is_draft(name):
    return re.search(r"\.qd\w+\.tmp$", name) is not None


def difference(files, *wanted):
    """Of the first file that is as none of the wanted states has it."""
    for name in sorted(set(files).union(*wanted)):
        entries = [state.get(name) for state in wanted]
        if files.get(name) not in entries:
            return name + (" is gone" if name not in files else
                           " is left behind" if not any(entries) else
                           f" has mode {files[name][0]:o}"
                           if files[name][1] in [entry[1] for entry in entries if entry] else
                           " has another content")
    return "some files are old, some new"


def judge(old, clean, done, may_be_between):
    """What is wrong with a run, and whether it told a failure that was none."""
    if done.end != 0:
        return [f"ends with {done.end}"], False
    injected = [line for line in done.calls if "(INJECTED)" in line]
    may_lock = any("EACCES" in line for line in injected)  # by a file, where no folder can be read

    def tidy(files):
        return {name: entry for name, entry in files.items() if not is_draft(name) and
                not (may_lock and name.endswith(".qd.lock"))}

    wrong = []
    if any(map(is_draft, done.first.files)) and not any(line[:6] == "unlink" for line in injected):
        wrong.append("leaves a draft")
    new = clean.first.files
    files = {name: entry for name, entry in tidy(done.first.files).items()
             if name in old or entry == new.get(name) or entry[1] != ""}  # none: no settings
    success = done.first.success
    if files not in (old, new) and (success == "yes" or not may_be_between):
        wrong.append(difference(files, old, new))
    if success == "yes" and files == old != new:
        wrong.append("told success, but the content is old")
    if success == "yes" and done.first.found != clean.first.found:
        wrong.append(f"told success, but found {done.first.found}, not {clean.first.found}")
    if done.descriptors > clean.descriptors:
        wrong.append("leaves descriptors open")
    # What grows in place was done twice by now, unless an exception broke the first try off.
    was_broken_off = may_be_between and success != clean.first.success == "-"
    ends = (clean.first.files, clean.second.files)[may_be_between:]
    if tidy(done.second.files) not in ends and not was_broken_off:
        wrong.append("the second try leaves another content")
    elif done.second[:2] not in (clean.first[:2], clean.second[:2]):
        wrong.append(f"the second try told {done.second.success}, {done.second.found}")
    return wrong, success == "no" and files == new != old


# --- all of them ----------------------------------------------------------------------------------

def variants(operation, template):
    """The operation as it stands, and, when it changes one file, through a link and without it."""
    yield operation, template
    old, new = look(template, operation), run(operation, template).first.files
    changed = [name for name in old if old[name] != new.get(name)]
    if len(changed) != 1 or changed[0] not in new:
        return
    linked, missing = (template.parent / f"{operation}@{kind}" for kind in ("link", "new"))
    shutil.copytree(template, missing)
    for path in missing.glob(changed[0] + (".db*" if changed[0] == "registry" else "")):
        path.unlink()
    yield missing.name, missing
    if changed[0] != "registry":
        shutil.copytree(template, linked)
        file = linked / changed[0]
        (file.parent / "real").mkdir()
        file.rename(file.parent / "real" / file.name)
        file.symlink_to(pathlib.Path("real") / file.name)
        yield linked.name, linked


def try_variant(variant, template, wanted, pool):
    """Prints each kind of fault that is found; how many runs and faults there are."""
    operation, _, kind = variant.partition("@")
    old = look(template, operation)
    clean = run(operation, template, Fault(strace=["-e", "signal=none"]))
    faults = list(call_faults(clean.calls))
    if not kind:
        faults += other_faults(clean.allocations)
    faults = [fault for fault in faults if wanted in fault.name]
    counts = collections.Counter(runs=len(faults))
    alike = collections.defaultdict(list)

    def attempt(fault):
        """Some calls are made or not, as a file is so new that it may change unseen."""
        for _ in range(5):
            done = run(operation, template, fault)
            injected = next((line for line in done.calls if "(INJECTED)" in line), "")
            if injected or not fault.strace:
                break
        return fault, done, injected

    for fault, done, injected in pool.map(attempt, faults):
        wrong, is_late = judge(old, clean, done, "!" in operation)
        counts["missed"] += bool(fault.strace) and not injected
        counts["late"] += is_late
        if wrong:
            counts["faults"] += 1
            alike[fault.name.partition(".")[0], "; ".join(wrong)].append(fault.name)
            with LIST.open("a") as file:
                file.write(f"{variant}:{fault.name}  {'; '.join(wrong)}  {injected}\n")
    for (_, wrong), names in alike.items():
        more = f" and {len(names) - 1} more" if len(names) > 1 else ""
        print(f"{variant}:{names[0]}{more}: {wrong}", flush=True)
    return counts


def main():
    name, _, wanted = (sys.argv[1] if len(sys.argv) > 1 else "").partition(":")
    names = subprocess.run([PROGRAM, "list"], stdout=subprocess.PIPE, text=True, check=True).stdout
    LIST.write_text("")
    table = {}
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None  # waits for no disk
    with tempfile.TemporaryDirectory(prefix="qd", dir=memory) as root, \
            concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        template = pathlib.Path(root) / "template"
        prepare(template)
        for operation in names.split():
            if name.partition("@")[0] not in operation:
                continue
            for variant, folder in variants(operation, template):
                if name in variant:
                    table[variant] = try_variant(variant, folder, wanted, pool)
    table["all"] = sum(table.values(), collections.Counter())
    keys = ("runs", "missed", "late", "faults")  # late: told a failure, but the content is new
    print(f"\n{'operation':28}" + "".join(f"{key:>8}" for key in keys))
    for variant, counts in table.items():
        print(f"{variant:28}" + "".join(f"{counts[key]:8}" for key in keys))
    return table["all"]["faults"] > 0


if __name__ == "__main__":
    sys.exit(main())
