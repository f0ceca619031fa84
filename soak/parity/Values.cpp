// Language files, UUIDs, units, colours.

#include "core/base/BArray.h"
#include "core/base/BMap.h"
#include "core/file/BGuid.h"
#include "core/geometry/BFColor.h"
#include "core/language/BLanguageMap.h"
#include "core/units/BUnitSystem.h"

#include "soak/parity/Sheet.h"

#include <filesystem>

namespace {

const WString kLanguagePath = QD_W(".\\texts.lng");
const char* const kKeys[] = {"$A",     "$B", "$ID_A", "$ID_b", "$id_B",    "$ID_AB",
                             "$X_Y_Z", "$",  "$a b",  "key",   "$ID_\xC4", "$1"};

WString RandomLanguageKey(Dice& dice)
{
    return dice.OneIn(10) ? WString(QD_W("$")) + RandomText(dice)
                          : WString(BString(dice.Pick(kKeys)));
}

WString RandomCell(Dice& dice)
{
    WString text = dice.OneIn(3) ? Wide(RandomName(dice, 3)) : RandomText(dice);
    return dice.OneIn(6) ? WString(QD_W("\"")) + text + QD_W("\"") : text;
}

std::string RandomLanguageBytes(Dice& dice)
{
    WString text;
    for (int lines = dice.Below(8); lines > 0; --lines) {
        for (int cells = 1 + dice.Below(4); cells > 0; --cells) {
            text += text.EndsWith(QD_W("\n")) || text.IsEmpty() ? RandomLanguageKey(dice)
                                                                : RandomCell(dice);
            text += cells > 1 ? QD_W("\t") : QD_W("");
        }
        text += dice.OneIn(10) ? QD_W("\n") : QD_W("\r\n");
    }
    const std::string bytes = dice.OneIn(20) ? "" : "\xFF\xFE";
    if (dice.OneIn(20))
        return "\xEF\xBB\xBF" + text.AsUtf8();
    return bytes + UnitBytes(text);
}

std::string ShowMap(const BLanguageMap& map)
{
    std::string shown;
    for (const auto& entry : map.StdDefaultMap()) {
        WString text = QD_W("none");
        map.Find(entry.key, text, true);
        shown += Words(entry.key, entry.value, text) + "; ";
    }
    return shown;
}

} // namespace

void TryLanguage(Sheet& sheet, Dice& dice)
{
    const std::string bytes = RandomLanguageBytes(dice);
    PutFile("texts.lng", bytes);
    BLanguageMap map;
    map.SetReportMissingTranslations(dice.OneIn(2));
    WString log;
    const bool overwrites = dice.OneIn(2), fills = dice.OneIn(2);
    const int result = map.ImportMapFile(kLanguagePath, &log, overwrites, fills);
    const BProblem problem = map.Problem();
    sheet.Tell("Language.Import", Words(ShowBytes(bytes), overwrites, fills),
               Words(result, log, static_cast<int>(problem.code), problem.position, problem.name));
    sheet.Tell("Language.Map", "", ShowMap(map));
    for (int i = 0; i < 3; ++i) {
        const WString key = RandomLanguageKey(dice), text = RandomCell(dice);
        const int added = map.Add(key, text, RandomCell(dice), dice.OneIn(2), dice.OneIn(2));
        sheet.Tell("Language.Add", Words(key, text), Words(added));
        const WString asked = RandomLanguageKey(dice);
        sheet.Tell("Language.Translate", Words(asked, text),
                   Words(map.Translate(asked), map.TranslateExt(text + asked),
                         BLanguageMap::IsIdValid(asked), BLanguageMap::HasPrefix(asked, key)));
        WString keys = QD_W("none");
        const WString prefix = dice.OneIn(2) ? QD_W("") : dice.OneIn(2) ? QD_W("$") : QD_W("$ID");
        const int count = map.TranslateBack(text, keys, prefix, LanguageCurrent);
        sheet.Tell("Language.TranslateBack", Words(text, prefix), Words(count, keys));
    }
    const int exported = map.ExportMapFile(kLanguagePath);
    sheet.Tell("Language.Export", "", Words(exported, ShowBytes(BytesOfFile("texts.lng"))));
}

void TryMerge(Sheet& sheet, Dice& dice)
{
    std::string arguments;
    for (const char* const folder : {"master", "translated", "merged"}) {
        std::filesystem::create_directory(folder);
        const std::string bytes = RandomLanguageBytes(dice), name = std::string(folder) + "/a.lng";
        std::filesystem::remove(name);
        if (folder[1] != 'e' && !dice.OneIn(10)) // the merged one is made
            PutFile(name, bytes);
        arguments += ShowBytes(BytesOfFile(name)) + ' ';
    }
    int newEntries = 0;
    const int result = BLanguageMap::MergeMapFiles(QD_W(".\\master"), QD_W(".\\translated"),
                                                   QD_W(".\\merged"), QD_W("*.lng"), newEntries);
    sheet.Tell("Language.Merge", arguments,
               Words(result, newEntries, ShowBytes(BytesOfFile("merged/a.lng"))));
}

void TryGuid(Sheet& sheet, Dice& dice)
{
    WString text;
    for (int i = 0; i < 36; ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        text += static_cast<WChar>(isDash ? '-' : "0123456789abcdefABCDEF"[dice.Below(22)]);
    }
    if (dice.OneIn(2))
        text = Varied(dice, text);
    const BGuid guid(text);
    sheet.Tell("Guid", Words(text), Words(guid.ToString(), guid == BGuid(guid.ToString())));
}

void TryUnits(Sheet& sheet, Dice& dice)
{
    const double factor = RandomDouble(dice), value = RandomDouble(dice);
    const int precision = dice.Below(20) - 4, wanted = dice.Below(30) - 4;
    const WString text = RandomNumberText(dice);
    BUnitSystem system;
    if (dice.OneIn(2))
        system.ChangeUnit(static_cast<EUnit>(dice.Below(4)));
    if (dice.OneIn(2))
        system.ChangeUnit(UnitClassLength, QD_W("u"), factor, precision);
    const BUnit& unit = system.Unit(static_cast<EUnitClass>(dice.Below(6)));
    const std::string of = Words(unit.Symbol(), factor, precision, wanted);
    sheet.Tell("Unit.Value", Words(of, value),
               Words(unit.Convert(value), unit.Revert(value), unit.ConvertStr(value),
                     unit.RevertStr(value), unit.Format(value, wanted)));
    sheet.Tell("Unit.Text", Words(of, text),
               Words(unit.Convert(text), unit.Revert(text), unit.ConvertStr(text),
                     unit.RevertStr(text), unit.Format(text, wanted), unit.Precision()));
}

void TryColours(Sheet& sheet, Dice& dice)
{
    const auto channel = [&] { return static_cast<float>(dice.Below(300) - 20) / 256.0F; };
    const float red = channel(), green = channel(), blue = channel(), alpha = channel();
    BFColor colour(red, green, blue, alpha);
    float hue = 0, saturation = 0, brightness = 0;
    colour.ConvertToHSB(hue, saturation, brightness);
    BArray<BFColor> all;
    all.Append(colour);
    all.Append(BFColor::GetStockColor(dice.Below(21)));
    const BFColor mean = BFColor::Average(&all);
    sheet.Tell("Colour", Words(red, green, blue, alpha),
               Words(colour.CastToCOLORREF(), colour.CastToARGB(), hue, saturation, brightness,
                     mean.Red(), mean.Alpha(), colour.Grey().Red(),
                     colour.ContrastOffset(red * 3, blue).CastToARGB()));
}
