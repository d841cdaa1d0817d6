#include "core/core_error.h"
#include "core/log.h"
#include "isolate/isolate_files.h"

#include <merocore/file.h>
#include <merocore/process.h>
#include <merocore/string.h>
#include <merosystemd/systemd.hpp>

#include <utility>

using namespace MERO::Systemd;

namespace {

constexpr int kValueSize = 64; // bytes; longer values are cut

/// A value of the state file. `what` is its name in messages.
bool Read(const char* key, const char* what, std::string& value)
{
    char buffer[kValueSize];
    if (MLIBCFileGetKeyValue(kIsolateStateFile, key, buffer, sizeof buffer, 0) < 0) {
        MERO_LOG(LOG_ERR, "Failed to get %s from isolate state file" MERO_CORE_ERROR_FORMAT, what,
                 MERO_CORE_ERROR_VALUES);
        return false;
    }
    value = buffer;
    return true;
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

bool MEROSystemdIsolateStateGet(IsolateState& state)
{
    state = IsolateState();
    const IsolateStateLock neverAcquired;
    if (MLIBCFileExist(kIsolateStateFile) == 0) {
        return true;
    }
    std::string text;
    long pid = 0;
    // A state without its process is an error, deliberately: the machine may be anywhere between two targets.
    if (!Read(kIsolateStatePid, "pid", text) || !ToNumber(text, pid) || !IsAlive(pid) ||
        !Read(kIsolateStateTarget, "target", text)) {
        return false;
    }
    state = {.isolating = true, .target = text};
    return true;
}

int MEROCSystemdIsolateStateGet(MERO_SYSTEMD_ISOLATE_STATE* pState)
{
    if (pState == nullptr) {
        MERO_LOG(LOG_ERR, "Bad parameter");
        return 0;
    }
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
}
