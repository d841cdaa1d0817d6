#pragma once

#include <sys/types.h>

namespace MERO::Core {

inline constexpr int kInherit = -1;
inline constexpr int kDevNull = -2;

/// Where a program's output goes: a descriptor of the caller, kInherit or kDevNull.
struct SpawnOutput {
    int standardOutput;
    int standardError;
};

/// Starts `path` with default signal dispositions, an empty signal mask, /dev/null as standard input and no
/// descriptor above 2. Returns the child's process ID; negative with errno set when it could not be started,
/// in which case there is no child.
pid_t Spawn(const char* path, char* const argv[], char* const envp[], SpawnOutput output);

/// Waits for `pid`; the wait status, or -1 when it is lost to somebody else's wait.
int WaitStatus(pid_t pid);

} // namespace MERO::Core
