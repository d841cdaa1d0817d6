#pragma once

#include <merocore/list.h>

#include <string>
#include <vector>

namespace MERO::Systemd {

/// The items of a C caller's list. A null item throws std::logic_error.
std::vector<std::string> FromList(const MLIBCSzList* list);

/// Pushes all texts; false when there was no memory for one.
bool PushToList(const std::vector<std::string>& texts, MLIBCSzList** list);

/// Pushes the failed units onto the caller's list, if there is one.
void PushFailedUnits(const std::vector<std::string>& failed, MLIBCSzList** ppListFailed);

} // namespace MERO::Systemd
