#pragma once

#include <merocore/error.h>

namespace MERO::Systemd {

/// The library's own codes in the core library's error register.
inline constexpr int kErrorUnknownState = 0x8000;  ///< systemctl printed a state that the tables do not know
inline constexpr int kErrorJobUnreadable = 0x8100; ///< the property Job cannot be read

} // namespace MERO::Systemd
