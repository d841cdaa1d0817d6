#pragma once

#include <merocore/error.h>

#include <string_view>

/// The core library's last error as log lines print it: "[0x%04X %s:%d]".
#define MERO_CORE_ERROR_FORMAT "[0x%04X %s:%d]"
#define MERO_CORE_ERROR_VALUES static_cast<unsigned>(MLIBCErrGet()), MLIBCErrorGetFile(), MLIBCErrorGetLine()

namespace MERO::Systemd {

/// Keeps the error register as it is, over a question whose "no" is no failure.
class ErrorKeeper {
public:
    ErrorKeeper() : code_(MLIBCErrGet()), line_(MLIBCErrorGetLine())
    {
        file_[std::string_view(MLIBCErrorGetFile()).copy(file_, sizeof file_ - 1)] = '\0';
    }
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;
    ~ErrorKeeper() { MLIBCErrSetEx(code_, file_, line_); }

private:
    int code_;
    int line_;
    char file_[64]; // as much as the register holds
};

} // namespace MERO::Systemd
