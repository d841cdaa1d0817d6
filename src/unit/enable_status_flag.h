#pragma once

#include <string>

/// The flags that show which units were enabled, disabled or reenabled through the library. A unit's name becomes a
/// file name here: callers have checked it.
namespace MERO::Systemd {

/// Sets the flag of a unit that is given by its name, or by the path of its file. A failure is logged and has no other
/// effect.
void SetEnableStatusChanged(const std::string& unit);

bool IsEnableStatusChanged(const std::string& unit);

/// False when the flag could not be removed or was not there.
bool RemoveEnableStatusChanged(const std::string& unit);

} // namespace MERO::Systemd
