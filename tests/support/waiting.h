#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace MERO::Test {

/// A process that runs a copy of the program sleep, until it is told to end.
class Waiting {
public:
    explicit Waiting(const std::string& program = "/bin/sleep", const std::string& name = "sleep")
    {
        int ready[2];
        EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);
        if ((pid = fork()) == 0) {
            execl(program.c_str(), name.c_str(), "1000", nullptr);
            _exit(1);
        }
        char nothing; // comes not, but the end of the file does: the program runs
        EXPECT_TRUE(close(ready[1]) == 0 && read(ready[0], &nothing, 1) == 0 && close(ready[0]) == 0);
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() { End(); }

    void End()
    {
        if (!hasEnded_) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            hasEnded_ = true;
        }
    }

    std::string File(const std::string& name) const { return "/proc/" + std::to_string(pid) + "/" + name; }

    pid_t pid;

private:
    bool hasEnded_ = false;
};

} // namespace MERO::Test
