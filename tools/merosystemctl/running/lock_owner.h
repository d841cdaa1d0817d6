#pragma once

#include <string>

namespace MERO::Tool {

/// Who holds a lock file: "process 123 (name)", from /proc/locks; empty when nobody does.
std::string LockOwner(const char* path);

} // namespace MERO::Tool
