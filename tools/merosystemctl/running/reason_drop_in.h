#pragma once

#include "output/output.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// A service that is to be held, as systemd knows it.
struct HeldService {
    std::string name; ///< its own, with its type
    Texts files;      ///< its unit file and drop-ins
};

/// Whether a unit file or drop-in has a condition on the reasons: they keep the service from starting then.
bool LooksAtReasons(const std::string& path);

/// Puts a drop-in into services that keeps them from starting while they have reasons, and has systemd read it, unless
/// one of their files does that already. What got it has one file more. What cannot have it is taken off the list: it
/// cannot be made (false), or somebody else's file has its name. All of that is said.
bool ProtectHeld(std::vector<HeldService>& services);

/// Takes it from those of the services that have lost their last reason, and has systemd read their unit files again.
void UnprotectReleased(const Texts& services);

} // namespace MERO::Tool
