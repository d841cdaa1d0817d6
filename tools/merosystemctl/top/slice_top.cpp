#include "top/slice_top.h"

#include "output/output.h"
#include "top/top_display.h"

#include <exception>

namespace MERO::Tool {
namespace {

void Run(const EndSignals& signals, SliceMonitor& monitor, const TopOptions& options)
{
    const auto interval = std::chrono::duration_cast<Clock::duration>(options.interval);
    std::unique_ptr<TopDisplay> display = options.json ? nullptr : MakeTopScreen(signals, options);
    if (!display) {
        display = MakeTopLines(signals, options);
    }
    display->Show(monitor.Slices());
    for (unsigned updates = 0; options.count == 0 || updates < options.count; ++updates) {
        if (!display->WaitUntil(Clock::now() + interval)) {
            return;
        }
        monitor.Update(ReadTrackedSlices());
        display->Show(monitor.Slices());
    }
}

} // namespace

int ShowTop(const TopOptions& options)
{
    SliceMonitor monitor(ThisMachine());
    monitor.Update(ReadTrackedSlices());
    if (monitor.Slices().empty()) {
        PrintError("no slice is tracked");
        return kNotActive;
    }
    try {
        const EndSignals signals;
        Run(signals, monitor, options);
    } catch (const std::exception& exception) { // unwinding has restored the terminal
        PrintError(exception.what());
        return kFailed;
    }
    return kDone;
}

} // namespace MERO::Tool
