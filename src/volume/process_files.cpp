#include "volume/process_files.h"

#include "core/text.h"
#include "resource/cgroup_layout.h"
#include "resource/proc_texts.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace MERO::Systemd {
namespace {

/// Returns what follows the last newline.
std::string_view LastLine(std::string_view text)
{
    const auto* newline = static_cast<const char*>(memrchr(text.data(), '\n', text.size())); // faster than rfind
    return newline == nullptr ? text : text.substr(static_cast<std::size_t>(newline + 1 - text.data()));
}

} // namespace

ProcessFiles::ProcessFiles()
    : proc_(OpenFolder(AT_FDCWD, "/proc/")), systemdControllers_(SystemdControllers(IsUnified()))
{
}

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
    return lines && FindCgroupPath(*lines, systemdControllers_, path) ? path : std::string();
}

bool ProcessFiles::IsEnding(const ProcessFolder& process)
{
    constexpr unsigned long kExiting = 4; // the kernel's PF_EXITING
    const std::string text(reader_.Read(process.descriptor, "stat").value_or(std::string_view()));
    const std::size_t name = text.rfind(')'); // the last one: the name may hold ")" itself
    std::vector<std::string> fields;
    if (name == text.npos || !Split(text.substr(name + 1), fields, " ") || fields.size() < 7) {
        return true; // it has ended
    }
    return (std::strtoul(fields[6].c_str(), nullptr, 10) & kExiting) != 0;
}

std::optional<std::string_view> TakeMapPath(std::string_view& text)
{
    // Jumps to the next "/": the fields before the path (addresses, permissions, offset, device, inode: see proc(5))
    // hold none, so most lines without a file are skipped quickly.
    for (std::size_t slash; (slash = text.find('/')) != text.npos;) {
        const std::string_view fields = LastLine(text.substr(0, slash));
        const std::size_t end = std::min(text.find('\n', slash), text.size());
        const std::string_view path = text.substr(slash, end - slash);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (fields.ends_with(' ') && fields.find('[') == fields.npos) { // not a name such as "[anon: a/b]"
            return path;
        }
    }
    return std::nullopt;
}

std::string_view UpToBlank(std::string_view path)
{
    // isspace() of the C locale; find_first_of would search a set for each character.
    const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    return path.substr(0, static_cast<std::size_t>(std::find_if(path.begin(), path.end(), isBlank) - path.begin()));
}

} // namespace MERO::Systemd
