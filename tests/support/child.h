#pragma once

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>

namespace MERO::Test {

/// Forks a child of user `uid` that runs `body` and exits with its result (0 to 255), or with 254 if it throws. The
/// child is killed when its parent ends, and after ten minutes, whatever it does with its signals.
template <typename Body>
pid_t Fork(Body&& body, uid_t uid = geteuid())
{
    const pid_t pid = fork();
    if (pid != 0) {
        return pid;
    }
    int result = 254;
    try {
        sigevent atItsEnd{};
        atItsEnd.sigev_notify = SIGEV_SIGNAL;
        atItsEnd.sigev_signo = SIGKILL;
        const itimerspec time{.it_interval = {}, .it_value = {.tv_sec = 600, .tv_nsec = 0}};
        timer_t timer;
        const bool isUser = timer_create(CLOCK_MONOTONIC, &atItsEnd, &timer) == 0 &&
                            timer_settime(timer, 0, &time, nullptr) == 0 && setresgid(uid, uid, uid) == 0 &&
                            setresuid(uid, uid, uid) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
                            prctl(PR_SET_DUMPABLE, 1) == 0; // as exec does: /proc/self becomes the user's
        result = isUser ? body() : 253;
    } catch (...) {
    }
    _exit(result);
}

/// Returns the result of such a child once it has ended; 255 if it was killed.
inline int ResultOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

/// Runs `body` in such a child, and returns its result.
template <typename Body>
int RunAs(uid_t uid, Body&& body)
{
    return ResultOf(Fork(body, uid));
}

/// A callback can do these when the library calls it: return false (0) or true (1), throw something that is
/// no std::exception (2), end its thread (3), or return true while a cancellation of its thread is pending (4).
inline bool Act(int how)
{
    how == 3 ? pthread_exit(nullptr) : void();
    how == 4 ? (void)pthread_cancel(pthread_self()) : void();
    return how == 2 ? throw 7 : how != 0;
}

} // namespace MERO::Test
