#include "volume/process_files.h"

#include "resource/process_cgroup.h"

#include <fcntl.h>

namespace MERO::Systemd {
namespace {

constexpr int kFieldsBeforePath = 5; // addresses, permissions, offset, device, inode: see proc(5)

std::string_view SkipBlanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

} // namespace

ProcessFiles::ProcessFiles() : proc_(OpenFolder(AT_FDCWD, "/proc/")) {}

Descriptor ProcessFiles::OpenFolder(int parent, const char* name)
{
    return Descriptor(openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::string_view ProcessFiles::Link(int folder, const char* name)
{
    const ssize_t length = readlinkat(folder, name, link_, sizeof link_);
    return {link_, length > 0 ? static_cast<std::size_t>(length) : 0};
}

std::string ProcessFiles::Command(const ProcessFolder& process)
{
    const std::string_view text = reader_.Read(process.descriptor, "comm").value_or(std::string_view());
    return std::string(text.substr(0, text.find('\n')));
}

std::string ProcessFiles::Cgroup(const ProcessFolder& process)
{
    const auto lines = reader_.Read(process.descriptor, "cgroup");
    std::string path;
    return lines && SystemdCgroupPath(*lines, path) ? path : std::string();
}

std::string_view WholeMapPath(std::string_view line)
{
    for (int field = 0; field < kFieldsBeforePath; ++field) {
        line = SkipBlanks(line);
        line.remove_prefix(std::min(line.find(' '), line.size()));
    }
    return SkipBlanks(line);
}

std::string_view MapPath(std::string_view line)
{
    const std::string_view path = WholeMapPath(line);
    return path.substr(0, path.find_first_of(" \t\v\f\r"));
}

} // namespace MERO::Systemd
