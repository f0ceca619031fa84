#include "core/operation/BAsyncOperationInterface.h"
#include "core/operation/Messages.h"

#include "soak/models/Model.h"
#include "tests/operation/MessageWindow.h"
#include "tests/operation/RecordingDispatcher.h"

#include <algorithm>
#include <map>

namespace {

using Messages = RecordingDispatcher::Messages;

struct World {
    struct Twin {
        bool isStopped = false;
        int error = 0;
        bool hasWindow = false;
        int lastKey = 0;
        std::map<int, WString> texts;
    };

    RecordingDispatcher dispatcher;
    MessageWindow window;
    BAsyncOperationInterface ours;
    Twin twin;

    void Compare(bool)
    {
        Same("stopping",
             ours.IsStopping() && ours.IsStoppingWeak() && ours.BreakLongOperation(true),
             twin.isStopped);
        Same("error", ours.GetError().Error(), twin.error);
        Same("window", ours.GetMessageSink() == window.Handle(), twin.hasWindow);
        Same("other messages",
             dispatcher.Sent().empty() && dispatcher.Posted().empty() && window.Received().empty(),
             true);
    }

    /// One message, to the window or the dispatcher.
    void Expect(bool toWindow, unsigned int number, std::uint64_t first, std::uint64_t second)
    {
        const auto received = window.Received();
        const auto sent = dispatcher.Sent();
        Same("to the window", received.size(), std::size_t{toWindow});
        Same("to the dispatcher", sent.size(), std::size_t{!toWindow});
        if (toWindow)
            Same("message", received[0].number == number && received[0].first == first, true);
        else
            Same("message", sent == Messages{{number, first, second}}, true);
    }
    std::uint64_t Address() const { return reinterpret_cast<std::uintptr_t>(&ours); }
};

const Operation<World> kTable[] = {
    {"StatusInfo", 8,
     [](World& world, const Step& step) {
         auto& twin = world.twin;
         const WString text = WString::FromInt(step.a);
         world.ours.StatusInfo(text);
         twin.texts[++twin.lastKey] = text;
         const auto key = static_cast<std::uint64_t>(twin.lastKey);
         if (twin.hasWindow)
             world.Expect(true, kMessageWindowStatus, key, 0);
         else
             world.Expect(false, kMessageAsyncStatus, world.Address(), key);
     }},
    {"FetchStatusMessage", 8,
     [](World& world, const Step& step) {
         auto& twin = world.twin;
         const int key = static_cast<int>(step.a % static_cast<unsigned>(twin.lastKey + 2));
         const WString text = world.ours.FetchStatusMessage(key, step.b % 2 == 0);
         Same("text", text.AsView() == twin.texts[key].AsView(), true);
         if (step.b % 2 != 0)
             twin.texts.erase(key);
     }},
    {"ProgressInfo", 4,
     [](World& world, const Step& step) {
         world.ours.ProgressInfo(step.a);
         if (world.twin.hasWindow)
             world.Expect(true, kMessageWindowProgress, std::min(step.a, 99u), 0);
         else
             world.Expect(false, kMessageAsyncProgress, world.Address(), step.a);
     }},
    {"ErrorInfo", 2,
     [](World& world, const Step& step) {
         world.twin.error = static_cast<int>(step.a);
         const BError error(world.twin.error, QD_W("text"), nullptr, nullptr, nullptr);
         if (step.b % 2 == 0) {
             world.ours.SetError(error);
             return;
         }
         world.ours.ErrorInfo(error);
         world.Expect(false, kMessageAsyncError, world.Address(), 0);
     }},
    {"SetMessageSink", 2,
     [](World& world, const Step& step) {
         world.twin.hasWindow = step.a % 2 == 0;
         world.ours.SetMessageSink(world.twin.hasWindow ? world.window.Handle() : nullptr);
     }},
    {"TestUserBreak", 1,
     [](World& world, const Step&) {
         bool isBroken = false;
         try {
             world.ours.TestUserBreak();
         } catch (const BError&) {
             isBroken = true;
         }
         Same("broken", isBroken, world.twin.isStopped);
     }},
    {"Stop", 1,
     [](World& world, const Step& step) {
         if (step.a % 4 == 0) {
             world.ours.Stop();
             world.twin.isStopped = true;
         }
     }},
    {"copy", 1,
     [](World& world, const Step& step) {
         const BAsyncOperationInterface copy(world.ours);
         if (step.a % 4 == 0) {
             world.ours = BAsyncOperationInterface();
             world.twin = {};
         }
         if (step.a % 2 == 0)
             return;
         world.ours.Stop();
         world.ours = copy;
     }},
};

} // namespace

Subject OperationModel()
{
    return MakeSubject("operation", kTable);
}
