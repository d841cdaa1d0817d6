#pragma once

#include "output/output.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// A service to hold, as systemd knows it.
struct HeldService {
    std::string name; ///< its real name, with its type
    Texts files;      ///< its unit file and drop-ins
};

/// Whether a unit file or drop-in has a condition on the reasons, so that they keep the service from starting.
bool LooksAtReasons(const std::string& path);

/// Adds a drop-in that keeps a service from starting while it has reasons, to each service without such a file, and
/// reloads systemd. `files` of such a service grows by one. Services that cannot get a drop-in leave the list: it
/// cannot be created (false is returned), or another owner's file has its name. All of this is printed.
bool ProtectHeld(std::vector<HeldService>& services);

/// Removes the drop-in from the services that have lost their last reason, and reloads systemd.
void UnprotectReleased(const Texts& services);

} // namespace MERO::Tool
