#include "output/words.h"

#include <array>
#include <cstddef>

namespace MERO::Tool {
namespace {

/// The word for an enumeration's number.
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

const char* DependencyWord(int dependency)
{
    return Word(std::array{"none", "all", "partial"}, dependency);
}

bool IsMissing(const std::string& load)
{
    return load == "not-found";
}

bool IsRunning(const std::string& active)
{
    return active == "active" || active == "reloading" || active == "refreshing";
}

ExitCode StateExitCode(const std::string& load, const std::string& active)
{
    return IsMissing(load) ? kNoSuchUnit : active == "failed" ? kFailed : IsRunning(active) ? kDone : kNotActive;
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
