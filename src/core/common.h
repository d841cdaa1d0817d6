#pragma once

#include <functional>
#include <vector>

namespace MERO::Systemd {

/// Runs `func` in a forked child that the caller need not wait for. Returns at once, with false if it could not fork.
///
/// The child has a copy of the caller's memory and one thread. Its signals have their default actions, none is blocked,
/// and its working directory is "/". Whatever `func` does, it ends with _exit(0), so that no exit handler of the host
/// process runs. It has all of the caller's descriptors until `func` calls KeepDescriptors. `flags` are those of
/// MLIBCProcForkEx; the child is always detached.
bool ForkAndRun(std::function<void()> func, unsigned long long flags);

/// For a forked child: closes all descriptors except `kept`, and redirects the standard ones to /dev/null. Otherwise
/// the child would keep the host process' locks, pipes and sockets open as long as it runs.
void KeepDescriptors(std::vector<int> kept);

} // namespace MERO::Systemd
