#pragma once

#include "core/log.h"

namespace MERO::Systemd {

/// Returns `valid`. When it is false, logs the condition's text and sets the error register to 0x0D00.
bool CheckArgument(bool valid, SourceLine where, const char* condition);

} // namespace MERO::Systemd

/// Whether an argument's condition holds; its text, as written here, is what the log shows.
#define MERO_VALID_AT(where, condition) ::MERO::Systemd::CheckArgument((condition), (where), #condition)
#define MERO_VALID(condition) ::MERO::Systemd::CheckArgument((condition), MERO_HERE, #condition)
