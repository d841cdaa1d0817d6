#include "core/core_error.h"
#include "core/log.h"
#include "core/no_exceptions.h"
#include "isolate/isolate_files.h"
#include "isolate/isolate_state.h"

#include <merocore/file.h>
#include <merocore/string.h>
#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdIsolateStateGet(IsolateState& state)
{
    state = IsolateState();
    const IsolateStateLock neverAcquired;
    auto reading = IsolateStateReading::Gone;
    while (reading == IsolateStateReading::Gone) { // it may end, and another one begin, while it is read
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
