#pragma once

#include <functional>
#include <vector>

namespace MERO::Systemd {

/// Runs `func` in a forked child, which the caller need not wait for, and returns at once: whether there is a child.
///
/// The child has the memory of the caller and one thread. Its signals are at their defaults, none is blocked, its
/// working directory is "/", and it ends with _exit(0) whatever `func` does, so that nothing of the caller's runs in
/// it. It has all of the caller's descriptors until `func` calls KeepDescriptors. `flags` are those of MLIBCProcForkEx;
/// the child is always detached.
bool ForkAndRun(std::function<void()> func, unsigned long long flags);

/// In a forked child: closes all descriptors but `kept`, and makes /dev/null of the standard ones. Otherwise the
/// child would hold the host's locks, pipes and sockets for as long as it runs.
void KeepDescriptors(std::vector<int> kept);

} // namespace MERO::Systemd
