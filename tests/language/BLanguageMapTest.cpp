#include "core/language/BLanguageMap.h"

#include "core/base/ErrorCodes.h"
#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using platform::WideText;

WideText TextOf(const BLanguageMap& map, const WChar* key, bool translated = true)
{
    WString text = QD_W("(none)");
    map.Find(key, text, translated);
    return text.CStr();
}

TEST(BLanguageMap, ChecksEntriesInAFixedOrder)
{
    struct Case {
        const WChar *key, *defaultText, *text;
        bool overwrite, fillMissing, report;
        int code;
        const WChar *kept, *keptDefault;
    };
    constexpr bool keep = false, overwrite = true, leave = false, fill = true;
    const WChar *const none = QD_W("(none)"), *const empty = QD_W("");
    constexpr int invalid = kErrorLanguageKeyInvalid, known = kErrorLanguageKeyTwice;
    constexpr int missing = kErrorLanguageTextMissing, twice = kErrorLanguageTextTwice;
    const Case cases[] = {
        {QD_W("$A_B"), QD_W("Yes"), QD_W("Ja"), keep, leave, true, 0, QD_W("Ja"), QD_W("Yes")},
        {QD_W("$"), QD_W("Sign"), empty, keep, leave, true, 0, empty, QD_W("Sign")},
        {QD_W("$\u00C4\u0662_"), QD_W("x"), empty, keep, leave, true, 0, empty, QD_W("x")},
        {empty, QD_W("Yes"), QD_W("Ja"), keep, fill, true, invalid, none, none},
        {QD_W("A"), QD_W("Yes"), QD_W("Ja"), keep, fill, true, invalid, none, none},
        {QD_W("$A-1"), QD_W("Yes"), QD_W("Ja"), keep, fill, true, invalid, none, none},
        // A missing text is filled and reported, on request.
        {QD_W("$C_1"), QD_W("No"), empty, keep, fill, true, missing, QD_W("No"), QD_W("No")},
        {QD_W("$C_2"), QD_W("No"), empty, keep, fill, false, 0, QD_W("No"), QD_W("No")},
        {QD_W("$C_3"), empty, QD_W("Nein"), keep, fill, true, missing, QD_W("Nein"), empty},
        {QD_W("$C_4"), empty, empty, keep, leave, false, 0, empty, empty},
        // A known key: whatever else is wrong with the entry.
        {QD_W("$A_B"), empty, empty, keep, fill, true, known, QD_W("Ja"), QD_W("Yes")},
        {QD_W("$A_B"), empty, QD_W("Jo"), overwrite, fill, true, missing, QD_W("Jo"), empty},
        // Equal default texts matter among plain keys alone, and hide a missing text.
        {QD_W("$D"), QD_W("No"), QD_W("Nein"), keep, fill, true, 0, QD_W("Nein"), QD_W("No")},
        {QD_W("$D_1"), QD_W("No"), QD_W("Nein"), keep, fill, true, 0, QD_W("Nein"), QD_W("No")},
        {QD_W("$E"), QD_W("nO"), empty, keep, fill, true, twice, QD_W("nO"), QD_W("nO")},
        {QD_W("$E"), QD_W("Off"), empty, overwrite, fill, false, 0, QD_W("Off"), QD_W("Off")},
        {QD_W("$D"), QD_W("NO"), QD_W("Nein"), overwrite, fill, true, 0, QD_W("Nein"), QD_W("NO")},
        {QD_W("$H"), empty, empty, keep, fill, false, 0, empty, empty},
        {QD_W("$I"), QD_W("\u00AD"), empty, keep, fill, false, twice, QD_W("\u00AD"),
         QD_W("\u00AD")},
    };
    BLanguageMap map;
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &row - cases);
        map.SetReportMissingTranslations(row.report);
        EXPECT_EQ(map.GetReportMissingTranslations(), row.report);
        EXPECT_EQ(map.Add(row.key, row.defaultText, row.text, row.overwrite, row.fillMissing),
                  row.code);
        EXPECT_EQ(TextOf(map, row.key), row.kept);
        EXPECT_EQ(TextOf(map, row.key, false), row.keptDefault);
        EXPECT_EQ(map.Includes(row.key), row.kept != none);
    }
    EXPECT_EQ(map.StdDefaultMap().Count(), 12u);
    map.Clear();
    EXPECT_EQ(map.StdDefaultMap().Count(), 0u);
    EXPECT_EQ(map.Add(QD_W("$D"), QD_W("No"), QD_W("Nein"), false, false), 0);
}

TEST(BLanguageMap, FindsAndOrdersKeysByCollation)
{
    BLanguageMap map;
    for (const WChar* const key : {QD_W("$b"), QD_W("$Stra\u00DFe"), QD_W("$B"), QD_W("$a_1")})
        EXPECT_EQ(map.Add(key, key, QD_W("text"), false, false),
                  key[1] == 'B' ? kErrorLanguageTextTwice : 0);
    EXPECT_TRUE(map.Includes(QD_W("$Strasse")));
    EXPECT_TRUE(map.Includes(QD_W("$a_1\u00AD")));
    EXPECT_FALSE(map.Includes(QD_W("$a")));
    EXPECT_EQ(map.Add(QD_W("$Strasse"), QD_W("x"), QD_W("x"), false, false),
              kErrorLanguageKeyTwice);

    // Overwriting takes the new spelling of the key, the old one is still equal to it.
    EXPECT_EQ(map.Add(QD_W("$Strasse"), QD_W("x"), QD_W("y"), true, false), 0);
    EXPECT_EQ(TextOf(map, QD_W("$Stra\u00DFe")), QD_W("y"));
    std::vector<WideText> keys;
    for (const auto& item : map.StdDefaultMap())
        keys.emplace_back(item.key);
    EXPECT_EQ(keys,
              (std::vector<WideText>{QD_W("$a_1"), QD_W("$b"), QD_W("$B"), QD_W("$Strasse")}));
}

TEST(BLanguageMap, TranslatesKeysAloneAndInTexts)
{
    BLanguageMap map;
    map.Add(QD_W("$A"), QD_W("Hello"), QD_W("Hallo"), false, false);
    map.Add(QD_W("$A_1"), QD_W("Price"), QD_W("$A kostet"), false, false);
    map.Add(QD_W("$"), QD_W("dollar"), QD_W(""), false, false);
    const struct {
        const WChar *text, *translated, *marked, *extended, *extendedMarked;
    } cases[] = {
        {QD_W("$A"), QD_W("Hallo"), QD_W("*Hallo*"), QD_W("Hallo"), QD_W("*Hallo*")},
        {QD_W("$X"), QD_W("$X"), QD_W("$X"), QD_W("$X"), QD_W("$X")},
        {QD_W(""), QD_W(""), QD_W(""), QD_W(""), QD_W("")},
        {QD_W("$A, $A!"), QD_W("$A, $A!"), QD_W("$A, $A!"), QD_W("Hallo, Hallo!"),
         QD_W("*Hallo*, *Hallo*!")},
        // What is inserted is not searched again.
        {QD_W("<$A_1>"), QD_W("<$A_1>"), QD_W("<$A_1>"), QD_W("<$A kostet>"),
         QD_W("<*$A kostet*>")},
        {QD_W("$$A$X$"), QD_W("$$A$X$"), QD_W("$$A$X$"), QD_W("Hallo$X"), QD_W("***Hallo*$X**")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        map.ActivateTestMode(false);
        EXPECT_EQ(WideText(map.Translate(row.text)), row.translated);
        EXPECT_EQ(WideText(map.TranslateExt(row.text)), row.extended);
        map.ActivateTestMode(true);
        EXPECT_EQ(WideText(map.Translate(row.text)), row.marked);
        EXPECT_EQ(WideText(map.TranslateExt(row.text)), row.extendedMarked);
    }
}

TEST(BLanguageMap, IsTheInstanceWhileItIsRegistered)
{
    const SP<BLanguageMap> map = new BLanguageMap;
    map->SetCurrentLanguage(QD_W("Deutsch"));
    EXPECT_EQ(map->CurrentLanguage(), QD_W("Deutsch"));
    EXPECT_EQ(BLanguageMap::Instance(), nullptr);
    BLanguageMap::RegisterInstance(map);
    EXPECT_EQ(BLanguageMap::Instance(), map);
    BLanguageMap::RegisterInstance(nullptr);
    EXPECT_EQ(map->RefCount(), 1);
}

TEST(BLanguageMap, TranslatesTextsBackToTheirKeys)
{
    BLanguageMap map;
    map.Add(QD_W("$Go_On"), QD_W("Next"), QD_W("Weiter"), false, false);
    map.Add(QD_W("$Go"), QD_W("Go"), QD_W("WEITER"), false, false);
    map.Add(QD_W("$Dlg_Go"), QD_W("next"), QD_W("Los"), false, false);
    const struct {
        const WChar *text, *prefix;
        ELanguage language;
        int count;
        const WChar* keys;
    } cases[] = {
        {QD_W("weiter"), QD_W(""), LanguageCurrent, 2, QD_W("$Go,$Go_On")},
        {QD_W("weiter"), QD_W("$"), LanguageCurrent, 1, QD_W("$Go")},
        {QD_W("weiter"), QD_W("$gO"), LanguageCurrent, 1, QD_W("$Go_On")},
        {QD_W("weiter"), QD_W("$G"), LanguageCurrent, 0, QD_W("(as before)")},
        {QD_W("weiter"), QD_W(""), LanguageDefault, 0, QD_W("(as before)")},
        {QD_W("NEXT"), QD_W(""), LanguageDefault, 2, QD_W("$Dlg_Go,$Go_On")},
        {QD_W("NEXT"), QD_W(""), static_cast<ELanguage>(2), 0, QD_W("(as before)")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &row - cases);
        WString keys = QD_W("(as before)");
        EXPECT_EQ(map.TranslateBack(row.text, keys, row.prefix, row.language), row.count);
        EXPECT_EQ(WideText(keys), row.keys);
    }
}

} // namespace
