#include "core/platform/Registry.h"

#include "core/base/ErrorCodes.h"
#include "core/platform/WideText.h"
#include "core/profile/BConfigRegistry.h"

#include "tests/profile/TestRegistry.h"

#include <gtest/gtest.h>

#include <string>

TEST(Registry, ReadsTextsAloneAndAsTheyAreStored)
{
    using platform::ERegistryRead;
    using platform::ERegistryType;
    struct Case {
        ERegistryType type;
        platform::WideText data; // with its terminator, if it has one
        ERegistryRead result;
        const WChar* text;
        int readsAsInt;
    };
    const platform::WideText twelve{'1', '2', 0};
    const Case cases[] = {
        {ERegistryType::Text, twelve, ERegistryRead::Done, QD_W("12"), 0},
        {ERegistryType::ExpandableText,
         {'%', 'T', 'M', 'P', '%', 0},
         ERegistryRead::Done,
         QD_W("%TMP%"),
         kErrorGeneral},
        {ERegistryType::Text, {'1', '2', 0, '3', 0}, ERegistryRead::Done, QD_W("12"), 0},
        {ERegistryType::Text, {}, ERegistryRead::Done, QD_W(""), kErrorGeneral},
        {ERegistryType::Number, {'1', 0}, ERegistryRead::NoText, QD_W("before"), kErrorGeneral},
        {ERegistryType::Bytes, {}, ERegistryRead::NoText, QD_W("before"), kErrorGeneral},
    };
    const TestRegistry registry;
    const platform::RegistryKeyHandle key = platform::OpenRegistryKey(registry.Path());
    ASSERT_TRUE(key);
    const BConfigRegistry config(registry.Path());
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        ASSERT_TRUE(platform::WriteRegistryValue(*key, QD_W("v"), c.type, c.data.data(),
                                                 c.data.size() * sizeof(WChar)));
        platform::WideText text = QD_W("before");
        EXPECT_EQ(platform::ReadRegistryText(*key, QD_W("V"), text), c.result);
        EXPECT_EQ(text.substr(0, text.find(WChar(0))), c.text);
        int number = 0;
        EXPECT_EQ(config.ReadInt(QD_W("v"), number), c.readsAsInt);
    }
}
