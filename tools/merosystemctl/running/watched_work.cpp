#include "running/watched_work.h"

#include "running/job_watch.h"

#include <merocore/error.h>

#include <unistd.h>

#include <chrono>
#include <future>

namespace MERO::Tool {

void Progress::Show(const std::string& matter, const std::string& details)
{
    const std::lock_guard lock(mutex_);
    if (!isPaused_) {
        line_.Show(matter, details);
    }
}

void Progress::Pause()
{
    const std::lock_guard lock(mutex_);
    isPaused_ = true;
    line_.Clear();
}

void Progress::Resume()
{
    const std::lock_guard lock(mutex_);
    isPaused_ = false;
}

WatchedWork Watch(const std::string& what, const std::function<bool(Progress&)>& work)
{
    using std::chrono::seconds;
    const auto began = std::chrono::steady_clock::now();
    JobWatch jobs;
    Progress progress;
    const auto show = [&] {
        if (getuid() == 0) { // an ordinary user's session can be opened in the first thread only, which is at work
            jobs.Update();
        }
        const auto passed = std::chrono::duration_cast<seconds>(std::chrono::steady_clock::now() - began).count();
        const std::string details = jobs.Details();
        progress.Show(what + " " + ToCell(jobs.Units()),
                      what + " (" + std::to_string(passed) + " s)" + (details.empty() ? "" : ": " + details));
    };
    std::future<void> watcher;
    std::promise<void> end; // behind the watcher, which ends when this goes
    watcher = std::async(std::launch::async, [&show, ended = end.get_future()] {
        while (ended.wait_for(seconds(1)) != std::future_status::ready) {
            show();
        }
    });
    MLIBCErrSetEx(0, "", 0);
    const bool done = work(progress);
    const int error = MLIBCErrGet();
    end.set_value();
    watcher.get();
    return {done, error, jobs.Stopping()};
}

} // namespace MERO::Tool
