#pragma once

#include "core/log.h"

#include <merocore/error.h>

#include <exception>

namespace MERO::Systemd {

/// What `body` returns; `failure`, logged, when it throws. For C functions, which no exception may leave, and for what
/// other libraries tell by exceptions of their own: memory that is out is a failure like others.
template <typename Body>
int WithoutExceptions(SourceLine where, Body&& body, int failure = 0)
{
    try {
        return body();
    } catch (const std::exception& error) {
        MLIBCErrSetEx(MLIBC_ERR_NO_MEMORY, where.file, where.line);
        Log(LOG_ERR, where, "Failed on an exception: %s", error.what());
        return failure;
    }
}

} // namespace MERO::Systemd
