#include "core/errors.h"
#include "isolate/isolate_state.h"

#include <merocore/file.h>
#include <merocore/process.h>
#include <merocore/string.h>
#include <merosystemd/systemd.hpp>

#include <cerrno>
#include <string>
#include <utility>

using namespace MERO::Systemd;

namespace {

constexpr int kValueSize = 64; // bytes; longer values are cut

using enum IsolateStateReading;

/// Reads a value from the state file. `what` is its name in messages.
IsolateStateReading Read(const char* path, const char* key, const char* what, std::string& value)
{
    char buffer[kValueSize];
    if (MLIBCFileGetKeyValue(path, key, buffer, sizeof buffer, 0) < 0) {
        if (MLIBCErrGet() == MLIBC_ERR_OPEN_FILE && errno == ENOENT) {
            return Gone; // the isolation has just ended
        }
        MERO_LOG(LOG_ERR, "Failed to get %s from isolate state file" MERO_CORE_ERROR_FORMAT, what,
                 MERO_CORE_ERROR_VALUES);
        return Failed;
    }
    value = buffer;
    return Done;
}

bool ToNumber(const std::string& text, long& number)
{
    try {
        number = std::stol(text);
        return true;
    } catch (const std::exception& exception) {
        MERO_LOG(LOG_ERR, "Failed to stol, string: [%s], reason: [%s]", text.c_str(), exception.what());
        return false;
    }
}

bool IsAlive(long pid)
{
    return std::in_range<int>(pid) && MLIBCProcAlive(static_cast<int>(pid)) == 1;
}

} // namespace

IsolateStateReading MERO::Systemd::ReadIsolateState(const char* path, IsolateState& state)
{
    std::string text;
    long pid = 0;
    if (const auto reading = Read(path, kIsolateStatePid, "pid", text); reading != Done) {
        return reading;
    }
    // A state file without its process is an error: the machine may be anywhere between two targets.
    if (!ToNumber(text, pid) || !IsAlive(pid)) {
        return MLIBCFileExist(path) == 1 ? Failed : Gone;
    }
    const auto reading = Read(path, kIsolateStateTarget, "target", text);
    if (reading == Done) {
        state = {.isolating = true, .target = text};
    }
    return reading;
}

bool MEROSystemdIsolateStateGet(IsolateState& state)
{
    state = IsolateState();
    const IsolateStateLock neverAcquired;
    auto reading = IsolateStateReading::Gone;
    while (reading == IsolateStateReading::Gone) { // an isolation may end, and another begin, while we read
        if (MLIBCFileExist(kIsolateStateFile) == 0) {
            return true;
        }
        reading = ReadIsolateState(kIsolateStateFile, state);
    }
    return reading == IsolateStateReading::Done;
}

int MEROCSystemdIsolateStateGet(MERO_SYSTEMD_ISOLATE_STATE* pState)
{
    if (pState == nullptr) {
        MERO_LOG(LOG_ERR, "Bad parameter");
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        IsolateState state;
        if (!MEROSystemdIsolateStateGet(state)) {
            return 0;
        }
        pState->isolating = state.isolating ? 1 : 0;
        if (MLIBCStrSnprintf(pState->target, sizeof pState->target, "%s", state.target.c_str()) < 0) {
            MERO_LOG(LOG_ERR, "Failed to snprintf for [%s] " MERO_CORE_ERROR_FORMAT, state.target.c_str(),
                     MERO_CORE_ERROR_VALUES);
            return 0;
        }
        return 1;
    });
}
