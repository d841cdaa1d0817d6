#pragma once

#include "core/log.h"

#include <merocore/error.h>

#include <cerrno>
#include <string_view>

/// The core library's last error as log lines print it: "[0x%04X %s:%d]".
#define MERO_CORE_ERROR_FORMAT "[0x%04X %s:%d]"
#define MERO_CORE_ERROR_VALUES static_cast<unsigned>(MLIBCErrGet()), MLIBCErrorGetFile(), MLIBCErrorGetLine()

/// Whether an argument's condition holds; its text, as written here, is what the log shows.
#define MERO_VALID_AT(where, condition) ::MERO::Systemd::CheckArgument((condition), (where), #condition)
#define MERO_VALID(condition) ::MERO::Systemd::CheckArgument((condition), MERO_HERE, #condition)

/// How failures are noticed and told: refused arguments, the error register, errno.
namespace MERO::Systemd {

/// The library's own codes in the core library's error register.
inline constexpr int kErrorUnknownState = 0x8000;  ///< systemctl printed a state that the tables do not know
inline constexpr int kErrorJobUnreadable = 0x8100; ///< the property Job cannot be read

inline void SetError(SourceLine where, int code)
{
    MLIBCErrSetEx(code, where.file, where.line);
}

/// Returns `valid`. When it is false, logs the condition's text and sets the error register to 0x0D00.
inline bool CheckArgument(bool valid, SourceLine where, const char* condition)
{
    if (!valid) {
        // "Invaild": programs that read the log match this spelling.
        syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", where.file, where.line, condition, 0);
        SetError(where, MLIBC_ERR_INVALID_ARGUMENT);
    }
    return valid;
}

/// Whether a file could not be read for want of descriptors or memory, or for an error of its device: what stands in it
/// is unknown then, and may be read the next time.
inline bool IsPassingFailure(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO;
}

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
