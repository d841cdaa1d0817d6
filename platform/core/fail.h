#pragma once

#include <merocore/error.h>

#include <exception>
#include <new>

/// Sets the error register to `code` and this source line, and yields -1. Keeps errno for the caller's %m.
#define MERO_FAIL(code) (MLIBCErrSetEx((code), __FILE_NAME__, __LINE__), -1)

namespace MERO::Core {

/// Runs `body` for a C function, which must let no exception out. Running out of memory is an ordinary failure.
template <typename Body>
int WithoutExceptions(Body&& body)
{
    try {
        return body();
    } catch (const std::exception&) { // bad_alloc, or length_error
        return MERO_FAIL(MLIBC_ERR_NO_MEMORY);
    }
}

} // namespace MERO::Core
