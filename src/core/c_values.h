#pragma once

#include "core/log.h"

#include <merocore/list.h>

#include <functional>
#include <string>
#include <vector>

/// What C callers give, and what they get.
namespace MERO::Systemd {

/// The items of a C caller's list. A null item throws std::logic_error.
std::vector<std::string> FromList(const MLIBCSzList* list);

/// Pushes the failed units onto the caller's list, if there is one.
void PushFailedUnits(const std::vector<std::string>& failed, MLIBCSzList** ppListFailed);

/// The C form of a getter of texts: what `get` appends is pushed onto the caller's list.
int TextsForC(SourceLine where, MLIBCSzList** list, const std::function<bool(std::vector<std::string>&)>& get);

/// The C form of a getter of one text. Fails (0x0100) when it does not fit into the caller's buffer with its NUL.
int TextForC(SourceLine where, char* buffer, int cbBuffer, const std::function<bool(std::string&)>& get);

} // namespace MERO::Systemd
