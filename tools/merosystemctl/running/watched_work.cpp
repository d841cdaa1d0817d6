#include "running/watched_work.h"

#include "running/job_watch.h"

#include <merocore/error.h>

#include <unistd.h>

#include <chrono>
#include <future>

namespace MERO::Tool {

void Progress::Show(const std::string& units, const std::string& jobs)
{
    const std::lock_guard lock(mutex_);
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - since_).count();
    if (!isPaused_ && passed > 0) {
        line_.Show(what_ + " " + units,
                   what_ + " (" + std::to_string(passed) + " s)" + (jobs.empty() ? "" : ": " + jobs));
    }
}

void Progress::Pause()
{
    const std::lock_guard lock(mutex_);
    isPaused_ = true;
    line_.Clear();
}

void Progress::Resume(const std::string& what)
{
    const std::lock_guard lock(mutex_);
    what_ = what;
    since_ = Clock::now();
    isPaused_ = false;
}

WatchedWork Watch(const std::string& what, const std::function<bool(Progress&)>& work)
{
    using std::chrono::seconds;
    JobWatch jobs;
    Progress progress(what);
    const auto show = [&] {
        if (getuid() == 0) { // an ordinary user's session can be opened in the first thread only, which is at work
            jobs.Update();
        }
        progress.Show(ToCell(jobs.Units()), jobs.Details());
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
