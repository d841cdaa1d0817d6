#include "running/stop_progress.h"

#include "output/progress_line.h"
#include "running/stop_watch.h"

#include <chrono>
#include <future>

namespace MERO::Tool {
namespace {

constexpr auto kInterval = std::chrono::seconds(1);

} // namespace

WatchedWork WithStopProgress(const std::atomic<bool>& isQuiet, const std::function<bool()>& work)
{
    StopWatch stops;
    ProgressLine line;
    std::future<bool> done = std::async(std::launch::async, work);
    while (done.wait_for(kInterval) != std::future_status::ready) {
        stops.Update();
        if (isQuiet || stops.Units().empty()) {
            line.Clear();
        } else {
            line.Show(ToCell(stops.Units()), "stopping: " + stops.Details());
        }
    }
    return {done.get(), stops.Units()};
}

} // namespace MERO::Tool
