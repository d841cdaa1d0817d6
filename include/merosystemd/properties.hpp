/// @file
/// What systemd says of units.
#pragma once

#include <map>
#include <string>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// What systemd says of one unit.
struct ShownUnit {
    bool asked = false; ///< false: it could not be asked for the unit; the rest is empty then
    std::map<std::string, std::string> properties; ///< values by names, Id and Names among them; of several commands,
                                                   ///< as of ExecStartPre, each is a line
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
