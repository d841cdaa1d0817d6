#pragma once

#include "diagnosis/report.h"
#include "output/output.h"

namespace MERO::Tool {

enum class Wanted {
    Running,   ///< or ended well after its work, as a oneshot service
    NotFailed, ///< running or not
    Stopped,
};

/// Checks the units a second later: systemd calls a service started even if it dies at once. Explains why a unit is not
/// as wanted.
std::vector<UnitResult> Verify(const Texts& units, const std::string& verb, Wanted wanted);

} // namespace MERO::Tool
