// The input is two paths with a line feed between them: of files, and of nodes in a bank.

#include "core/file/BDirEntry.h"
#include "core/file/BFile.h"
#include "core/file/StdPath.h"
#include "core/platform/PathRules.h"
#include "core/platform/WideText.h"
#include "core/tree/BBank.h"

#include "fuzz/Target.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace {

using platform::EPathStyle;
using platform::WideText;

constexpr std::size_t kLongest = 2000; // units; the parts of a path are compared with each other

bool IsSame(const WString& a, const WString& b)
{
    return WideText(a.CStr(), a.Length()) == WideText(b.CStr(), b.Length());
}

void TryRules(const WideText& folder, const WideText& path)
{
    for (const EPathStyle style : {EPathStyle::Shell, EPathStyle::Posix}) {
        Require(platform::FindFileName(path, style) <= path.size());
        Require(platform::FindExtension(path, style) <= path.size());
        Require(platform::FindFileSpec(path, style) <= path.size());
        const std::optional<WideText> both = platform::CombinePaths(folder, path, style);
        if (!both)
            continue;
        // What is resolved stays as it is, unless a drive came to the start: "./C:./a".
        const std::optional<WideText> again = platform::CombinePaths({}, *both, style);
        const bool hasDrive = both->find_first_of(QD_W(":{")) != both->npos;
        Require(again == both ||
                (hasDrive && again && platform::CombinePaths({}, *again, style) == again));
    }
}

void TryEntry(const WString& folder, const WString& path)
{
    BDirEntry entry(path);
    Require(IsSame(entry.GetFull(), path));
    static_cast<void>(entry.GetBase());
    const WString extension = entry.GetExtension();
    Require(IsSame(BDirEntry(path).CutExtension(), extension));
    if (!extension.IsEmpty()) {
        entry.ChangeExtension(QD_W("x"));
        Require(entry.GetExtension() == WString(QD_W("x")));
    }
    entry.ChangeName(QD_W("name.txt"));
    Require(entry.GetName() == WString(QD_W("name.txt")));
    for (BDirEntry up(path); up.RemoveFileSpec();) // ends at the root
        Require(up.GetFull().Length() < path.Length());
    BDirEntry both(folder);
    both += BDirEntry(path);
}

void TryStdPath(const WString& path)
{
    const std::filesystem::path native = QDToStdPath(path);
    Require(QDToStdPath(QDFromStdPath(native)) == native);
}

void TryBank(const WString& first, const WString& second)
{
    BBank bank(new BNode);
    for (const WString& path : {first, second}) {
        const bool isWrong = BBank::PathSyntaxError(path.CStr());
        BNode* const node = bank.Container(path.CStr());
        Require(node == nullptr || bank.ExistsContainer(path.CStr()));
        Require(!isWrong || path.IsEmpty() || node == nullptr || bank.ExistsContainer(path.CStr()));
        if (node == nullptr)
            continue;
        const WString told = bank.Path(node);
        SP<BNode> found;
        Require(bank.ExistsContainer(told.CStr(), found) && found == node);
        Require(bank.Container(told.CStr()) == node && IsSame(BBank::PATH(node), told));
        WString parent;
        if (BBank::ParentPath(told.CStr(), parent))
            Require(bank.ExistsContainer(parent.CStr(), found) && found == node->Parent());
        Require(BBank::IsGrandParent(told, told) == false);
    }
    static_cast<void>(bank.Node(second.CStr()));
    const WString both = BBank::ConcatPath(first, second);
    // No path, but it passes.
    const bool isNothing = IsSame(first, QD_W("/")) || IsSame(second, QD_W("/"));
    Require(isNothing || both.IsEmpty() || !BBank::PathSyntaxError(both.CStr()));
    static_cast<void>(BBank::IsGrandParent(first, second));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > kLongest)
        return 0;
    const HeapBound bound(size);
    const WString text = WString::FromUtf8(std::string(data, data + size));
    const WString first = text.Sub(0, text.Search(QD_W("\n"), 0));
    const WString second =
        first.Length() < text.Length() ? text.Sub(first.Length() + 1, text.Length()) : first;
    TryRules({first.CStr(), first.Length()}, {second.CStr(), second.Length()});
    TryEntry(first, second);
    TryStdPath(first);
    TryBank(first, second);
    return 0;
}
