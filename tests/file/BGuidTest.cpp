#include "core/file/BGuid.h"

#include <gtest/gtest.h>

TEST(BGuid, ReadsAndWritesTheTextOfAUuid)
{
    const BGuid guid(QD_W("6BA7B810-9dad-11D1-80b4-00C04FD430C8"));
    EXPECT_EQ(guid.ToString(), QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c8"));
    BGuid copy = guid, other(QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c9")); // the last bit
    EXPECT_TRUE(copy == guid && copy != other);
    copy = other;
    EXPECT_TRUE(copy != guid && copy == other);
}

TEST(BGuid, IsNilWhenTheTextIsNoUuid)
{
    const WChar* const bad[] = {
        nullptr,
        QD_W(""),
        QD_W("{6ba7b810-9dad-11d1-80b4-00c04fd430c8}"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c80"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430cg"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c\uFF18"),
        QD_W("6ba7b810-9dad-11d1-80b4:00c04fd430c8"),
        QD_W("6ba7b8109-dad-11d1-80b4-00c04fd430c8"),
    };
    for (const WChar* text : bad)
        EXPECT_EQ(BGuid(text).ToString(), QD_W("00000000-0000-0000-0000-000000000000"));
}

TEST(BGuid, MakesNewOnes)
{
    const BGuid first, second;
    EXPECT_TRUE(first != second);
    EXPECT_EQ(first.ToString().GetAt(14), QD_W('4')); // random
    EXPECT_TRUE(BGuid(first.ToString()) == first);
}
