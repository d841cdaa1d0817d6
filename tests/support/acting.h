#pragma once

#include <pthread.h>

namespace MERO::Test {

/// What a host's function can do that the library calls: return false (0) or true (1), throw what is no std::exception
/// (2), end its thread (3), or return true when its thread was cancelled and has not seen it yet (4).
inline bool Act(int how)
{
    how == 3 ? pthread_exit(nullptr) : void();
    how == 4 ? (void)pthread_cancel(pthread_self()) : void();
    return how == 2 ? throw 7 : how != 0;
}

} // namespace MERO::Test
