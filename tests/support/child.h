#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace MERO::Test {

/// Runs `body` in a forked child as user `uid`, and returns its result (0 to 255); 254 when it threw.
template <typename Body>
int RunAs(uid_t uid, Body&& body)
{
    const pid_t pid = fork();
    if (pid == 0) {
        int result = 254;
        try {
            const bool isUser = setresgid(uid, uid, uid) == 0 && setresuid(uid, uid, uid) == 0 &&
                                prctl(PR_SET_DUMPABLE, 1) == 0; // as exec would: /proc/self becomes the user's
            result = isUser ? body() : 253;
        } catch (...) {
        }
        _exit(result);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

} // namespace MERO::Test
