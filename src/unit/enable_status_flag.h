#pragma once

#include <string>

/// The flags that show which units were enabled, disabled or reenabled through the library. The unit's name becomes a
/// file name: callers must have checked it.
namespace MERO::Systemd {

/// Sets the flag of a unit, given by its name or the path of its file. A failure is logged and has no other effect.
void SetEnableStatusChanged(const std::string& unit);

bool IsEnableStatusChanged(const std::string& unit);

/// Returns false if the flag could not be removed or did not exist.
bool RemoveEnableStatusChanged(const std::string& unit);

} // namespace MERO::Systemd
