#pragma once

#include "diagnosis/report.h"
#include "output/output.h"

namespace MERO::Tool {

enum class Wanted {
    Running,   ///< or has done its work and ended well, as a oneshot service
    NotFailed, ///< running or not
    Stopped,
};

/// Looks at the units a second later: systemd calls a service started that dies at once. Says of units that are not as
/// wanted why.
std::vector<UnitResult> Verify(const Texts& units, const std::string& verb, Wanted wanted);

} // namespace MERO::Tool
