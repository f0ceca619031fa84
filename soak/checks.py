"""What soak.py runs: each check with what it proves, and what it found."""

import dataclasses
import pathlib
from typing import Callable

ROOT = pathlib.Path(__file__).resolve().parent.parent


@dataclasses.dataclass(frozen=True)
class Check:
    name: str
    unit: str  # of what it counts
    promise: str  # what holds when it finds nothing
    command: Callable  # (seconds, seed): the words of a command
    targets: tuple  # of each preset
    preset: str = "linux"  # or several with blanks between
    mended: tuple = ()  # faults that it found, each with a test that keeps it away
    goal: int = 0  # how many of the unit are wanted
    is_short: bool = True  # whether `--short` runs it


def program(name, preset="linux"):
    """A program that takes seconds and a seed itself."""
    return lambda seconds, seed: [f"build/{preset}/bin/{name}", f"{seconds:.1f}", str(seed)]


def under_wine(name):
    return lambda seconds, seed: ["env", "WINEDEBUG=-all", f"WINEPREFIX={ROOT}/build/wine", "wine",
                                  f"build/windows/bin/{name}.exe", f"{seconds:.1f}", str(seed)]


def fuzz_target(name, *seeds):
    """A libFuzzer target, with what it found so far and its seeds, its own or those of other folders."""
    return lambda seconds, seed: ["soak/fuzz.sh", name, str(max(1, round(seconds))), str(seed),
                                  *(seeds or [f"fuzz/seeds/{name}"])]


def damaged(name, *golden):
    """A fuzz target over every systematic damage of golden files of its kind and of its seeds."""
    files = [f"tests/golden/{file}" for file in golden] + [f"fuzz/seeds/{name}"]
    return lambda seconds, seed: ["soak/damage.sh", name, f"{seconds:.1f}", str(seed), *files]


MENDED_BY_FUZZING = {
    "archive": ("a bit array that was loaded without data kept its document from being saved",),
    "log": ("behind a log that was torn at an odd byte all later runs were written so that nobody could read them",),
    "registry": ("triggers, views, checks and indices in a registry's database were executed, without an end if they had"
                 " none and with all the memory that they took",),
    "inspect": ("the node that `qdinspect recover` puts orphans under could get the index of a lost object, to which a"
                " record of an application's class still referred",),
}
MENDED_BY_DAMAGE = {
    "registry": ("a value was put without a word into a damaged page of the registry, where it could not be read again",
                 "a registry of 3 KB with a row that claims 4 GiB took 68 MB"),
}

CHECKS = [
    *(Check(f"fuzz-{name}", "runs", promise, fuzz_target(name, *seeds), preset="linux-fuzz", targets=(f"{name}_fuzz",),
            goal=50_000_000, mended=MENDED_BY_FUZZING.get(name, ())) for name, promise, *seeds in (
        ("archive", "no archive with nodes, bit arrays and classes of an application crashes, hangs, leaks, or takes memory"
         " out of proportion to its size, and what was loaded is saved and loads again"),
        ("binprofile", "the same for binary profiles and the values in them"),
        ("profiletext", "the same for text profiles"),
        ("language", "the same for language files"),
        ("merge", "the same for two language files that are merged, and merged again", "fuzz/seeds/language"),
        ("log", "the same for a log that a run is appended to"),
        ("registry", "the same for a registry's database, whatever its tables are"),
        ("inspect", "the same for a file of any kind and every command of the inspector", "tests/golden/inspect",
         *(f"fuzz/seeds/{kind}" for kind in ("archive", "binprofile", "language", "profiletext", "log"))),
        ("string", "the same for texts of a file, and for operations on texts"),
        ("number", "the same for numbers, quantities with units and UUIDs that are scanned, printed and scanned again"),
        ("path", "the same for paths of files, and of nodes in a bank"),
        ("format", "the same for format strings"),
    )),
    *(Check(f"damage-{name}", "reads", f"no {kind} with a cut, a flipped bit or a number set to a limit, or two of these,"
            " does that", damaged(name, *golden), preset="linux-asan", targets=(f"{name}_fuzz",), goal=1_700_000,
            mended=MENDED_BY_DAMAGE.get(name, ()))
      for name, kind, *golden in (
        ("archive", "archive", "archive/odd.qda", "inspect/torn.qda", "inspect/shortened-version-6.qda"),
        ("binprofile", "binary profile", "profile/settings.bin", "inspect/narrow.bin"),
        ("profiletext", "text profile", "profile/text.ini", "inspect/damaged.ini"),
        ("language", "language file", "language/export.lng", "language/merged.lng", "inspect/suspicious.lng"),
        ("log", "profiler's log", "file/profiler.log", "inspect/damaged.log"),
        ("registry", "registry's database"),
    )),
    Check("parallel", "steps", "threads that share locks, an operation, progress and a dispatcher lose nothing and race"
          " nowhere", program("parallel_soak", "linux-tsan"), preset="linux-tsan", targets=("parallel_soak",)),
    Check("promises", "steps", "what the headers allow on several threads at once they may do: share objects, texts, a tree,"
          " a language map and units, take memory, write to a profile and the registry, save documents",
          program("promises_soak", "linux-tsan"), preset="linux-tsan", targets=("promises_soak",)),
    Check("suites", "tests", "no test of the suites races, in whatever order they run",
          lambda seconds, seed: ["soak/suites.py", f"{seconds:.1f}", str(seed)], preset="linux-tsan",
          targets=("qdcore_tests", "qdcore_seam_tests"), is_short=False,  # building them takes minutes
          mended=(
              "why a run was not logged was lost while what it left was closed and cut off",)),
    *(Check(name, "schedules", f"three threads that take locks{where} get what the locks promise, in every order of their"
            " steps", program(executable), targets=(executable,), mended=mended) for name, executable, where, mended in (
        ("locks", "locks_soak", "", (
            "a reader that only tried was let in beside a writer that came while it tried, when another one waited",)),
        ("locks-windows", "slim_locks_soak", " over the slim lock of Windows", ()))),
    Check("death", "kills", "processes that are killed while they save an archive, a profile of any kind, a language file,"
          " the registry or the profiler's log tear nothing and lose nothing that was acknowledged, and the next save"
          " takes away what they left", program("death_soak"), targets=("death_soak",), goal=10_000, mended=(
              "what a killed saver left beside its file stayed for ever",)),
    Check("death-windows", "kills", "the same of the Windows build (under Wine), but for text profiles, which the system"
          " writes there", under_wine("death_soak"), preset="windows", targets=("death_soak",), goal=10_000,
          mended=(
              "a saver that was killed while the new file took the place of the old one left none under its name",
              "a run that ended while another process looked at the log was not written until the next one ended",
              "a file could not be opened at the moment when a saver moved the new one to its name")),
    Check("power", "states", "when the power fails at any moment of a save, what docs/durability.md promises of the"
          " file holds in whatever the disk may hold then, the next save succeeds, and nothing is left behind it",
          lambda seconds, seed: ["python3", "soak/power/power.py", f"{seconds:.1f}", str(seed)],
          targets=("qdpower", "qdinspect"), mended=(
              "what `qdinspect` recovered or converted could be empty or torn, though it had told success",
              "a document counted as saved whose folder the disk had refused")),
    Check("faults", "runs", "whichever system call or allocation of an operation on files fails, and on a full disk:"
          " the old or the new file is there, a failure is told, nothing leaks, and a second try succeeds",
          program("faults_soak"), targets=("faults_soak",), mended=(
              "a section of a binary profile lost but a part of its keys where one was not told for want of memory",
              "a binary profile that could not be read said that what was deleted of it was saved",
              "an archive whose first bytes the system failed to read told no problem",
              "a text that got no memory when a binary profile of a former version was read was lost with the next save",
              "what was appended to a text stood behind its end mark, unread, where the system failed to look at that",
              "a new text on a full disk kept a part of its byte-order mark, and what was appended later was no text",
          )),
    Check("starved", "reads", "where memory runs out, a reader gives the right content or tells a failure, and the next"
          " read is right", program("starved_soak"), targets=("starved_soak",), mended=(
              "a text of the registry that got no memory was read as an empty one",
              "the same with a narrow text of a binary profile",
              "a text profile that could not read a text once gave the default and told no problem",
          )),
    Check("crowd", "writes", "32 processes that write to one text profile, registry or binary profile lose nothing, and no"
          " write is refused; a writer that stands still holds the others up for 10 seconds with a text profile, 2 with a"
          " registry, and not with a binary profile", program("crowd_soak"), targets=("crowd_soak",), goal=1_000_000),
    Check("models", "operations", "containers, texts, trees, banks, memory, bit arrays, progress and operations do what"
          " naive twins of them do", program("models_soak"), targets=("models_soak",), goal=100_000_000),
    Check("parity", "operations", "the Linux and the Windows build (under Wine) answer alike, write the same bytes, also"
          " of archives of random graphs, and read each other's files, but for what docs/platform-differences.md lists",
          lambda seconds, seed: ["soak/parity/parity.py", f"{seconds:.1f}", str(seed)], preset="linux windows",
          targets=("parity",), goal=1_000_000, mended=(
              "an absolute path of 260 units or more lost its end on Windows when it was combined with another",
              "a format whose length the runtime library told too short was written behind the text's block",
              "a path of 260 units that begins with one separator was not combined with a relative folder on Windows",
              "accents whose weights add up to 256 or 257 made a difference in the order of texts on Linux alone",
              "accents behind a sign of private use, or behind a repeated ideograph, counted otherwise on Linux")),
]
