#include "core/lock.h"

#include "core/directory_walk.h"
#include "core/errors.h"
#include "core/interruption.h"
#include "core/text.h"
#include "platform/core/owners.h"

#include <merocore/file.h>

#include <libgen.h>
#include <unistd.h>

#include <cstring>

namespace MERO::Systemd {
namespace {

/// Gets a file's folder. Returns false if memory runs out.
bool DirectoryOf(const std::string& path, std::string& directory)
{
    const CMemory<char> copy(strdup(path.c_str())); // dirname writes into it
    if (copy == nullptr) {
        MERO_LOG(LOG_ERR, "Failed to alloc pointer: %m");
        return false;
    }
    const char* name = dirname(copy.get());
    if (name == nullptr) {
        MERO_LOG(LOG_ERR, "Failed to execute dirname: %m");
        return false;
    }
    directory = name;
    return true;
}

} // namespace

FileLock::FileLock(const std::string& path, bool exclusive, int timeout)
    : path_(path), exclusive_(exclusive), timeout_(timeout)
{
}

FileLock::~FileLock()
{
    CloseFd();
}

bool FileLock::Acquire()
{
    if (fd_ != -1) {
        return true;
    }
    std::string directory;
    if (!DirectoryOf(path_, directory)) {
        MERO_LOG(LOG_ERR, "Failed to get dirname: [%s]", path_.c_str());
        return false;
    }
    const CancelBlock block; // lifted during the wait; mkdir must always be reaped
    if (!MakeDirectory(directory)) {
        MERO_LOG(LOG_ERR, "failed to mkdir [%s]", directory.c_str());
        return false;
    }
    const auto take = [&] { return MLIBCFileLockTimeByFile(path_.c_str(), exclusive_ ? 1 : 0, timeout_, &fd_); };
    if (block.LiftFor(take) < 0) {
        MERO_LOG(LOG_ERR, "failed to get lock [%s] " MERO_CORE_ERROR_FORMAT, path_.c_str(), MERO_CORE_ERROR_VALUES);
        return false;
    }
    return true;
}

void FileLock::Release()
{
    if (fd_ != -1) {
        MLIBCFileUnlockByFile(fd_);
        fd_ = -1;
    }
}

void FileLock::CloseFd()
{
    if (fd_ == -1) {
        return;
    }
    if (close(fd_) != 0) {
        MERO_LOG(LOG_ERR, "Failed to close fd: [%d] [%m]", fd_);
    }
    fd_ = -1;
}

void FileLock::LogLockFailed(std::string what) const
{
    MERO_LOG(LOG_ERR, "failed to get lock for [%s], lock is [%s].", what.c_str(), path_.c_str());
}

void FileLock::LogLockFailed(std::vector<std::string> units) const
{
    LogLockFailed(Join(units, " "));
}

SystemOperationLock::SystemOperationLock() : FileLock("/run/merosystemd/locks/system-operation.lock", true, 120) {}

} // namespace MERO::Systemd
