#pragma once

#include <merosystemd/options.hpp>

namespace MERO::Systemd {

enum class IsolateStateReading { Done, Gone, Failed };

/// Reads the state file of an isolation whose process lives; `state` is untouched unless that is done. Gone, which is
/// not logged: there is no file any more. Failed is logged, unless the process is gone.
IsolateStateReading ReadIsolateState(const char* path, IsolateState& state);

} // namespace MERO::Systemd
