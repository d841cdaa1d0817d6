#pragma once

#include <string>

namespace MERO::Tool {

/// The holder of a lock file, from /proc/locks: "process 123 (name)". Empty if it is free.
std::string LockOwner(const char* path);

} // namespace MERO::Tool
