#include "resource/process_cgroup.h"

#include "core/split.h"

#include <vector>

namespace MERO::Systemd {

bool CgroupPathParse(const std::string& line, const std::string& controllers, std::string& path)
{
    std::vector<std::string> fields;
    if (!Split(line, fields, ":") || fields.size() != 3 || fields[1] != controllers) {
        return false;
    }
    path = fields[2];
    return true;
}

bool FindCgroupPath(std::string_view lines, const std::string& controllers, std::string& path)
{
    while (!lines.empty()) {
        const std::size_t end = lines.find('\n');
        if (CgroupPathParse(std::string(lines.substr(0, end)), controllers, path)) {
            return true;
        }
        lines.remove_prefix(end == lines.npos ? lines.size() : end + 1);
    }
    return false;
}

bool SystemdCgroupPath(std::string_view lines, std::string& path)
{
    // A machine with cgroup version 2 alone has no named hierarchies: its one hierarchy, "0::", is systemd's.
    const bool isNamed = lines.find(":name=systemd:") != lines.npos;
    return FindCgroupPath(lines, isNamed ? "name=systemd" : "", path);
}

std::string UnitOfCgroup(const std::string& path)
{
    std::vector<std::string> folders;
    const bool isUnit = Split(path, folders, "/") && !folders.empty() && folders.back().find('.') != std::string::npos;
    return isUnit ? UnitOfFolder(folders.back()) : std::string();
}

std::string UnitOfFolder(const std::string& folder)
{
    return folder.starts_with('_') ? folder.substr(1) : folder;
}

} // namespace MERO::Systemd
