#pragma once

#include "output/output.h"

namespace MERO::Tool {

enum class Wanted {
    Running,   ///< or has done its work and ended well, as a oneshot service
    NotFailed, ///< running or not
    Stopped,
};

/// Looks how the units are a second later: systemd calls a service started that dies at once. The exit code; units that
/// are not as wanted are named on standard error, with why.
int Verify(const Texts& units, const std::string& verb, Wanted wanted);

} // namespace MERO::Tool
