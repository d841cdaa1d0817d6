#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

namespace MERO::Test {

/// Whether a lock file is missing, or can be locked within `seconds`.
inline bool IsFree(const std::string& path, int seconds = 0, int operation = LOCK_EX)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    bool isFree = file < 0 && errno == ENOENT;
    while (!isFree && !(isFree = flock(file, operation | LOCK_NB) == 0) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    close(file);
    return isFree;
}

} // namespace MERO::Test
