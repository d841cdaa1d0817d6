#include "support.h"

#include <cstddef>
#include <cstdint>

/// Undefined behaviour is a finding like any other.
extern "C" const char* __ubsan_default_options()
{
    return "halt_on_error=1:print_stacktrace=1";
}

/// A program of libFuzzer's is linked with one target.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static MERO::Fuzz::Target* const target = MERO::Fuzz::Targets().begin()->second;
    target({reinterpret_cast<const char*>(data), size});
    return 0;
}
