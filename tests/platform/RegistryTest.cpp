#include "core/platform/Registry.h"

#include "core/platform/WideText.h"

#include "tests/profile/TestRegistry.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

TEST(Registry, ReadsTextsAloneAndAsTheyAreStored)
{
    using platform::ERegistryRead;
    using platform::ERegistryType;
    using platform::WideText;
    const std::tuple<ERegistryType, WideText, ERegistryRead, const WChar*> cases[] = {
        {ERegistryType::ExpandableText, {'%', 'T', '%', 0}, ERegistryRead::Done, QD_W("%T%")},
        {ERegistryType::Text, {'1', '2', 0, '3', 0}, ERegistryRead::Done, QD_W("12")},
        {ERegistryType::Text, {'1', '2'}, ERegistryRead::Done, QD_W("12")},
        {ERegistryType::Text, {}, ERegistryRead::Done, QD_W("")},
        {ERegistryType::Number, {'1', 0}, ERegistryRead::NoText, QD_W("before")},
        {ERegistryType::Bytes, {}, ERegistryRead::NoText, QD_W("before")},
    };
    const TestRegistry registry;
    const platform::RegistryKeyHandle key = platform::OpenRegistryKey(registry.Path());
    ASSERT_TRUE(key);
    for (const auto& [type, data, result, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(data));
        ASSERT_TRUE(platform::WriteRegistryValue(*key, QD_W("v"), type, data.data(),
                                                 data.size() * sizeof(WChar)));
        WideText text = QD_W("before");
        EXPECT_EQ(platform::ReadRegistryText(*key, QD_W("V"), text), result);
        EXPECT_EQ(text.substr(0, text.find(WChar(0))), expected);
    }
}
