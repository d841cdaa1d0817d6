#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace MERO::Sandbox {

/// @return what a system call returned; throws std::system_error with errno and `what` when it failed
template <typename Result>
Result Check(Result result, const std::string& what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

/// Calls `call` until it is not interrupted: a stopped and continued process sees EINTR without a handler.
template <typename Call>
auto Uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace MERO::Sandbox
