#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/directory_entries.h"

#include "core/errors.h"
#include "platform/core/owners.h"

#include <fcntl.h>

namespace MERO::Systemd {
namespace {

int Read(const std::string& directory, std::vector<std::string>& names)
{
    const Descriptor folder(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return errno;
    }
    return DirectoryNames().ForEach(folder.Get(), [&](std::string_view name) {
        names.emplace_back(name);
        return true;
    });
}

} // namespace

int DirectoryEntries(const std::string& directory, std::vector<std::string>& names)
{
    const int error = Read(directory, names);
    if (error == ENOENT) { // also if it was removed while we read it
        return 0;
    }
    if (error != 0) {
        SetError(MERO_HERE, MLIBC_ERR_OPEN_DIRECTORY);
    }
    return error;
}

} // namespace MERO::Systemd
