"""The rows of docs/performance.md, and the packages that the peers come from."""

from typing import NamedTuple


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
        Job("load, a node", "BM_TreeLoad", "1.0 of QDataStream", peak="1.0"),
        Job("save, a node", "BM_TreeSave", "0.45", peak="0.9"),
        Job("build, a node", "BM_TreeBuild", "1.0"),
        Job("destroy, a node", "BM_TreeDestroy", "1.2"),
        Job("destroy and join the heap's blocks, a node", "BM_TreeDestroyAndJoin", "1.2"),
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
        Job("allocate and fill, a block", "BM_BlockFill", "1.0"),
    ],
    "Settings": [
        Job("text profile at rest: read a key", "BM_TextProfileRead", "1.15 of Stat"),
        Job("text profile just changed: read a key", "BM_TextProfileReadYoung", "1.15 of Stat"),
        Job("text profile: fill in a default", "BM_TextProfileFill", "30 us"),
        Job("registry: read a value", "BM_ConfigRead", "1.2 us"),
        Job("registry: write a value", "BM_ConfigWrite", "1.1"),
    ],
    "Languages": [
        Job("import, a line", "BM_LanguageImport", "800 ns", ".*underscores:0"),
        Job("import, a line, underscores in keys", "BM_LanguageImport", "800 ns", ".*underscores:1"),
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

PACKAGES = {"Boost": "libboost-dev", "cereal": "libcereal-dev", "Qt": "qtbase5-dev", "Abseil": "libabsl-dev",
            "mimalloc": "libmimalloc-dev", "GLib": "libglib2.0-dev", "SimpleIni": "libsimpleini-dev",
            "SQLite": "libsqlite3-dev", "OpenSSL": "libssl-dev", "ICU": "libicu-dev", "fmt": "libfmt-dev",
            "Google Benchmark": "libbenchmark-dev"}
