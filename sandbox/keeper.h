#pragma once

#include <chrono>
#include <sys/types.h>

#include "sandbox/box_init.h"
#include "sandbox/message.h"

namespace MERO::Sandbox {

/// The process that owns a box and outlives whoever uses it: it makes the box, and takes all of it away when
/// the user has closed the connection or has died, in whatever way. Its end is the end of the box.
class Keeper {
public:
    /// Starts it; signals that shall not disturb it are blocked. Throws std::system_error.
    Keeper(const Box& box, std::chrono::milliseconds bootTime);
    /// Lets the box go, and waits until nothing of it is left.
    ~Keeper();
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;

    /// First the pidfd of the box's pid 1 when systemd has finished booting, or what went wrong; later a
    /// text when the box ends by itself. It closes when the keeper has ended.
    const Descriptor& Connection() const { return connection; }

private:
    Descriptor connection;
    pid_t pid = -1;
};

} // namespace MERO::Sandbox
