#pragma once

#include "platform/core/system_calls.h"

namespace MERO::Systemd {

using MERO::CancelBlock;

} // namespace MERO::Systemd
