#include "commands/slice_kill.h"

#include "diagnosis/report.h"
#include "output/output.h"
#include "output/progress_line.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <algorithm>
#include <future>
#include <iostream>
#include <mutex>
#include <optional>

namespace MERO::Tool {
namespace {

using Systemd::KillPhase;

const char* PhaseWords(KillPhase phase)
{
    switch (phase) {
    case KillPhase::StoppingUnits:
        return "stopping its units";
    case KillPhase::Terminating:
        return "sending SIGTERM to what is left";
    case KillPhase::Waiting:
        return "waiting for that to end";
    default:
        return "sending SIGKILL to what has not ended";
    }
}

/// Shows the phase and its seconds. Used by two threads: one kills, the other counts.
class KillProgress {
public:
    void Begin(KillPhase phase)
    {
        const std::lock_guard lock(mutex_);
        phase_ = phase;
        began_ = Clock::now();
        Show();
    }

    void Tick()
    {
        const std::lock_guard lock(mutex_);
        if (phase_) {
            Show();
        }
    }

    bool HasBegun() const { return phase_.has_value(); } ///< called when only one thread is left

private:
    using Clock = std::chrono::steady_clock;

    void Show()
    {
        const std::string words = PhaseWords(*phase_);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - began_).count();
        line_.Show(words, seconds == 0 ? words : words + " (" + std::to_string(seconds) + " s)");
    }

    std::mutex mutex_;
    ProgressLine line_;
    std::optional<KillPhase> phase_;
    Clock::time_point began_;
};

/// Whether the kill would also hit this process, and with it the caller's session.
bool HoldsThisProcess(const std::string& slice)
{
    std::string path;
    const bool isKnown = MEROSystemdCgroupPathnameGet(getpid(), "name=systemd", path);
    return slice == "-.slice" || (isKnown && (path + "/").find("/" + slice + "/") != path.npos);
}

} // namespace

bool IsThere(const std::string& slice)
{
    Texts tracked;
    std::map<std::string, Systemd::ShownUnit> units;
    (void)MEROSystemdSliceList(tracked); // false if there are none
    if (std::find(tracked.begin(), tracked.end(), slice) != tracked.end() ||
        !MEROSystemdShowProperties({slice}, {"ActiveState", "FragmentPath", "DropInPaths"}, units) ||
        !units[slice].asked) {
        return true;
    }
    std::map<std::string, std::string>& properties = units[slice].properties;
    return properties["ActiveState"] != "inactive" || !properties["FragmentPath"].empty() ||
           !properties["DropInPaths"].empty();
}

int KillSlice(const std::string& slice, bool force)
{
    if (!IsThere(slice)) {
        PrintError(slice + ": there is no such slice");
        return kNoSuchUnit;
    }
    if (!force && HoldsThisProcess(slice)) {
        PrintError(slice + " is not killed: this process runs in it. --force kills it anyway");
        return kFailed;
    }
    bool done = false;
    bool hasBegun = false;
    {
        KillProgress progress;
        std::future<bool> killed = std::async(std::launch::async, [&] {
            return MEROSystemdKillSlice(slice, [&](KillPhase phase) { progress.Begin(phase); });
        });
        while (killed.wait_for(std::chrono::seconds(1)) != std::future_status::ready) {
            progress.Tick();
        }
        done = killed.get();
        hasBegun = progress.HasBegun();
    }
    if (!done) {
        return ReportFailure("killing " + slice);
    }
    std::cout << slice << (hasBegun ? ": killed" : ": nothing runs there in systemd's hierarchy") << '\n';
    return kDone;
}

} // namespace MERO::Tool
