#pragma once

#include <string>
#include <vector>

/// The event log's codes. A failure's code also has bit 0x10 set.
enum ActionEvent { kStartEvent = 1, kStopEvent = 2 };

/// Writes the event `action` for the units that succeeded (all of them, or those not in `failed` if `success` is
/// false), and its failure event for `failed`. Skips units without a display name. If the logging tool is missing or
/// fails, that is logged and has no other effect.
void MEROSystemdLogAction(int action, bool success, const std::vector<std::string>& units,
                          const std::vector<std::string>& failed);
