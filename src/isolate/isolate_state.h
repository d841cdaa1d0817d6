#pragma once

#include <merosystemd/options.hpp>

namespace MERO::Systemd {

/// Reads the state file of an isolation whose process lives. False, with `state` untouched, in every other case: logged,
/// unless the process is gone or the file is.
bool ReadIsolateState(const char* path, IsolateState& state);

} // namespace MERO::Systemd
