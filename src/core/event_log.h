#pragma once

#include <string>
#include <vector>

/// Event codes of the actions that the event log knows. A failure's code has bit 0x10 added.
enum ActionEvent { kStartEvent = 1, kStopEvent = 2 };

/// Writes the event `action` for the units that succeeded (all, or when `success` is false those not in `failed`),
/// and its failure event for `failed`. Units without a display name are not written. A logging tool that is missing
/// or fails is logged and has no other effect.
void MEROSystemdLogAction(int action, bool success, const std::vector<std::string>& units,
                          const std::vector<std::string>& failed);
