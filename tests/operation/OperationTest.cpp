#include "core/base/ErrorCodes.h"
#include "core/operation/BAsyncOperationInterface.h"
#include "core/operation/BCommandExecutionInterface.h"
#include "core/operation/BProgressManager.h"
#include "core/operation/BSyncOperationInterface.h"
#include "core/operation/Messages.h"

#include "tests/ThrownError.h"
#include "tests/operation/MessageWindow.h"
#include "tests/operation/RecordingDispatcher.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using Messages = RecordingDispatcher::Messages;

template <class Task>
void OnWorker(Task task)
{
    std::thread(task).join();
}

class BreakingManager final : public BProgressManager {
public:
    void BeginLongOperation(std::uint64_t) override {}
    bool BreakLongOperation(bool ask) override { return !ask; }
    void EndLongOperation() override {}
    void TestUserBreak() override {}
};

} // namespace

TEST(BAsyncOperationInterface, ReportsToItsWindowOrElseToTheDispatcher)
{
    RecordingDispatcher dispatcher;
    MessageWindow window;
    BAsyncOperationInterface operation;
    const auto report = [&operation] {
        operation.StatusInfo(QD_W("text"));
        operation.ProgressInfo(98);
        operation.ProgressInfo(150);
        operation.ErrorInfo(BError(7));
    };
    const auto messages = [&operation](std::uint64_t statusKey) {
        const auto address = reinterpret_cast<std::uint64_t>(&operation);
        return Messages{{kMessageAsyncStatus, address, statusKey},
                        {kMessageAsyncProgress, address, 98},
                        {kMessageAsyncProgress, address, 150},
                        {kMessageAsyncError, address, 0}};
    };
    OnWorker(report);
    EXPECT_EQ(dispatcher.Posted(), messages(1));
    report();
    EXPECT_EQ(dispatcher.Sent(), messages(2));

    operation.SetMessageSink(window.Handle());
    EXPECT_EQ(operation.GetMessageSink(), window.Handle());
    OnWorker(report);
    const std::vector<WindowMessage> expected = {{kMessageWindowStatus, 3, 0},
                                                 {kMessageWindowProgress, 98, 0},
                                                 {kMessageWindowProgress, 99, 0}};
    EXPECT_EQ(window.Received(), expected);
    EXPECT_EQ(dispatcher.Posted(), Messages{messages(3).back()}) << "an error is no window's";
    operation.SetMessageSink(nullptr);
    report();
    EXPECT_EQ(window.Received(), std::vector<WindowMessage>());
    EXPECT_EQ(dispatcher.Sent(), messages(4));
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
    EXPECT_FALSE(operation.IsStopping() || operation.IsStoppingWeak());
    EXPECT_FALSE(operation.BreakLongOperation(true));
    EXPECT_NO_THROW(operation.TestUserBreak());
    operation.Stop();
    operation.ActivateBreak(false);
    EXPECT_TRUE(operation.IsStopping() && operation.IsStoppingWeak());
    EXPECT_TRUE(operation.BreakLongOperation(false));
    EXPECT_EQ(ThrownCode([&] { operation.TestUserBreak(); }), kErrorUserBreak);
    EXPECT_TRUE(operation.TryLockW()) << "the lock was given back";
}

TEST(BAsyncOperationInterface, LetsReceiversCallItFromInsideASend)
{
    BAsyncOperationInterface operation;
    RecordingDispatcher dispatcher;
    int code = 0;
    dispatcher.OnSend([&](const RecordingDispatcher::Message& message) {
        auto* const sender = reinterpret_cast<BAsyncOperationInterface*>(message.first);
        OnWorker([sender] { sender->Stop(); }); // on another thread, which waits for the lock
        sender->Stop();
        code = sender->GetError().Error();
    });
    operation.StatusInfo(QD_W("text"));
    operation.ProgressInfo(1);
    operation.ErrorInfo(BError(7, QD_W("$Key"), nullptr, nullptr, nullptr));
    EXPECT_EQ(dispatcher.Sent().size(), 3U);
    EXPECT_EQ(code, 7);
    EXPECT_EQ(operation.GetError().Argument(0), QD_W("$Key"));
    EXPECT_TRUE(operation.IsStopping());
}

TEST(BSyncOperationInterface, ActsOnTheDispatchersThreadOnly)
{
    BSyncOperationInterface operation;
    const auto doesNothing = [&operation] {
        operation.StatusInfo(QD_W("text"));
        operation.ProgressInfo(1);
        EXPECT_NO_THROW(operation.ErrorInfo(BError(7)));
        EXPECT_FALSE(operation.IsStopping() || operation.IsStoppingWeak());
    };
    BProgressManager::RegisterInstance(new BreakingManager);
    doesNothing(); // without a dispatcher
    RecordingDispatcher dispatcher;
    OnWorker(doesNothing);
    EXPECT_EQ(dispatcher.Posted(), Messages());
    EXPECT_TRUE(operation.IsStopping() && operation.IsStoppingWeak());
    BProgressManager::RegisterInstance(nullptr);
    EXPECT_FALSE(operation.IsStopping() || operation.IsStoppingWeak());
    operation.ProgressInfo(150);
    EXPECT_EQ(dispatcher.Sent(), (Messages{{kMessageSyncProgress, 150, 0}}));
    EXPECT_EQ(ThrownCode([&] { operation.ErrorInfo(BError(7)); }), 7);

    WString received;
    dispatcher.OnSend([&](const RecordingDispatcher::Message& message) {
        EXPECT_EQ(message.number, kMessageSyncStatus);
        EXPECT_EQ(message.second, 0u);
        received = reinterpret_cast<const WChar*>(message.first);
    });
    operation.StatusInfo(QD_W("text"));
    EXPECT_EQ(received, QD_W("text"));
    EXPECT_TRUE(operation.FetchStatusMessage(1, true).IsEmpty());
}

TEST(CommandExecution, ForwardsToTheRegisteredInstance)
{
    class Executor final : public BCommandExecutionInterface {
    public:
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
    };
    WString executed;
    EXPECT_EQ(ExecuteCommand(QD_W("open"), true, 42, &executed), kErrorNoCommandExecution);
    EXPECT_EQ(CommandExecutionInstance(), nullptr);
    const SP<Executor> executor(new Executor);
    for (int i = 0; i < 2; ++i)
        RegisterCommandExecution(executor.Get());
    EXPECT_EQ(executor->RefCount(), 2);
    EXPECT_EQ(ExecuteCommand(QD_W("open"), true, 42, &executed), 42);
    EXPECT_EQ(ExecuteCommand(QD_W("close"), false, 42, &executed), -1);
    EXPECT_EQ(executed, QD_W("close"));
    RegisterCommandExecution(nullptr);
    EXPECT_EQ(executor->RefCount(), 1);
}
