// The code of docs/operations.md.

#include "core/base/BError.h"
#include "core/base/BString.h"
#include "core/operation/BAsyncOperationInterface.h"
#include "core/operation/BMessageReceiver.h"
#include "core/operation/Messages.h"
#include "support/BThreadDispatcher.h"

#include "examples/guides/Guides.h"

#include <cstdio>
#include <thread>
#include <vector>

constexpr int kNoDeviations = 7001; // an error of the application

/// The mean of all deviations; 0 when it was stopped. Knows neither threads nor windows.
double MeanDeviation(const std::vector<double>& deviations, BOperationInterface& operation)
{
    operation.StatusInfo(QD_W("$IDS_Measuring"));
    double sum = 0;
    for (std::size_t i = 0; i < deviations.size(); ++i) {
        if (i % 1000 == 0) {
            if (operation.IsStopping())
                return 0;
            operation.ProgressInfo(static_cast<unsigned int>(100 * i / deviations.size()));
        }
        sum += deviations[i];
    }
    if (deviations.empty())
        operation.ErrorInfo(BError(kNoDeviations));
    return deviations.empty() ? 0 : sum / static_cast<double>(deviations.size());
}

/// Shows how far an operation is. Called on the dispatcher's thread alone.
class ProgressDisplay final : public BMessageReceiver {
public:
    void Receive(unsigned int message, std::uint64_t first, std::uint64_t second) override
    {
        auto* operation = reinterpret_cast<BAsyncOperationInterface*>(first);
        if (message == kMessageAsyncStatus)
            status = operation->FetchStatusMessage(static_cast<int>(second), false);
        else if (message == kMessageAsyncProgress)
            percent = second;
        else if (message == kMessageAsyncError)
            error = operation->GetError().Error();
    }

    WString status;
    std::uint64_t percent = 0;
    int error = 0;
};

double MeasureWithDisplay(const std::vector<double>& deviations, ProgressDisplay& display)
{
    const SP<BThreadDispatcher> dispatcher(new BThreadDispatcher); // when the program starts
    dispatcher->AddReceiver(&display);
    BDispatcher::RegisterDispatcher(dispatcher);

    double mean = 0;
    BAsyncOperationInterface operation; // lives until its messages are delivered
    std::thread worker([&] { mean = MeanDeviation(deviations, operation); });
    worker.join(); // a user interface goes on meanwhile; a button calls operation.Stop()

    BDispatcher::RegisterDispatcher(nullptr); // when the program ends
    dispatcher->Shutdown();                   // delivers what is still queued
    return mean;
}

void ShowOperations()
{
    ProgressDisplay display;
    const double mean = MeasureWithDisplay(std::vector<double>(10'000, 0.5), display);
    std::printf("%s: %d %%, mean %g, error %d\n", display.status.AsString().CStr(),
                static_cast<int>(display.percent), mean, display.error);
    MeasureWithDisplay({}, display);
    std::printf("Without deviations: error %d\n", display.error);

    BAsyncOperationInterface stopped;
    stopped.Stop();
    std::printf("Stopped: mean %g\n", MeanDeviation({1.0}, stopped));
}
