#pragma once

#include <sys/types.h>

namespace MERO::Core {

inline constexpr int kInherit = -1;
inline constexpr int kDevNull = -2;

/// Where a program's output goes: one of the caller's descriptors, kInherit or kDevNull.
struct SpawnOutput {
    int standardOutput;
    int standardError;
};

/// Starts `path` with default signal dispositions, an empty signal mask, /dev/null as standard input and no
/// descriptor above 2. Returns the child's process ID, or a negative number with errno if no child was started.
pid_t Spawn(const char* path, char* const argv[], char* const envp[], SpawnOutput output);

/// Waits for `pid`. Returns the wait status, or -1 if someone else has already waited for it.
int WaitStatus(pid_t pid);

} // namespace MERO::Core
