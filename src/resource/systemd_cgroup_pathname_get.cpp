#include "core/log.h"
#include "core/text_reader.h"
#include "resource/proc_texts.h"

#include <merosystemd/systemd.hpp>

#include <fcntl.h>

using namespace MERO::Systemd;

namespace {

/// Asks the process' lines of cgroups; false when there are none.
template <typename Question>
bool AskCgroups(int pid, Question&& question)
{
    try {
        TextReader reader;
        const auto lines = reader.Read(AT_FDCWD, ("/proc/" + std::to_string(pid) + "/cgroup").c_str());
        return lines && question(*lines);
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Exception: %s", exception.what());
        return false;
    }
}

} // namespace

bool MEROSystemdCgroupPathnameGet(int pid, const std::string& controller, std::string& path)
{
    return AskCgroups(pid, [&](std::string_view lines) { return FindCgroupPath(lines, controller, path); });
}

bool MEROSystemdGetByPid(int pid, std::string& unit)
{
    std::string path;
    if (!AskCgroups(pid, [&](std::string_view lines) { return SystemdCgroupPath(lines, path); })) {
        return false;
    }
    const std::string found = UnitOfCgroup(path);
    if (!found.empty()) {
        unit = found;
    }
    return !found.empty();
}
