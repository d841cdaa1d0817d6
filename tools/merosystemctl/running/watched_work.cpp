#include "running/watched_work.h"

#include "output/progress_line.h"
#include "running/job_watch.h"

#include <merocore/error.h>

#include <chrono>
#include <future>

namespace MERO::Tool {

WatchedWork Watch(const std::string& what, const std::atomic<bool>& isQuiet, const std::function<bool()>& work)
{
    using std::chrono::seconds;
    const auto began = std::chrono::steady_clock::now();
    WatchedWork watched{false, 0, {}};
    std::future<void> end = std::async(std::launch::async, [&] {
        MLIBCErrSetEx(0, "", 0);
        watched.done = work();
        watched.error = MLIBCErrGet(); // of this thread
    });
    JobWatch jobs;
    ProgressLine line;
    while (end.wait_for(seconds(1)) != std::future_status::ready) {
        jobs.Update();
        if (isQuiet) {
            line.Clear();
            continue;
        }
        const auto passed = std::chrono::duration_cast<seconds>(std::chrono::steady_clock::now() - began).count();
        const std::string details = jobs.Details();
        line.Show(what + " " + ToCell(jobs.Units()),
                  what + " (" + std::to_string(passed) + " s)" + (details.empty() ? "" : ": " + details));
    }
    end.get();
    watched.stopping = jobs.Stopping();
    return watched;
}

WatchedWork Watch(const std::string& what, const std::function<bool()>& work)
{
    return Watch(what, false, work);
}

} // namespace MERO::Tool
