#include "core/platform/Registry.h"

#include "core/platform/WideText.h"

#include "tests/profile/TestRegistry.h"

#include <gtest/gtest.h>

#include <string>

TEST(Registry, ReadsTextsAloneAndAsTheyAreStored)
{
    using platform::ERegistryRead;
    using platform::ERegistryType;
    using platform::WideText;
    struct Case {
        ERegistryType type;
        WideText data; // with its terminator, if it has one
        ERegistryRead result;
        const WChar* text;
    };
    const Case cases[] = {
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
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        ASSERT_TRUE(platform::WriteRegistryValue(*key, QD_W("v"), c.type, c.data.data(),
                                                 c.data.size() * sizeof(WChar)));
        WideText text = QD_W("before");
        EXPECT_EQ(platform::ReadRegistryText(*key, QD_W("V"), text), c.result);
        EXPECT_EQ(text.substr(0, text.find(WChar(0))), c.text);
    }
}
