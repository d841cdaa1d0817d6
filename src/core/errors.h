#pragma once

#include "core/log.h"

#include <merocore/error.h>

#include <cerrno>
#include <exception>
#include <new>
#include <string_view>

/// The core library's last error as log lines print it: "[0x%04X %s:%d]".
#define MERO_CORE_ERROR_FORMAT "[0x%04X %s:%d]"
#define MERO_CORE_ERROR_VALUES static_cast<unsigned>(MLIBCErrGet()), MLIBCErrorGetFile(), MLIBCErrorGetLine()

/// Whether an argument's condition holds. If not, the log shows the condition's text exactly as it is written.
#define MERO_VALID_AT(where, condition) ::MERO::Systemd::CheckArgument((condition), (where), #condition)
#define MERO_VALID(condition) ::MERO::Systemd::CheckArgument((condition), MERO_HERE, #condition)

/// How failures are reported: refused arguments, the error register, errno, exceptions.
namespace MERO::Systemd {

/// The library's own codes in the core library's error register.
inline constexpr int kErrorUnknownState = 0x8000;  ///< systemctl printed a state that the tables do not know
inline constexpr int kErrorJobUnreadable = 0x8100; ///< the property Job cannot be read

inline void SetError(SourceLine where, int code)
{
    MLIBCErrSetEx(code, where.file, where.line);
}

/// Returns `valid`. If it is false, logs the condition's text and sets the error register to 0x0D00.
inline bool CheckArgument(bool valid, SourceLine where, const char* condition)
{
    if (!valid) {
        // "Invaild": programs match this spelling.
        syslog(LOG_ERR, "%s:%d Invaild Argument (%s)=[%d]\n", where.file, where.line, condition, 0);
        SetError(where, MLIBC_ERR_INVALID_ARGUMENT);
    }
    return valid;
}

/// Whether reading a file failed because descriptors or memory ran out, or its device failed. The file's content is
/// then unknown, and the next attempt may succeed.
inline bool IsPassingFailure(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO;
}

/// Restores the error register in its destructor: for a query whose "no" is no failure.
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
    char file_[64]; // the register's own size
};

// Where exceptions are caught. A caught one is logged ("Failed on <what>: <its text>"), and the call fails.
//
// | where                                | <what>             | std::bad_alloc | passed on to the caller          |
// |--------------------------------------|--------------------|----------------|----------------------------------|
// | C, except the rows below             | an exception       | sets 0x0200    | nothing                          |
// | C++: volume registers, cgroup moves  | an exception       | sets 0x0200    | nothing                          |
// | C: one unit                          | [unit]             | only logged    | nothing                          |
// | C: lists of enablement and uninstall | a list of units    | only logged    | nothing                          |
// | C: lists of the actions              | a list of units    | only logged    | all else: a null item's          |
// |                                      |                    |                | std::logic_error                 |
// | C: lists of services with a reason   | a list of services | only logged    | nothing                          |
// | C++: services with a reason          | an exception       | only logged    | nothing; all services failed     |
//
// Other C++ functions are not guarded here: those that run systemctl catch std::exception and log it in their own
// words; an empty callback (std::bad_function_call) and a package folder that cannot be listed
// (std::filesystem::filesystem_error) reach the caller. The end of a thread (pthread_cancel, pthread_exit) looks like
// an exception and must always be passed on: swallowing it ends the process.

/// One row of the table.
struct Boundary {
    const char* what;
    bool isUnit = false; ///< `what` is a unit's name
    bool setsNoMemory = false;
    bool stopsNoMemoryOnly = false;
};

inline constexpr Boundary kUsualBoundary{.what = "an exception", .setsNoMemory = true};

inline void LogException(SourceLine where, const Boundary& boundary, const char* text)
{
    MERO_LOG_AT(where, LOG_ERR, boundary.isUnit ? "Failed on [%s]: %s" : "Failed on %s: %s", boundary.what, text);
}

/// Returns what `body` returns, or `failure` if an exception was caught here.
template <typename Body>
int WithoutExceptions(SourceLine where, Body&& body, int failure = 0, const Boundary& boundary = kUsualBoundary)
{
    try {
        return body();
    } catch (const std::bad_alloc& error) {
        if (boundary.setsNoMemory) {
            SetError(where, MLIBC_ERR_NO_MEMORY);
        }
        LogException(where, boundary, error.what());
    } catch (const std::exception& error) {
        if (boundary.stopsNoMemoryOnly) {
            throw;
        }
        LogException(where, boundary, error.what());
    } catch (...) {
        if (std::current_exception() == nullptr) { // not a C++ exception: the thread ends
            throw;
        }
        LogException(where, boundary, "it has no text");
    }
    return failure;
}

} // namespace MERO::Systemd
