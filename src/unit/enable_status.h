#pragma once

#include <merosystemd/options.hpp>

#include <string>

namespace MERO::Systemd {

/// The unit's MERO_SYSTEMD_ENABLE_STATUS; -1 when systemctl says nothing or a word that is not known.
int _MEROSystemdEnableStatusGet(const SystemctlOpts& opts, const std::string& strUnit);

} // namespace MERO::Systemd
