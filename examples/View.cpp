#include "examples/View.h"

#include "core/base/BString.h"
#include "core/base/ErrorCodes.h"
#include "core/file/StdPath.h"
#include "core/language/BLanguageMap.h"
#include "core/tree/BNodeItr.h"
#include "core/units/BUnitSystem.h"

#include <cstdio>
#include <filesystem>
#include <string>

// What the user sees: texts are keys until they are printed, and lengths millimetres. So a document
// holds neither a language nor a unit, and changing one of them means printing again.

namespace {

// The document has thousands of nodes, one below the other and side by side.
constexpr int kChildrenShown = 4;
constexpr int kLevelsShown = 4;

WString Indented(int level)
{
    WString line;
    line.Fill(2 * static_cast<std::size_t>(level), QD_W(' '));
    return line;
}

void PrintNode(BNode& node, int level)
{
    WString line = Indented(level) + node.GetText();
    if (BSmartObj* object = node.GetObj())
        line += QD_W(": ") + object->Properties();
    for (BNodeAttribItr itr(node); itr; ++itr)
        line += QD_W(", ") + itr.Current()->Properties();
    if (!node.IsActive())
        line += QD_W(" ($IDS_Inactive)");
    if (node.IsLocked())
        line += QD_W(" ($IDS_Locked)");
    PrintLine(line);
}

// By recursion, which is fine only as it ends after few levels; a document's depth has no limit.
void PrintBelow(BNode& node, int level)
{
    PrintNode(node, level);
    int shown = 0;
    for (BNodeChildItr itr(node); itr; ++itr) {
        if (shown++ == kChildrenShown || level == kLevelsShown) {
            int left = 0;
            for (; itr; ++itr)
                ++left;
            WString line;
            line.Printf(QD_W("... %d $IDS_More"), left);
            PrintLine(Indented(level + 1) + line);
            return;
        }
        PrintBelow(*itr.Current(), level + 1);
    }
}

} // namespace

bool SwitchLanguage(std::string_view name)
{
    const std::filesystem::path file =
        std::filesystem::path(QD_LANGUAGE_FOLDER) / (std::string(name) + ".lng");
    SP<BLanguageMap> map = new BLanguageMap;
    WString log;
    if (map->ImportMapFile(QDFromStdPath(file), &log, false, true) != kErrorNone) {
        PrintLine(log);
        return false;
    }
    // Only now: a file that cannot be read leaves the language that there was.
    BLanguageMap::RegisterInstance(map);
    return true;
}

bool SwitchUnit(std::string_view name)
{
    const SP<BUnitSystem> units = BUnitSystem::Instance();
    if (name == "mm")
        units->ChangeUnit(UnitMillimeter);
    else if (name == "inch")
        units->ChangeUnit(UnitInch);
    else if (name == "thou")
        units->ChangeUnit(UnitThou);
    else
        return false;
    return true;
}

WString LengthText(double millimetres)
{
    const SP<BUnitSystem> units = BUnitSystem::Instance();
    const BUnit& unit = units->Unit(UnitClassLength);
    return unit.Format(millimetres, -1) + QD_W(" ") + unit.Symbol();
}

void PrintLine(const WString& text)
{
    const SP<BLanguageMap> map = BLanguageMap::Instance();
    const WString shown = map ? map->TranslateExt(text) : text;
    std::puts(shown.AsUtf8().c_str());
}

void PrintTree(BNode& root)
{
    PrintBelow(root, 0);
}
