#include "peer_program.h"

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace MERO::Bench {
namespace {

std::vector<char*> Argv(const std::vector<std::string>& words)
{
    std::vector<char*> argv;
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    return argv;
}

pid_t Spawn(const std::vector<std::string>& words, const posix_spawn_file_actions_t& actions)
{
    pid_t pid = 0;
    return posix_spawnp(&pid, words[0].c_str(), &actions, nullptr, Argv(words).data(), environ) == 0 ? pid : -1;
}

bool Await(pid_t pid)
{
    int status = 0;
    return pid > 0 && waitpid(pid, &status, 0) == pid && status == 0;
}

} // namespace

bool RunProgram(const std::vector<std::string>& words)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int output : {STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    }
    const bool done = Await(Spawn(words, actions));
    posix_spawn_file_actions_destroy(&actions);
    return done;
}

bool ReadProgram(const std::vector<std::string>& words, std::string& output)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const pid_t pid = Spawn(words, actions);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    static char buffer[64 * 1024];
    output.clear();
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    (void)Await(pid);
    return pid > 0;
}

void ReplaceSystemctl(const std::string& program)
{
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount(program.c_str(), "/usr/bin/systemctl", nullptr, MS_BIND, nullptr) != 0) {
        std::perror("systemctl cannot be replaced: this needs root");
        std::exit(1);
    }
}

} // namespace MERO::Bench
