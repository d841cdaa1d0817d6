#pragma once

#include <merocore/error.h>

#include <exception>
#include <new>

/// Sets the error register to this place and yields -1, keeping errno for the caller's %m.
#define MERO_FAIL(code) (MLIBCErrSetEx((code), __FILE_NAME__, __LINE__), -1)

namespace MERO::Core {

/// Runs `body` for a C function, which must not let an exception out: no memory is a failure like others.
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
