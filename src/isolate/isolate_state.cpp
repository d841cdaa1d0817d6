#define MERO_SOURCE_NAME "systemd_isolate_target"
#include "isolate/isolate_state.h"

#include "core/errors.h"
#include "core/log.h"

#include <merocore/file.h>

#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace MERO::Systemd {
namespace {

constexpr const char* kTemporary = "/run/merosystemd/isolate-state.tmp";

bool Remove(const char* path)
{
    return unlink(path) == 0 || errno == ENOENT;
}

/// The log line names the state file, even if it was the temporary one that could not be removed.
bool RemoveStateFile(const char* path)
{
    const bool removed = Remove(path);
    if (!removed) {
        MERO_LOG(LOG_ERR, "Failed to unlink [%s], reason: [%m]", kIsolateStateFile);
    }
    return removed;
}

bool SetKey(const char* key, const std::string& value)
{
    const bool set = MLIBCFileSetKeyValue(kTemporary, key, value.c_str(), 0) >= 0;
    if (!set) {
        MERO_LOG(LOG_ERR, "Failed to set key " MERO_CORE_ERROR_FORMAT, MERO_CORE_ERROR_VALUES);
    }
    return set;
}

bool MoveIntoPlace()
{
    const bool moved = std::rename(kTemporary, kIsolateStateFile) == 0;
    if (!moved) {
        MERO_LOG(LOG_ERR, "Failed to rename isolate state file: %m");
    }
    return moved;
}

} // namespace

IsolateStateFile::IsolateStateFile(const std::string& target)
{
    if (!RemoveStateFile(kTemporary) || !SetKey(kIsolateStateTarget, target) ||
        !SetKey(kIsolateStatePid, std::to_string(getpid())) || !MoveIntoPlace()) {
        MERO_LOG(LOG_ERR, "Failed to update isolate state");
        (void)Remove(kTemporary);
    }
}

IsolateStateFile::~IsolateStateFile()
{
    RemoveStateFile(kIsolateStateFile);
}

bool NotFinishFlag::Raise()
{
    isRaised_ = MLIBCFileTouch(kIsolateNotFinishFlag) == 0;
    if (!isRaised_) {
        MERO_LOG(LOG_ERR, "Failed to touch isolate flag");
        (void)Remove(kIsolateNotFinishFlag); // it may exist all the same
    }
    return isRaised_;
}

void NotFinishFlag::TakeDown()
{
    if (!isRaised_) {
        return;
    }
    isRaised_ = !Remove(kIsolateNotFinishFlag);
    if (isRaised_) {
        MERO_LOG(LOG_ERR, "Failed to delete %s: [%m]", kIsolateNotFinishFlag);
    }
}

} // namespace MERO::Systemd
