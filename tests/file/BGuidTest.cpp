#include "core/file/BGuid.h"

#include "core/base/SP.h"

#include <gtest/gtest.h>

TEST(BGuid, ReadsAndWritesTheTextOfAUuid)
{
    const BGuid guid(QD_W("6BA7B810-9dad-11D1-80b4-00C04FD430C8"));
    EXPECT_EQ(guid.ToString(), QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c8"));
    const BGuid copy = guid;
    EXPECT_TRUE(copy == guid);

    const WChar* const bad[] = {
        nullptr,
        QD_W(""),
        QD_W("nonsense"),
        QD_W("{6ba7b810-9dad-11d1-80b4-00c04fd430c8}"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c80"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430cg"),
        QD_W("6ba7b810-9dad-11d1-80b4-00c04fd430c\uFF18"),
    };
    for (const WChar* text : bad) {
        const BGuid nil(text);
        EXPECT_EQ(nil.ToString(), QD_W("00000000-0000-0000-0000-000000000000"));
        EXPECT_TRUE(nil != guid);
    }
}

TEST(BGuid, MakesNewOnes)
{
    const BGuid first, second;
    EXPECT_TRUE(first != second);
    EXPECT_EQ(first.ToString().GetAt(14), QD_W('4')); // random
    EXPECT_TRUE(BGuid(first.ToString()) == first);
    BGuid assigned;
    assigned = first;
    EXPECT_TRUE(assigned == first);
}
