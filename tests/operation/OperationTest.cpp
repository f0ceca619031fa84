#include "core/base/ErrorCodes.h"
#include "core/operation/BAsyncOperationInterface.h"
#include "core/operation/BCommandExecutionInterface.h"
#include "core/operation/BProgressManager.h"
#include "core/operation/BSyncOperationInterface.h"
#include "core/operation/Messages.h"

#include "tests/Thrown.h"
#include "tests/operation/MessageWindow.h"
#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Messages = std::vector<RecordingDispatcher::Message>;

template <class F>
void OnWorker(F&& task)
{
    std::thread(task).join();
}

std::uint64_t AddressOf(const BAsyncOperationInterface& operation)
{
    return reinterpret_cast<std::uint64_t>(&operation);
}

/// Calls a function with each message that is sent.
class CallingDispatcher final : public BDispatcher {
public:
    explicit CallingDispatcher(std::function<void(unsigned int, std::uint64_t)> reaction)
        : m_reaction(std::move(reaction))
    {}
    bool Send(unsigned int number, std::uint64_t first, std::uint64_t) override
    {
        m_reaction(number, first);
        return true;
    }
    bool Post(unsigned int, std::uint64_t, std::uint64_t) override { return false; }
    unsigned long ThreadId() const override { return QDCurrentThreadId(); }
    bool AddReceiver(BMessageReceiver*) override { return false; }
    bool RemoveReceiver(BMessageReceiver*) override { return false; }

private:
    std::function<void(unsigned int, std::uint64_t)> m_reaction;
};

class BreakingManager final : public BProgressManager {
public:
    void BeginLongOperation(std::uint64_t) override {}
    bool BreakLongOperation(bool ask) override { return !ask; }
    void EndLongOperation() override {}
    void TestUserBreak() override {}
};

} // namespace

TEST(BAsyncOperationInterface, ReportsToTheDispatcherWithoutAWindow)
{
    RecordingDispatcher dispatcher;
    BAsyncOperationInterface operation;
    const std::uint64_t address = AddressOf(operation);
    const auto report = [&operation] {
        operation.StatusInfo(QD_W("begins"));
        operation.ProgressInfo(150);
        operation.ErrorInfo(BError(7));
    };
    OnWorker(report);
    const Messages posted = {{kMessageAsyncStatus, address, 1},
                             {kMessageAsyncProgress, address, 150},
                             {kMessageAsyncError, address, 0}};
    EXPECT_EQ(dispatcher.Posted(), posted);
    EXPECT_EQ(dispatcher.Sent(), Messages());
    report();
    const Messages sent = {{kMessageAsyncStatus, address, 2},
                           {kMessageAsyncProgress, address, 150},
                           {kMessageAsyncError, address, 0}};
    EXPECT_EQ(dispatcher.Sent(), sent);
    EXPECT_EQ(dispatcher.Posted(), Messages());
}

TEST(BAsyncOperationInterface, ReportsToItsWindow)
{
    RecordingDispatcher dispatcher;
    MessageWindow window;
    BAsyncOperationInterface operation;
    operation.SetMessageSink(window.Handle());
    EXPECT_EQ(operation.GetMessageSink(), window.Handle());
    OnWorker([&] {
        operation.StatusInfo(QD_W("begins"));
        for (const unsigned int percent : {0u, 98u, 99u, 100u, 150u})
            operation.ProgressInfo(percent);
        operation.ErrorInfo(BError(7));
    });
    operation.StatusInfo(QD_W("ends"));
    const std::vector<WindowMessage> expected = {
        {kMessageWindowStatus, 1, 0},    {kMessageWindowProgress, 0, 0},
        {kMessageWindowProgress, 98, 0}, {kMessageWindowProgress, 99, 0},
        {kMessageWindowProgress, 99, 0}, {kMessageWindowProgress, 99, 0},
        {kMessageWindowStatus, 2, 0},
    };
    EXPECT_EQ(window.Received(), expected);
    EXPECT_EQ(dispatcher.Posted(), (Messages{{kMessageAsyncError, AddressOf(operation), 0}}));
    operation.SetMessageSink(nullptr);
    operation.ProgressInfo(1);
    EXPECT_EQ(window.Received(), std::vector<WindowMessage>());
    EXPECT_EQ(dispatcher.Sent(), (Messages{{kMessageAsyncProgress, AddressOf(operation), 1}}));
}

TEST(BAsyncOperationInterface, KeepsStatusTextsUntilTheyAreFetched)
{
    BAsyncOperationInterface operation; // and no dispatcher
    operation.StatusInfo(QD_W("one"));
    operation.StatusInfo(QD_W("two"));
    const BAsyncOperationInterface copied = operation;
    EXPECT_EQ(operation.FetchStatusMessage(2, true), QD_W("two"));
    EXPECT_EQ(operation.FetchStatusMessage(1, false), QD_W("one"));
    EXPECT_EQ(operation.FetchStatusMessage(2, false), QD_W("two"));
    for (const int key : {0, 1, 2, 3, -1})
        EXPECT_TRUE(operation.FetchStatusMessage(key, false).IsEmpty()) << key;
    BAsyncOperationInterface copy = copied;
    copy.StatusInfo(QD_W("three"));
    EXPECT_EQ(copy.FetchStatusMessage(1, false), QD_W("one"));
    EXPECT_EQ(copy.FetchStatusMessage(3, false), QD_W("three"));
}

TEST(BAsyncOperationInterface, StopsForGood)
{
    BAsyncOperationInterface operation;
    const auto isStopping = [&operation] {
        EXPECT_EQ(operation.IsStopping(), operation.IsStoppingWeak());
        EXPECT_EQ(operation.IsStopping(), operation.BreakLongOperation(true));
        return operation.BreakLongOperation(false);
    };
    operation.ActivateBreak(true);
    EXPECT_FALSE(isStopping());
    EXPECT_NO_THROW(operation.TestUserBreak());
    OnWorker([&] { operation.Stop(); });
    operation.ActivateBreak(false);
    EXPECT_TRUE(isStopping());
    const BError thrown = Thrown([&] { operation.TestUserBreak(); });
    EXPECT_EQ(thrown.Error(), kErrorUserBreak);
    EXPECT_TRUE(thrown.Argument(0).IsEmpty());
    EXPECT_TRUE(operation.TryLockW()) << "the lock was given back";
}

TEST(BAsyncOperationInterface, LetsReceiversCallItFromInsideASend)
{
    BAsyncOperationInterface operation;
    int code = 0;
    std::vector<unsigned int> calls;
    BDispatcher::RegisterDispatcher(
        new CallingDispatcher([&](unsigned int number, std::uint64_t address) {
            auto* const sender = reinterpret_cast<BAsyncOperationInterface*>(address);
            calls.push_back(number);
            OnWorker([sender] { sender->Stop(); }); // on another thread, which waits for the lock
            sender->Stop();
            code = sender->GetError().Error();
        }));
    operation.StatusInfo(QD_W("text"));
    operation.ProgressInfo(1);
    operation.ErrorInfo(BError(7, QD_W("$Key"), nullptr, nullptr, nullptr));
    BDispatcher::RegisterDispatcher(nullptr);
    EXPECT_EQ(calls, (std::vector{kMessageAsyncStatus, kMessageAsyncProgress, kMessageAsyncError}));
    EXPECT_EQ(code, 7);
    EXPECT_EQ(operation.GetError().Argument(0), QD_W("$Key"));
    EXPECT_TRUE(operation.IsStopping());
}

TEST(BSyncOperationInterface, ActsOnTheDispatchersThreadOnly)
{
    BSyncOperationInterface operation;
    const auto reportsNothing = [&operation] {
        operation.StatusInfo(QD_W("text"));
        operation.ProgressInfo(1);
        EXPECT_NO_THROW(operation.ErrorInfo(BError(7)));
        EXPECT_FALSE(operation.IsStopping() || operation.IsStoppingWeak());
    };
    BProgressManager::RegisterInstance(new BreakingManager);
    reportsNothing(); // without a dispatcher
    {
        RecordingDispatcher dispatcher;
        OnWorker(reportsNothing);
        EXPECT_EQ(dispatcher.Sent(), Messages());
        EXPECT_EQ(dispatcher.Posted(), Messages());
        EXPECT_TRUE(operation.IsStopping() && operation.IsStoppingWeak());
        operation.ProgressInfo(150);
        EXPECT_EQ(dispatcher.Sent(), (Messages{{kMessageSyncProgress, 150, 0}}));
        EXPECT_EQ(Thrown([&] { operation.ErrorInfo(BError(7)); }).Error(), 7);
    }
    BProgressManager::RegisterInstance(nullptr);
    RecordingDispatcher dispatcher;
    EXPECT_FALSE(operation.IsStopping() || operation.IsStoppingWeak());
    EXPECT_TRUE(operation.FetchStatusMessage(1, true).IsEmpty());
}

TEST(BSyncOperationInterface, SendsTheCharactersOfAStatusText)
{
    std::vector<WString> received;
    BDispatcher::RegisterDispatcher(
        new CallingDispatcher([&](unsigned int number, std::uint64_t characters) {
            EXPECT_EQ(number, kMessageSyncStatus);
            received.emplace_back(reinterpret_cast<const WChar*>(characters));
        }));
    BSyncOperationInterface operation;
    operation.StatusInfo(QD_W("text"));
    operation.StatusInfo(WString());
    BDispatcher::RegisterDispatcher(nullptr);
    ASSERT_EQ(received.size(), 2u);
    EXPECT_EQ(received[0], QD_W("text"));
    EXPECT_TRUE(received[1].IsEmpty());
}

TEST(CommandExecution, ForwardsToTheRegisteredInstance)
{
    class Executor final : public BCommandExecutionInterface {
    public:
        explicit Executor(bool& gone)
            : m_gone(gone)
        {}
        ~Executor() override { m_gone = true; }
        void LockR() const override {}
        void LockW() const override {}
        void UnlockR() const override {}
        void UnlockW() const override {}
        bool TryLockR() const override { return true; }
        bool TryLockW() const override { return true; }
        int Execute(WString command, bool flag, unsigned long number, void* context) override
        {
            *static_cast<WString*>(context) = command;
            return flag ? static_cast<int>(number) : -1;
        }

    private:
        bool& m_gone;
    };
    WString executed;
    EXPECT_EQ(ExecuteCommand(QD_W("open"), true, 42, &executed), kErrorNoCommandExecution);
    EXPECT_EQ(CommandExecutionInstance(), nullptr);
    bool gone = false;
    auto* const executor = new Executor(gone);
    RegisterCommandExecution(executor);
    EXPECT_EQ(CommandExecutionInstance(), executor);
    EXPECT_EQ(ExecuteCommand(QD_W("open"), true, 42, &executed), 42);
    EXPECT_EQ(ExecuteCommand(QD_W("open"), false, 42, &executed), -1);
    EXPECT_EQ(executed, QD_W("open"));
    RegisterCommandExecution(executor);
    EXPECT_FALSE(gone);
    RegisterCommandExecution(nullptr);
    EXPECT_TRUE(gone);
}
