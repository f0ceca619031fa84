#include "core/operation/BDispatcher.h"

#include "core/operation/BMessageReceiver.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// Writes down what it is asked to deliver and answers as it is told.
class RecordingDispatcher : public BDispatcher {
public:
    explicit RecordingDispatcher(int& lives)
        : m_lives(lives)
    {
        ++m_lives;
    }
    ~RecordingDispatcher() override { --m_lives; }

    bool Send(unsigned int message, std::uint64_t first, std::uint64_t second) override
    {
        return Record("send", message, first, second);
    }
    bool Post(unsigned int message, std::uint64_t first, std::uint64_t second) override
    {
        return Record("post", message, first, second);
    }
    unsigned long ThreadId() const override { return threadId; }
    bool AddReceiver(BMessageReceiver*) override { return false; }
    bool RemoveReceiver(BMessageReceiver*) override { return false; }

    std::string log;
    bool answer = true;
    unsigned long threadId = QDCurrentThreadId();

private:
    bool Record(const char* how, unsigned int message, std::uint64_t first, std::uint64_t second)
    {
        log += std::string(how) + ' ' + std::to_string(message) + ' ' + std::to_string(first) +
               ' ' + std::to_string(second) + '\n';
        return answer;
    }

    int& m_lives;
};

} // namespace

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
    int lives = 0;
    {
        const SP<RecordingDispatcher> dispatcher = new RecordingDispatcher(lives);
        BDispatcher::RegisterDispatcher(dispatcher);
        EXPECT_EQ(BDispatcher::Instance(), dispatcher);
        EXPECT_TRUE(BDispatcher::DispatcherSend(7, 1, 0xFFFFFFFFFFFFFFFF));
        dispatcher->answer = false;
        EXPECT_FALSE(BDispatcher::DispatcherPost(8, 2, 0));
        QDSend(1, 2, 3);
        QDPost(4, 5, 6);
        EXPECT_EQ(dispatcher->log,
                  "send 7 1 18446744073709551615\npost 8 2 0\nsend 1 2 3\npost 4 5 6\n");

        EXPECT_TRUE(QDCurrentThreadIsDispatcherThread());
        ++dispatcher->threadId;
        EXPECT_FALSE(BDispatcher::CurrentThreadIsDispatcherThread());
        EXPECT_EQ(BDispatcher::DispatcherThreadId(), QDCurrentThreadId() + 1);
    }
    EXPECT_EQ(lives, 1) << "the registration holds it";
    BDispatcher::RegisterDispatcher(new RecordingDispatcher(lives));
    EXPECT_EQ(lives, 1) << "the second releases the first";
    BDispatcher::RegisterDispatcher(BDispatcher::Instance());
    EXPECT_EQ(lives, 1);
    BDispatcher::RegisterDispatcher(nullptr);
    EXPECT_EQ(lives, 0);
}
