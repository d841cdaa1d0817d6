#pragma once

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>
#include <unistd.h>

#include "platform/core/system_calls.h"

namespace MERO::Sandbox {

/// @return the system call's result; throws std::system_error with errno and `what` if it failed
template <typename Result>
Result Check(Result result, const std::string& what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

/// Calls `isDone`, with short pauses, until it returns true or `patience` is over.
/// @return whether it returned true
template <typename Condition>
bool Await(std::chrono::milliseconds patience, Condition isDone)
{
    constexpr useconds_t kPause = 2000;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    bool done = isDone();
    while (!done && std::chrono::steady_clock::now() < deadline) {
        usleep(kPause);
        done = isDone();
    }
    return done;
}

} // namespace MERO::Sandbox
