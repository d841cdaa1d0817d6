#pragma once

#include <chrono>
#include <unistd.h>

namespace MERO::Sandbox {

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
