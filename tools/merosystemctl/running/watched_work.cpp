#include "running/watched_work.h"

#include "running/general_options.h"
#include "running/job_watch.h"
#include "running/waiting_systemctl.h"

#include <merocore/error.h>

#include <unistd.h>

#include <chrono>
#include <future>

namespace MERO::Tool {
namespace {

constexpr std::chrono::milliseconds kBetweenEndings(50); // the library may start another systemctl

} // namespace

void Progress::Show(const std::string& units, const std::string& jobs)
{
    const std::lock_guard lock(mutex_);
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - since_).count();
    if (!isPaused_ && passed > 0) {
        line_.Show(what_ + " " + units, what_,
                   " (" + std::to_string(passed) + " s)" + (jobs.empty() ? "" : ": " + jobs));
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
        if (General().quiet || General().noProgress) {
            return;
        }
        if (getuid() == 0) { // only the first thread can open an ordinary user's session, and it is at work
            jobs.Update();
        }
        progress.Show(ToCell(jobs.Units()), jobs.Details());
    };
    std::future<void> watcher;
    std::promise<void> end; // declared after the watcher, which ends when this is destroyed
    bool timedOut = false;
    watcher = std::async(std::launch::async, [&, ended = end.get_future()] {
        using Clock = std::chrono::steady_clock;
        const seconds timeout(General().timeout);
        const auto begin = Clock::now();
        while (ended.wait_for(timedOut ? kBetweenEndings : seconds(1)) != std::future_status::ready) {
            if (!timedOut) {
                show();
            }
            if (timeout > seconds(0) && Clock::now() - begin >= timeout) {
                timedOut = EndWaitingSystemctl() || timedOut;
            }
        }
    });
    MLIBCErrSetEx(0, "", 0);
    const bool done = work(progress);
    const int error = MLIBCErrGet();
    end.set_value();
    watcher.get();
    return {done, error, jobs.Stopping(), timedOut};
}

} // namespace MERO::Tool
