#pragma once

#include <chrono>
#include <sys/types.h>

#include "sandbox/box_init.h"
#include "sandbox/message.h"

namespace MERO::Sandbox {

/// The process that owns a sandbox and outlives its user. It makes the sandbox, and removes it when the user closes the
/// connection or dies, however that happens. The sandbox ends with it.
class Keeper {
public:
    /// Starts the keeper. Block signals that must not reach it first. Throws std::system_error.
    Keeper(const Box& box, std::chrono::milliseconds bootTime);
    /// Releases the sandbox, and waits until nothing of it is left.
    ~Keeper();
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;

    /// First sends the pidfd of the sandbox's pid 1 once systemd has booted, or an error text; later a text if the
    /// sandbox ends on its own. Closes when the keeper has ended.
    const Descriptor& Connection() const { return connection; }

private:
    Descriptor connection;
    pid_t pid = -1;
};

} // namespace MERO::Sandbox
