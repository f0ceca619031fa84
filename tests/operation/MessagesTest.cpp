#include "core/operation/Messages.h"

#include <gtest/gtest.h>

TEST(Messages, HaveTheNumbersThatApplicationsWereBuiltWith)
{
    struct Case {
        unsigned int message, number;
    };
    const Case cases[] = {
        {kMessageNodeChildAdded, 3075},     {kMessageNodeChildrenRemoved, 3076},
        {kMessageNodeTextChanged, 3077},    {kMessageNodeAttributesChanged, 3079},
        {kMessageNodeVisitorChanged, 3080}, {kMessageNodeObjectChanged, 3081},
        {kMessageNodeActiveChanged, 3082},  {kMessageNodeLockedChanged, 3088},
        {kMessageUnitChanged, 3113},        {kMessageMemoryInUseChanged, 3156},
        {kMessageSyncProgress, 4075},       {kMessageProgressIncrement, 4077},
        {kMessageSyncStatus, 4078},         {kMessageWindowStatus, 7681},
        {kMessageWindowProgress, 7682},     {kMessageAsyncStatus, 8195},
        {kMessageAsyncProgress, 8196},      {kMessageAsyncError, 8197},
    };
    for (const Case& row : cases)
        EXPECT_EQ(row.message, row.number);
}
