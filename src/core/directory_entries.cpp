#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/directory_entries.h"

#include "core/log.h"

#include <merocore/error.h>

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace MERO::Systemd {
namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

} // namespace

bool DirectoryEntries(const std::string& directory, std::vector<std::string>& names)
{
    const std::unique_ptr<DIR, CloseDirectory> stream(opendir(directory.c_str()));
    const dirent* entry = nullptr;
    while (stream != nullptr && (errno = 0, entry = readdir(stream.get())) != nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno == 0 || errno == ENOENT) { // the latter, too, when it was removed meanwhile
        return true;
    }
    const SourceLine here = MERO_HERE;
    MLIBCErrSetEx(MLIBC_ERR_OPEN_DIRECTORY, here.file, here.line);
    return false;
}

} // namespace MERO::Systemd
