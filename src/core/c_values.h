#pragma once

#include "core/log.h"

#include <merocore/list.h>

#include <functional>
#include <string>
#include <vector>

/// Arguments from C callers, and answers to them.
namespace MERO::Systemd {

/// Returns the items of a C caller's list. Throws std::logic_error for a null item.
std::vector<std::string> FromList(const MLIBCSzList* list);

/// Pushes the failed units onto the caller's list, if it gave one.
void PushFailedUnits(const std::vector<std::string>& failed, MLIBCSzList** ppListFailed);

/// The C form of a function that returns texts: pushes what `get` appends onto the caller's list.
int TextsForC(SourceLine where, MLIBCSzList** list, const std::function<bool(std::vector<std::string>&)>& get);

/// The C form of a function that returns one text. Fails (0x0100) if the text and its NUL do not fit the buffer.
int TextForC(SourceLine where, char* buffer, int cbBuffer, const std::function<bool(std::string&)>& get);

} // namespace MERO::Systemd
