#include "core/base/BString.h"
#include "core/base/ErrorCodes.h"
#include "core/platform/WideText.h"
#include "core/profile/BConfigRegistry.h"

#include "tests/ThrownError.h"
#include "tests/profile/TestRegistry.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

namespace {

using platform::WideText;

// The text under `name`; "<none>" when it cannot be read.
WideText Read(const BConfig& config, const WString& name)
{
    WString value = QD_W("<none>");
    const int code = config.ReadString(name, value);
    const WideText units = value.CStr();
    EXPECT_EQ(code, units == QD_W("<none>") ? kErrorGeneral : 0);
    return units;
}

// What `read` makes of the text under "v"; none when it fails, and leaves what it was given.
template <class T>
std::optional<T> ReadAs(int (BConfig::*read)(WString, T&) const, const BConfig& config, T before)
{
    T value = before;
    const int code = (config.*read)(QD_W("v"), value);
    EXPECT_TRUE(code == 0 || (code == kErrorGeneral && value == before));
    return code == 0 ? std::optional(value) : std::nullopt;
}

} // namespace

TEST(BConfig, ReadsWhatItsTextsMean)
{
    struct Case {
        const WChar* text;
        std::optional<int> number;
        std::optional<float> single;
        std::optional<double> real;
        std::optional<bool> truth;
    };
    const Case cases[] = {
        {QD_W("0"), 0, 0.0F, 0.0, false},   {QD_W("1.5"), 2, 1.5F, 1.5, true},
        {QD_W("0.1"), 0, 0.1F, 0.1, false}, {QD_W("ff"), 255, {}, {}, true},
        {QD_W("tRuE"), {}, {}, {}, true},   {QD_W("False"), {}, {}, {}, false},
        {QD_W("True "), {}, {}, {}, {}},    {QD_W(""), {}, {}, {}, {}},
    };
    const TestRegistry registry;
    BConfigRegistry config(registry.Path());
    EXPECT_FALSE(ReadAs(&BConfig::ReadDouble, config, 77.0)); // nothing is there
    for (const Case& c : cases) {
        SCOPED_TRACE(WString(c.text).AsString().CStr());
        ASSERT_EQ(config.WriteString(QD_W("v"), c.text), 0);
        EXPECT_EQ(ReadAs(&BConfig::ReadInt, config, 77), c.number);
        EXPECT_EQ(ReadAs(&BConfig::ReadFloat, config, 77.0F), c.single);
        EXPECT_EQ(ReadAs(&BConfig::ReadDouble, config, 77.0), c.real);
        for (const bool before : {false, true})
            EXPECT_EQ(ReadAs(&BConfig::ReadBool, config, before), c.truth);
    }
}

TEST(BConfig, WritesNumbersAsShortTexts)
{
    const std::pair<int (*)(BConfig&), const WChar*> cases[] = {
        {[](BConfig& c) { return c.WriteInt(QD_W("v"), -2147483647 - 1); }, QD_W("-2147483648")},
        {[](BConfig& c) { return c.WriteFloat(QD_W("v"), 0.1f); }, QD_W("0.1")},
        {[](BConfig& c) { return c.WriteFloat(QD_W("v"), 16777217.0f); }, QD_W("16777216")},
        {[](BConfig& c) { return c.WriteDouble(QD_W("v"), -1e20 / 3); },
         QD_W("-3.333333333333333e+19")},
        {[](BConfig& c) { return c.WriteBool(QD_W("v"), true); }, QD_W("True")},
        {[](BConfig& c) { return c.WriteBool(QD_W("v"), false); }, QD_W("False")},
    };
    const TestRegistry registry;
    BConfigRegistry config(registry.Path());
    for (const auto& [write, text] : cases) {
        EXPECT_EQ(write(config), 0);
        EXPECT_EQ(Read(config, QD_W("v")), text);
    }
}

TEST(BConfigRegistry, KeepsEveryTextUnderEveryName)
{
    const WideText texts[] = {
        QD_W(""),
        QD_W("\u00E4\u6E2C \xD83D\xDE00"),
        {WChar(0xD83D)},                     // half a surrogate pair
        {WChar(0xDE00), 'x', WChar(0xD83D)}, // two halves the wrong way round
        QD_W("back\\slash\r\n\t\"quoted\""),
        WideText(16383, 'n'), // the longest name
    };
    const TestRegistry registry;
    BConfigRegistry config(registry.Path());
    for (const WideText& text : texts)
        EXPECT_EQ(config.WriteString(text.c_str(), text.c_str()), 0);
    const BConfigRegistry again(registry.Path());
    for (const WideText& text : texts)
        EXPECT_EQ(Read(again, text.c_str()), text);

    EXPECT_EQ(config.WriteString(WideText(16384, 'n').c_str(), QD_W("")), kErrorGeneral);
    for (const std::size_t length : {1'000'000U, 3U, 0U, 20'000U}) {
        EXPECT_EQ(config.WriteString(QD_W("long"), WideText(length, 'x').c_str()), 0);
        EXPECT_EQ(Read(again, QD_W("long")), WideText(length, 'x'));
    }
}

TEST(BConfigRegistry, ComparesNamesUnitByUnitWithoutCase)
{
    struct Case {
        const WChar* first;
        const WChar* second;
        bool isSame;
    };
    const Case cases[] = {
        {QD_W("Width"), QD_W("wIDTH"), true},
        {QD_W("\u00C4\u03A3\u0416"), QD_W("\u00E4\u03C3\u0436"), true},
        {QD_W("\u03A3"), QD_W("\u03C2"), false}, // final sigma
        {QD_W("I"), QD_W("\u0131"), false},      // dotless i
        {QD_W("stra\u00DFe"), QD_W("STRASSE"), false},
        {QD_W("a"), QD_W("a\u00AD"), false}, // equal by collation
        {QD_W("a"), QD_W("a "), false},
        {QD_W("\xD801\xDC00"), QD_W("\xD801\xDC28"), false}, // Deseret, outside the base plane
    };
    const TestRegistry registry;
    BConfigRegistry root(registry.Path());
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        SCOPED_TRACE(index);
        const Case& c = cases[index];
        const SP<BConfig> config = root.Child(WString::FromInt(static_cast<int>(index)));
        const WideText found = c.isSame ? QD_W("x") : QD_W("<none>");
        config->WriteString(c.first, QD_W("x"));
        EXPECT_EQ(Read(*config, c.second), found);
        config->Child(c.first)->WriteString(QD_W("v"), QD_W("x"));
        EXPECT_EQ(Read(*config->Child(c.second), QD_W("v")), found);
    }
}

TEST(BConfigRegistry, MakesTheKeysOfAPath)
{
    struct Case {
        const WChar* path;
        const WChar* same; // another path to the same key; null when `path` is refused
    };
    const WideText longest(255, 'k');
    const WideText deep = longest + QD_W("\\") + longest;
    const WideText tooLong = QD_W("new\\") + WideText(300, 'k');
    const Case cases[] = {
        {QD_W("a\\b\\c"), QD_W("A\\B\\C")},
        {QD_W("d\\\\e"), QD_W("d\\e")},
        {QD_W("f\\\\\\"), QD_W("f")},
        {QD_W("h/i"), QD_W("H/I")},
        {QD_W("..\\."), QD_W("..\\.\\")},
        {deep.c_str(), deep.c_str()},
        {QD_W(""), nullptr},
        {QD_W("\\"), nullptr},
        {QD_W("\\a"), nullptr},
        {tooLong.c_str(), nullptr},
    };
    const TestRegistry registry;
    BConfigRegistry root(registry.Path());
    for (const Case& c : cases) {
        SCOPED_TRACE(WString(c.path).AsString().CStr());
        if (c.same == nullptr) {
            EXPECT_EQ(ThrownCode([&] { root.Child(c.path); }), kErrorGeneral);
            continue;
        }
        EXPECT_EQ(root.Child(c.path)->WriteString(QD_W("v"), c.path), 0);
        const BConfigRegistry same(registry / c.same);
        EXPECT_EQ(Read(same, QD_W("v")), c.path);
    }
    EXPECT_EQ(ThrownCode([] { const BConfigRegistry config{WString()}; }), kErrorGeneral);
    EXPECT_EQ(Read(*root.Child(QD_W("a\\b")), QD_W("v")), QD_W("<none>")); // on the way to c
    SP<BConfig> node = new BConfigRegistry(registry.Path());
    for (int depth = 0; depth < 20; ++depth)
        node = node->Child(QD_W("outlives its parent"));
    EXPECT_EQ(node->WriteString(QD_W("v"), QD_W("deep")), 0);
}
