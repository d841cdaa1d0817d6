#pragma once

#include "core/log.h"

#include <merocore/error.h>

#include <exception>
#include <new>

namespace MERO::Systemd {

/// What `body` returns; `failure`, logged, when it throws. For C functions, which no exception may leave, and for what
/// other libraries tell by exceptions of their own: memory that is out is a failure like others. The end of the thread
/// (pthread_cancel, pthread_exit) passes: it looks like an exception, and whoever keeps it ends the process.
template <typename Body>
int WithoutExceptions(SourceLine where, Body&& body, int failure = 0)
{
    try {
        return body();
    } catch (const std::bad_alloc& error) {
        MLIBCErrSetEx(MLIBC_ERR_NO_MEMORY, where.file, where.line);
        MERO_LOG_AT(where, LOG_ERR, "Failed on an exception: %s", error.what());
    } catch (const std::exception& error) {
        MERO_LOG_AT(where, LOG_ERR, "Failed on an exception: %s", error.what());
    } catch (...) {
        if (std::current_exception() == nullptr) { // none of C++: the thread ends
            throw;
        }
        MERO_LOG_AT(where, LOG_ERR, "Failed on an exception: %s", "it has no text");
    }
    return failure;
}

} // namespace MERO::Systemd
