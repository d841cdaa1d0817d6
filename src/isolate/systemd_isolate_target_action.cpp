#include "core/errors.h"
#include "core/interruption.h"
#include "core/lock.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr const char* kDefaultTarget = "default.target";

} // namespace

bool MEROSystemdIsolateToDefaultTarget()
{
    return MEROSystemdIsolateTarget(kDefaultTarget, nullptr);
}

int MEROCSystemdIsolateToDefaultTarget(void)
{
    return WithoutExceptions(MERO_HERE, [&] { return MEROSystemdIsolateToDefaultTarget() ? 1 : 0; });
}

bool _MEROSystemdIsolateTargetAction(const std::string& strTarget, std::function<bool()>&& action)
{
    if (!MERO_VALID(!strTarget.empty())) {
        return false;
    }
    const CancelBlock block;
    SystemOperationLock lock;
    if (!block.LiftFor([&] { return lock.Acquire(); })) {
        lock.LogLockFailed(strTarget);
        return false;
    }
    return RunAndGoBack([&] { return MEROSystemdIntIsolateTarget(strTarget, nullptr) && block.LiftFor(action); },
                        [] { return MEROSystemdIntIsolateTarget(kDefaultTarget, nullptr); });
}

int MEROCSystemdIsolateTargetAction(const char* szTarget, bool (*action)(void* data), void* data)
{
    if (!MERO_VALID(nullptr != szTarget) || !MERO_VALID(nullptr != action)) {
        return 0;
    }
    return WithoutExceptions(
        MERO_HERE, [=] { return _MEROSystemdIsolateTargetAction(szTarget, [=] { return action(data); }) ? 1 : 0; });
}
