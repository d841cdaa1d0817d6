#pragma once

#include <sys/mman.h>

#include <atomic>
#include <functional>

namespace MERO::Test {

/// The sleeps of the program and its children. They take no time while a test counts them.
struct Sleeps {
    bool areCounted[2]; ///< of sleep() and of usleep()
    std::atomic<unsigned> seconds, microseconds;
};
inline Sleeps& sleeps =
    *static_cast<Sleeps*>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

/// Called while this process sleeps for seconds.
inline std::function<void()> duringSleep;

} // namespace MERO::Test
