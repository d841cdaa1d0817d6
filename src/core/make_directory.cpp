#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/make_directory.h"

#include "core/directory_walk.h"
#include "core/log.h"
#include "core/passing_failure.h"
#include "core/text_reader.h"

#include <merocore/error.h>
#include <merocore/process.h>

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>

namespace MERO::Systemd {
namespace {

/// Whether a program that starts now would let others write to what it makes. Of a umask that cannot be read that is
/// assumed: it cannot be set for a moment, since it belongs to all threads.
bool IsUmaskLax()
{
    TextReader reader;
    const std::string_view status =
        reader.Read(AT_FDCWD, "/proc/thread-self/status").value_or(std::string_view()); // see proc(5)
    constexpr std::string_view kKey = "\nUmask:\t";
    const std::size_t key = status.find(kKey);
    return key == status.npos || (std::strtoul(status.data() + key + kKey.size(), nullptr, 8) & 022) != 022;
}

bool RunMkdir(const char* directory)
{
    errno = 0;
    const int result = IsUmaskLax()
                           ? MLIBCExec("/bin/sh", "-c", "umask go-w && exec /bin/mkdir -p \"$1\"", "mkdir", directory)
                           : MLIBCExec("/bin/mkdir", "-p", directory, nullptr, nullptr);
    // Where the host ignores SIGCHLD nobody knows how mkdir ended: whether the folder is there decides.
    return result >= 0 || (MLIBCErrGet() == MLIBC_ERR_PROGRAM_FAILED && errno == ECHILD);
}

} // namespace

Descriptor MakeDirectory(const std::string& directory)
{
    DirectoryWalk made = WalkToDirectory(directory, IfMissing::Make);
    const SourceLine here = MERO_HERE;
    // mkdir goes by the name: below a folder that others can write, only once the walk has made what it looks for.
    const bool mayGoByName = made.directory || !(made.isShared || IsPassingFailure(made.error));
    if (!made.isRefused && !mayGoByName) {
        MLIBCErrSetEx(MLIBC_ERR_OPEN_DIRECTORY, here.file, here.line);
    }
    if (made.isRefused || !mayGoByName || !RunMkdir(directory.c_str())) {
        return {};
    }
    if (made.directory && !made.isShared) {
        return std::move(made.directory);
    }
    DirectoryWalk found = WalkToDirectory(directory, IfMissing::Fail);
    if (found.directory && made.directory && !IsSameFile(found.directory.Get(), made.directory.Get())) {
        LogRefusedWay(directory, directory);
        return {};
    }
    if (!found.directory && !found.isRefused) {
        MLIBCErrSetEx(MLIBC_ERR_OPEN_DIRECTORY, here.file, here.line);
    }
    return std::move(found.directory);
}

} // namespace MERO::Systemd
