#include "core/log.h"
#include "core/text_reader.h"
#include "resource/cgroup_layout.h"
#include "resource/proc_texts.h"

#include <merosystemd/systemd.hpp>

#include <fcntl.h>

using namespace MERO::Systemd;

bool MEROSystemdCgroupPathnameGet(int pid, const std::string& controller, std::string& path)
{
    const bool isSystemds = controller == SystemdControllers(false);
    const std::string controllers = isSystemds ? SystemdControllers(IsUnified()) : controller;
    try {
        TextReader reader;
        const auto lines = reader.Read(AT_FDCWD, ("/proc/" + std::to_string(pid) + "/cgroup").c_str());
        return lines && FindCgroupPath(*lines, controllers, path);
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Exception: %s", exception.what());
        return false;
    }
}

bool MEROSystemdGetByPid(int pid, std::string& unit)
{
    std::string path;
    if (!MEROSystemdCgroupPathnameGet(pid, SystemdControllers(false), path)) {
        return false;
    }
    const std::string found = UnitOfCgroup(path);
    if (!found.empty()) {
        unit = found;
    }
    return !found.empty();
}
