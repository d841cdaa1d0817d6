#pragma once

#include <merosystemd/options.hpp>

namespace MERO::Systemd {

class CommandOptionsImp {
public:
    bool runtime = false;
    bool noReload = false;
};

/// Appends --runtime and --no-reload, in this order, if they are set.
void GetEnableDisableOptions(const CommandOptions& options, std::vector<std::string>& out);

} // namespace MERO::Systemd
