#include "output/words.h"

#include <array>
#include <cstddef>

namespace MERO::Tool {
namespace {

/// The word at `number`, counted as the enumerations do.
template <std::size_t N>
const char* Word(const std::array<const char*, N>& words, int number)
{
    return number >= 0 && static_cast<std::size_t>(number) < N ? words[static_cast<std::size_t>(number)] : "other";
}

} // namespace

const char* TypeWord(Systemd::JobType type)
{
    return Word(std::array{"other", "start", "stop"}, static_cast<int>(type));
}

const char* StateWord(Systemd::JobState state)
{
    return Word(std::array{"other", "running", "waiting"}, static_cast<int>(state));
}

const char* LoadWord(int loadStatus)
{
    return Word(std::array{"stub", "loaded", "not-found", "error", "merged", "masked"}, loadStatus);
}

const char* ActiveWord(int activeStatus)
{
    return Word(std::array{"inactive", "active", "deactivating", "activating", "reloading", "failed"}, activeStatus);
}

const char* EnableWord(int enableStatus)
{
    return Word(std::array{"disabled", "enabled", "static", "masked", "linked"}, enableStatus);
}

const char* DependencyWord(int dependency)
{
    return Word(std::array{"none", "all", "partial"}, dependency);
}

ExitCode StateExitCode(const std::string& load, const std::string& active)
{
    if (load == LoadWord(MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND)) {
        return kNoSuchUnit;
    }
    if (active == ActiveWord(MERO_SYSTEMD_ACTIVE_STATUS_FAILED)) {
        return kFailed;
    }
    return active == ActiveWord(MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE) ||
                   active == ActiveWord(MERO_SYSTEMD_ACTIVE_STATUS_RELOADING)
               ? kDone
               : kNotActive;
}

ExitCode Worse(ExitCode one, ExitCode other)
{
    for (const ExitCode code : {kNoSuchUnit, kFailed, kNotActive}) {
        if (one == code || other == code) {
            return code;
        }
    }
    return kDone;
}

} // namespace MERO::Tool
