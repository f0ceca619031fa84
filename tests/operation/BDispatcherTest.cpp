#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <thread>

TEST(BDispatcher, DropsEverythingWhileNoneIsRegistered)
{
    ASSERT_EQ(BDispatcher::Instance(), nullptr);
    EXPECT_FALSE(BDispatcher::DispatcherSend(1, 2, 3));
    EXPECT_FALSE(BDispatcher::DispatcherPost(1, 2, 3));
    EXPECT_EQ(BDispatcher::DispatcherThreadId(), 0xFFFFFFFFu);
    EXPECT_FALSE(BDispatcher::CurrentThreadIsDispatcherThread());
    EXPECT_FALSE(QDCurrentThreadIsDispatcherThread());
    QDSend(1, 2, 3);
    QDPost(1, 2, 3);
}

TEST(BDispatcher, HandsMessagesToTheRegisteredOne)
{
    RecordingDispatcher dispatcher;
    EXPECT_TRUE(BDispatcher::DispatcherSend(7, 1, 0xFFFFFFFFFFFFFFFF));
    EXPECT_TRUE(BDispatcher::DispatcherPost(8, 2, 0));
    dispatcher.Answer(false);
    EXPECT_FALSE(BDispatcher::DispatcherSend(1, 0, 0));
    EXPECT_FALSE(BDispatcher::DispatcherPost(2, 0, 0));
    QDSend(1, 2, 3);
    QDPost(4, 5, 6);
    using Messages = RecordingDispatcher::Messages;
    EXPECT_EQ(dispatcher.Sent(), (Messages{{7, 1, 0xFFFFFFFFFFFFFFFF}, {1, 0, 0}, {1, 2, 3}}));
    EXPECT_EQ(dispatcher.Posted(), (Messages{{8, 2, 0}, {2, 0, 0}, {4, 5, 6}}));

    const auto isItsThread = [] {
        EXPECT_EQ(QDCurrentThreadIsDispatcherThread(),
                  BDispatcher::CurrentThreadIsDispatcherThread());
        EXPECT_EQ(QDCurrentThreadIsDispatcherThread(),
                  BDispatcher::DispatcherThreadId() == QDCurrentThreadId());
        return QDCurrentThreadIsDispatcherThread();
    };
    EXPECT_TRUE(isItsThread());
    std::thread([&] { EXPECT_FALSE(isItsThread()); }).join();
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
