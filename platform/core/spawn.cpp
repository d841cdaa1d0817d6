#include "spawn.h"

#include "system_calls.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace MERO::Core {
namespace {

/// Sets up the child's descriptors. The steps run in the order in which they are added.
class FileActions {
public:
    FileActions() { error_ = posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    void Direct(int standard, int target)
    {
        if (target == kDevNull) {
            KeepError(posix_spawn_file_actions_addopen(&actions_, standard, "/dev/null", O_RDWR, 0));
        } else if (target != kInherit) {
            KeepError(posix_spawn_file_actions_adddup2(&actions_, target, standard));
        }
    }
    void CloseFrom(int first) { KeepError(posix_spawn_file_actions_addclosefrom_np(&actions_, first)); }

    int Error() const { return error_; }
    const posix_spawn_file_actions_t* Get() const { return &actions_; }

private:
    void KeepError(int error) { error_ = error_ != 0 ? error_ : error; }

    posix_spawn_file_actions_t actions_;
    int error_;
};

posix_spawnattr_t CleanSignals()
{
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    std::memset(&signals, 0xff, sizeof signals); // sigfillset omits the C library's two: the child would ignore them
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    return attributes;
}

} // namespace

pid_t Spawn(const char* path, char* const argv[], char* const envp[], SpawnOutput output)
{
    const posix_spawnattr_t attributes = CleanSignals();

    FileActions actions;
    actions.Direct(STDIN_FILENO, kDevNull);
    actions.Direct(STDOUT_FILENO, output.standardOutput);
    actions.Direct(STDERR_FILENO, output.standardError);
    actions.CloseFrom(STDERR_FILENO + 1);

    pid_t pid = -1;
    int error = actions.Error();
    if (error == 0) {
        error = posix_spawn(&pid, path, actions.Get(), &attributes, argv, envp);
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return pid;
}

int WaitStatus(pid_t pid)
{
    int status = 0;
    return Uninterrupted([&] { return waitpid(pid, &status, 0); }) == pid ? status : -1;
}

} // namespace MERO::Core
