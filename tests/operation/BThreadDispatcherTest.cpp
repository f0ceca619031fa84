#include "support/BThreadDispatcher.h"

#include "core/operation/BMessageReceiver.h"

#include "tests/Latch.h"
#include "tests/ThrownError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Numbers = std::vector<unsigned int>;

/// Keeps the numbers of its messages and then does what the test wants.
class Receiver final : public BMessageReceiver {
public:
    explicit Receiver(std::function<void(unsigned int)> reaction = {})
        : m_reaction(std::move(reaction))
    {}
    void Receive(unsigned int message, std::uint64_t, std::uint64_t) override
    {
        received.push_back(message); // on the dispatcher's thread only
        if (m_reaction)
            m_reaction(message);
    }

    Numbers received;

private:
    std::function<void(unsigned int)> m_reaction;
};

} // namespace

TEST(BThreadDispatcher, DeliversOnItsThreadInTheOrderOfArrival)
{
    const SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
    unsigned long deliveredOn = 0;
    Receiver receiver([&](unsigned int) { deliveredOn = QDCurrentThreadId(); });
    EXPECT_TRUE(dispatcher->AddReceiver(&receiver));
    EXPECT_FALSE(dispatcher->AddReceiver(&receiver));
    EXPECT_FALSE(dispatcher->AddReceiver(nullptr));
    for (unsigned int i = 0; i < 5; ++i)
        EXPECT_TRUE(dispatcher->Post(i, 0, 0));
    EXPECT_TRUE(dispatcher->Send(5, 0, 0));
    EXPECT_EQ(receiver.received, (Numbers{0, 1, 2, 3, 4, 5})) << "a send waits for its delivery";
    EXPECT_EQ(deliveredOn, dispatcher->ThreadId());
    EXPECT_NE(deliveredOn, QDCurrentThreadId());
}

TEST(BThreadDispatcher, LosesNoAcceptedMessageAndCallsNoReceiverThatIsGone)
{
    for (int round = 0; round < 30; ++round) {
        const SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
        Receiver receiver;
        dispatcher->AddReceiver(&receiver);
        Latch started(3);
        std::size_t accepted[2] = {};
        const auto deliver = [&](std::size_t sender, auto method) {
            started.ArriveAndWait();
            for (; ((*dispatcher).*method)(1, 0, 0); ++accepted[sender])
                std::this_thread::yield();
        };
        std::thread poster(deliver, 0, &BThreadDispatcher::Post);
        std::thread sender(deliver, 1, &BThreadDispatcher::Send);
        started.ArriveAndWait();
        for (int visit = 0; visit < 2; ++visit) { // sanitizers see a call of what is gone
            const auto visitor =
                std::make_unique<Receiver>([](unsigned int) { std::this_thread::yield(); });
            dispatcher->AddReceiver(visitor.get());
            dispatcher->Send(2, 0, 0);
            EXPECT_TRUE(dispatcher->RemoveReceiver(visitor.get()));
            EXPECT_FALSE(dispatcher->RemoveReceiver(visitor.get()));
            EXPECT_EQ(std::ranges::count(visitor->received, 2u), 1);
        }
        dispatcher->Shutdown();
        poster.join();
        sender.join();
        EXPECT_EQ(receiver.received.size(), accepted[0] + accepted[1] + 2);
        EXPECT_EQ(dispatcher->ThreadId(), kNoDispatcherThread);
        dispatcher->Shutdown();
        EXPECT_TRUE(dispatcher->RemoveReceiver(&receiver));
    }
}

TEST(BThreadDispatcher, LetsReceiversComeAndGoInsideADelivery)
{
    const SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
    Receiver late, removed;
    Receiver once([&](unsigned int) {
        dispatcher->RemoveReceiver(&once);
        dispatcher->RemoveReceiver(&removed);
        dispatcher->AddReceiver(&late);
    });
    dispatcher->AddReceiver(&once);
    dispatcher->AddReceiver(&removed);
    dispatcher->Send(1, 0, 0);
    dispatcher->Send(2, 0, 0);
    EXPECT_EQ(once.received, Numbers{1});
    EXPECT_EQ(removed.received, Numbers{});
    EXPECT_EQ(late.received, Numbers{2});
}

TEST(BThreadDispatcher, LetsReceiversSendPostAndThrow)
{
    const SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
    Receiver active([&](unsigned int message) {
        if (message == 1) {
            dispatcher->Post(3, 0, 0);
            dispatcher->Send(2, 0, 0);
        }
        if (message >= 3)
            BError(static_cast<int>(message)).Throw();
    });
    Receiver behind;
    dispatcher->AddReceiver(&active);
    dispatcher->AddReceiver(&behind);
    dispatcher->Send(1, 0, 0);
    EXPECT_EQ(ThrownCode([&] { dispatcher->Send(4, 0, 0); }), 4) << "the sender gets its own";
    EXPECT_EQ(active.received, (Numbers{1, 2, 3, 4})) << "a send from inside comes at once";
    EXPECT_EQ(behind.received, (Numbers{2, 1, 3, 4})) << "also behind one that throws";
}

TEST(BThreadDispatcher, MayBeReleasedInsideAReceiver)
{
    Latch released(1);
    Latch allDelivered(1);
    SP<BThreadDispatcher> dispatcher = new BThreadDispatcher;
    Receiver receiver([&](unsigned int message) {
        if (message == 1) {
            released.Wait();
            BDispatcher::RegisterDispatcher(nullptr);
        }
        if (message == 2)
            allDelivered.CountDown();
    });
    dispatcher->AddReceiver(&receiver);
    BDispatcher::RegisterDispatcher(dispatcher);
    QDPost(1, 0, 0);
    QDPost(2, 0, 0);
    dispatcher = nullptr;
    released.CountDown();
    allDelivered.Wait();
}
