#pragma once

#include "core/log.h"

#include <string>

namespace MERO::Systemd {

/// Copies `text` to a C caller's buffer. False (0x0100) when it does not fit with its NUL.
bool CopyToBuffer(SourceLine where, const std::string& text, char* buffer, int cbBuffer);

} // namespace MERO::Systemd
