#include "core/errors.h"
#include "core/interruption.h"
#include "core/names.h"
#include "core/text.h"
#include "resource/slice_cgroup.h"
#include "unit/unit_file.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <boost/algorithm/string/trim.hpp>

#include <stdexcept>

using namespace MERO::Systemd;

namespace {

constexpr unsigned long kDefaultTimeout = 10; // seconds

bool RunKillCommand(const std::string& slice, const Texts& options)
{
    try {
        return MEROSystemdSystemctl("kill", options, {slice}, [](int exitCode, const Texts&) { return exitCode == 0; });
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to send kill command [%s]", exception.what());
        return false;
    }
}

bool StopUnits(const std::string& slice)
{
    const Texts units = UnitsOfSlice(slice);
    if (units.empty()) {
        MERO_LOG(LOG_INFO, "There is no units in [%s], skip stop units", slice.c_str());
        return true;
    }
    MERO_LOG(LOG_INFO, "The following units will be stopped: [%s]", Join(units).c_str());
    Texts failed;
    return MEROSystemdStop(units, failed);
}

unsigned long KillTimeout(const std::string& slice)
{
    try {
        const std::string value = XTarvixKeyGet(slice, "SliceKillTimeoutSec");
        if (boost::algorithm::trim_left_copy(value).starts_with('-')) { // stoul would make it a huge number
            throw std::invalid_argument("stoul");
        }
        return value.empty() ? kDefaultTimeout : std::stoul(value);
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to get SliceKillTimeoutSec: [%s]", exception.what());
    } catch (...) {
        MERO_LOG(LOG_ERR, "Failed to get slice kill timeout");
    }
    return kDefaultTimeout;
}

/// Waits for the slice's last process. Returns false if it does not end in time.
bool WaitForEnd(const std::string& slice, unsigned long timeout, const CancelBlock& block)
{
    for (unsigned long seconds = 0; seconds < timeout; ++seconds) {
        if (!HasLiveProcess(slice)) {
            return true;
        }
        block.LiftFor(SleepOneSecond);
    }
    return false;
}

} // namespace

bool MEROSystemdKillSlice(const std::string& strSlice)
{
    return MEROSystemdKillSlice(strSlice, [](KillPhase) {});
}

bool MEROSystemdKillSlice(const std::string& strSlice, const std::function<void(KillPhase)>& progress)
{
    if (!MERO_VALID(!strSlice.empty() && IsSliceName(strSlice))) {
        return false;
    }
    const CancelBlock block;
    const auto report = [&](KillPhase phase) { block.LiftFor([&] { progress(phase); }); };
    const char* slice = strSlice.c_str();
    if (!HasSystemdHierarchy() && MayHaveProcess(strSlice)) {
        MERO_LOG(LOG_ERR, "[%s] is not killed: without systemd's cgroup hierarchy its processes are not known.", slice);
        return false;
    }
    if (!HasLiveProcess(strSlice)) {
        MERO_LOG(LOG_INFO, "There is no alive process in [%s], skip kill slice", slice);
        return true;
    }
    if (RunsInSlice(strSlice)) {
        MERO_LOG(LOG_WARNING, "[%s] holds the process that kills it.", slice);
    }
    MERO_LOG(LOG_INFO, "[%s] killing...", slice);
    report(KillPhase::StoppingUnits);
    if (!StopUnits(strSlice)) {
        MERO_LOG(LOG_ERR, "[%s] killing failed in service stop phase.", slice);
    }
    report(KillPhase::Terminating);
    if (!RunKillCommand(strSlice, {})) {
        MERO_LOG(LOG_ERR, "[%s] SIGTERM killing failed in process kill phase.", slice);
    }
    MERO_LOG(LOG_INFO, "has sent SIGTERM to [%s]", slice); // logged even on failure: programs match this text
    report(KillPhase::Waiting);
    if (!WaitForEnd(strSlice, KillTimeout(strSlice), block)) {
        report(KillPhase::Killing);
        if (!RunKillCommand(strSlice, {"--signal=SIGKILL"})) {
            MERO_LOG(LOG_ERR, "[%s] SIGKILL killing failed in process kill phase.", slice);
            return false;
        }
        MERO_LOG(LOG_INFO, "has sent SIGKILL to [%s]", slice);
    }
    MERO_LOG(LOG_INFO, "[%s] killed.", slice);
    return true;
}
