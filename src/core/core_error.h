#pragma once

#include <merocore/error.h>

#include <string>

/// The core library's last error as log lines print it: "[0x%04X %s:%d]".
#define MERO_CORE_ERROR_FORMAT "[0x%04X %s:%d]"
#define MERO_CORE_ERROR_VALUES static_cast<unsigned>(MLIBCErrGet()), MLIBCErrorGetFile(), MLIBCErrorGetLine()

namespace MERO::Systemd {

/// Keeps the error register as it is, over a question whose "no" is no failure.
class ErrorKeeper {
public:
    ErrorKeeper() : code_(MLIBCErrGet()), file_(MLIBCErrorGetFile()), line_(MLIBCErrorGetLine()) {}
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;
    ~ErrorKeeper() { MLIBCErrSetEx(code_, file_.c_str(), line_); }

private:
    int code_;
    std::string file_;
    int line_;
};

} // namespace MERO::Systemd
