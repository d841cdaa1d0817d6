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
    JobWatch jobs;
    const auto show = [&](ProgressLine& line) {
        jobs.Update();
        if (isQuiet) {
            line.Clear();
            return;
        }
        const auto passed = std::chrono::duration_cast<seconds>(std::chrono::steady_clock::now() - began).count();
        const std::string details = jobs.Details();
        line.Show(what + " " + ToCell(jobs.Units()),
                  what + " (" + std::to_string(passed) + " s)" + (details.empty() ? "" : ": " + details));
    };
    std::future<void> watcher;
    std::promise<void> end; // behind the watcher, which ends when this goes
    watcher = std::async(std::launch::async, [&show, ended = end.get_future()] {
        ProgressLine line;
        while (ended.wait_for(seconds(1)) != std::future_status::ready) {
            show(line);
        }
    });
    MLIBCErrSetEx(0, "", 0);
    const bool done = work();
    const int error = MLIBCErrGet();
    end.set_value();
    watcher.get();
    return {done, error, jobs.Stopping()};
}

WatchedWork Watch(const std::string& what, const std::function<bool()>& work)
{
    return Watch(what, false, work);
}

} // namespace MERO::Tool
