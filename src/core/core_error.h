#pragma once

#include <merocore/error.h>

/// The core library's last error as log lines print it: "[0x%04X %s:%d]".
#define MERO_CORE_ERROR_FORMAT "[0x%04X %s:%d]"
#define MERO_CORE_ERROR_VALUES static_cast<unsigned>(MLIBCErrGet()), MLIBCErrorGetFile(), MLIBCErrorGetLine()
