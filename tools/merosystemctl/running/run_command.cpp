#include "running/run_command.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace MERO::Tool {
namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
constexpr int kCannotStart = 127;
constexpr int kSignalled = 128;

std::atomic<pid_t> running = 0;
std::atomic<int> received = 0;
std::atomic<int> receivedBefore = 0; ///< before the command
std::string notice;                  ///< changed only while no signal is handled

void PassOn(int signal, siginfo_t* info, void*)
{
    const int reason = errno;
    if (received.exchange(signal) == 0) {
        (void)!write(STDERR_FILENO, notice.data(), notice.size());
    }
    const pid_t command = running;
    if (command > 0 && info->si_code <= 0) { // signals from the terminal reach the command without us
        kill(command, signal);
    }
    errno = reason;
}

void HandleSignals(struct sigaction action)
{
    for (int signal : kSignals) {
        sigaction(signal, &action, nullptr);
    }
}

bool IsProgram(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

bool IsInPath(const std::string& program)
{
    const char* path = std::getenv("PATH");
    // With the colon at the end, getline sees an empty last folder, which like any empty folder is the current one.
    std::istringstream folders((path != nullptr ? std::string(path) : "/bin:/usr/bin") + ":");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (IsProgram((folder.empty() ? "." : folder) + "/" + program)) {
            return true;
        }
    }
    return false;
}

/// posix_spawnp with default signals. Returns 0 or an error number.
int Spawn(const Texts& command, pid_t& pid)
{
    std::vector<char*> argv;
    for (const std::string& word : command) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    for (int signal : kSignals) {
        sigaddset(&signals, signal);
    }
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    const int error = posix_spawnp(&pid, argv[0], nullptr, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    return error;
}

} // namespace

SignalsToCommand::SignalsToCommand(const std::string& text)
{
    // The terminal may show the progress line, and "^C".
    notice = text.empty() ? "" : (isatty(STDERR_FILENO) == 1 ? "\r\033[K" : "") + ("merosystemctl: " + text + "\n");
    struct sigaction action {};
    action.sa_sigaction = PassOn;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    HandleSignals(action);
}

SignalsToCommand::~SignalsToCommand()
{
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    HandleSignals(action);
}

bool IsRunnable(const Texts& command)
{
    const std::string& program = command.front();
    const bool found = program.find('/') != std::string::npos ? IsProgram(program) : IsInPath(program);
    if (!found) {
        PrintError(program + ": there is no such program");
    }
    return found;
}

int SignalBeforeCommand()
{
    return receivedBefore;
}

int RunCommand(const Texts& command)
{
    if (received != 0) {
        receivedBefore = received.load();
        return kSignalled + received;
    }
    pid_t pid = 0;
    if (const int error = Spawn(command, pid); error != 0) {
        PrintError(command.front() + ": " + std::strerror(error));
        return kCannotStart;
    }
    running = pid;
    if (received != 0) { // between the start and the line above
        kill(pid, received);
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    running = 0;
    return WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace MERO::Tool
