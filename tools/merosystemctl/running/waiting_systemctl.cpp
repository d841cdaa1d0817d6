#include "running/waiting_systemctl.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace MERO::Tool {
namespace {

constexpr const char* kWaiting[] = {"start", "stop", "restart", "try-restart", "reload-or-restart"};

std::vector<pid_t> Children()
{
    std::vector<pid_t> children;
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::ifstream list(thread.path() / "children");
        for (pid_t child = 0; list >> child;) {
            children.push_back(child);
        }
    }
    return children;
}

bool IsChild(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("PPid:")) {
            return std::atoi(line.c_str() + sizeof "PPid:") == getpid();
        }
    }
    return false;
}

bool WaitsForJobs(pid_t pid)
{
    std::ifstream words("/proc/" + std::to_string(pid) + "/cmdline");
    std::string program, verb;
    std::getline(words, program, '\0');
    std::getline(words, verb, '\0');
    return program == "/usr/bin/systemctl" &&
           std::find(std::begin(kWaiting), std::end(kWaiting), verb) != std::end(kWaiting);
}

} // namespace

bool EndWaitingSystemctl()
{
    bool hasEnded = false;
    for (const pid_t child : Children()) {
        // Open the descriptor first: if the process ends now and its number is reused, the signal cannot reach the new
        // process.
        const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
        if (process >= 0 && IsChild(child) && WaitsForJobs(child)) {
            hasEnded = syscall(SYS_pidfd_send_signal, process, SIGTERM, nullptr, 0) == 0 || hasEnded;
        }
        close(process);
    }
    return hasEnded;
}

} // namespace MERO::Tool
