#pragma once

#include "core/errors.h"

#include <exception>
#include <new>

/// Where exceptions stop. One that stops is logged ("Failed on <what>: <its text>"), and the call fails.
///
/// | where                                | <what>             | std::bad_alloc | what goes on to the caller       |
/// |--------------------------------------|--------------------|----------------|----------------------------------|
/// | C, but the rows below                | an exception       | sets 0x0200    | nothing                          |
/// | C++: volume registers, cgroup moves  | an exception       | sets 0x0200    | nothing                          |
/// | C: one unit                          | [unit]             | only logged    | nothing                          |
/// | C: lists of enablement and uninstall | a list of units    | only logged    | nothing                          |
/// | C: lists of the actions              | a list of units    | only logged    | all else: a null item's          |
/// |                                      |                    |                | std::logic_error                 |
/// | C: lists of services with a reason   | a list of services | only logged    | nothing                          |
/// | C++: services with a reason          | an exception       | only logged    | nothing; all services have failed |
///
/// Nothing else in C++ is stopped here: operations that run systemctl catch std::exception and log it in their own
/// words; an empty callback (std::bad_function_call) and a folder of packages that cannot be listed
/// (std::filesystem::filesystem_error) reach the caller. The end of the thread (pthread_cancel, pthread_exit) looks
/// like an exception, and passes everywhere: whoever keeps it ends the process.
namespace MERO::Systemd {

/// A row of the table.
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

/// What `body` returns; `failure` when an exception stops here.
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
        if (std::current_exception() == nullptr) { // none of C++: the thread ends
            throw;
        }
        LogException(where, boundary, "it has no text");
    }
    return failure;
}

} // namespace MERO::Systemd
