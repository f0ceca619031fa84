#include "core/operation/Messages.h"

#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

TEST(BDispatcher, DropsEverythingWhileNoneIsRegistered)
{
    ASSERT_EQ(BDispatcher::Instance(), nullptr);
    EXPECT_FALSE(BDispatcher::DispatcherSend(1, 2, 3) || BDispatcher::DispatcherPost(1, 2, 3));
    EXPECT_EQ(BDispatcher::DispatcherThreadId(), 0xFFFFFFFFu);
    EXPECT_FALSE(QDCurrentThreadIsDispatcherThread());
}

TEST(BDispatcher, HandsMessagesToTheRegisteredOne)
{
    RecordingDispatcher dispatcher;
    EXPECT_TRUE(BDispatcher::DispatcherSend(7, 1, 0xFFFFFFFFFFFFFFFF));
    EXPECT_TRUE(BDispatcher::DispatcherPost(8, 2, 0));
    EXPECT_FALSE(BDispatcher::DispatcherSend(RecordingDispatcher::kRefused, 0, 0));
    EXPECT_FALSE(BDispatcher::DispatcherPost(RecordingDispatcher::kRefused, 0, 0));
    QDSend(1, 2, 3);
    QDPost(4, 5, 6);
    using Messages = RecordingDispatcher::Messages;
    EXPECT_EQ(dispatcher.Sent(), (Messages{{7, 1, 0xFFFFFFFFFFFFFFFF}, {0, 0, 0}, {1, 2, 3}}));
    EXPECT_EQ(dispatcher.Posted(), (Messages{{8, 2, 0}, {0, 0, 0}, {4, 5, 6}}));

    EXPECT_TRUE(QDCurrentThreadIsDispatcherThread());
    EXPECT_EQ(BDispatcher::DispatcherThreadId(), QDCurrentThreadId());
    std::thread([] { EXPECT_FALSE(QDCurrentThreadIsDispatcherThread()); }).join();
}

TEST(BDispatcher, IsHeldByItsRegistration)
{
    SP<BDispatcher> first;
    {
        const RecordingDispatcher dispatcher;
        first = BDispatcher::Instance();
        EXPECT_EQ(first->RefCount(), 3);
        BDispatcher::RegisterDispatcher(first);
        EXPECT_EQ(first->RefCount(), 3);
        const RecordingDispatcher second;
        EXPECT_EQ(first->RefCount(), 2) << "the second releases the first";
    }
    EXPECT_EQ(BDispatcher::Instance(), nullptr);
    EXPECT_EQ(first->RefCount(), 1);
}

TEST(Messages, HaveTheNumbersThatApplicationsWereBuiltWith)
{
    const std::pair<unsigned int, unsigned int> cases[] = {
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
    for (const auto& [message, number] : cases)
        EXPECT_EQ(message, number);
}
