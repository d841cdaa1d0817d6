#pragma once

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// A child process. The destructor kills it and, unless that takes seconds, reaps it.
class OwnedProcess {
public:
    /// Forks; the child gets the new namespaces in `namespaces` (CLONE_NEW… bits).
    /// @return nothing in the child
    /// Throws std::system_error with `what`.
    static std::optional<OwnedProcess> Fork(std::uint64_t namespaces, const std::string& what);

    OwnedProcess(OwnedProcess&&) = default;
    ~OwnedProcess();

    /// The pidfd: readable when the process has ended.
    int Get() const { return pidfd.Get(); }
    void Signal(int signal) const;
    /// From now on `process` gets the signals instead.
    void PassSignalsTo(Descriptor process) { signalled = std::move(process); }
    /// Waits for its end. @return how it ended, as waitid reports it. Call it once
    siginfo_t Reap();

private:
    explicit OwnedProcess(Descriptor ownedPidfd) : pidfd(std::move(ownedPidfd)) {}

    Descriptor pidfd;
    Descriptor signalled;
};

} // namespace MERO::Sandbox
