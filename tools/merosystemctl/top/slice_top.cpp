#include "top/slice_top.h"

#include "output/output.h"
#include "top/top_display.h"

#include <exception>

namespace MERO::Tool {
namespace {

void Run(const EndSignals& signals, SliceMonitor& monitor, Clock::duration interval, unsigned count, bool json)
{
    std::unique_ptr<TopDisplay> display = json ? nullptr : MakeTopScreen(signals);
    if (!display) {
        display = MakeTopLines(signals, json);
    }
    display->Show(monitor.Slices());
    for (unsigned updates = 0; count == 0 || updates < count; ++updates) {
        if (!display->WaitUntil(Clock::now() + interval)) {
            return;
        }
        monitor.Update(ReadTrackedSlices());
        display->Show(monitor.Slices());
    }
}

} // namespace

int ShowTop(std::chrono::duration<double> interval, unsigned count, bool json)
{
    SliceMonitor monitor(ThisMachine());
    monitor.Update(ReadTrackedSlices());
    if (monitor.Slices().empty()) {
        PrintError("no slice is tracked");
        return kNotActive;
    }
    try {
        const EndSignals signals;
        Run(signals, monitor, std::chrono::duration_cast<Clock::duration>(interval), count, json);
    } catch (const std::exception& exception) { // caught, lest the terminal is not restored
        PrintError(exception.what());
        return kFailed;
    }
    return kDone;
}

} // namespace MERO::Tool
