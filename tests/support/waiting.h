#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>

namespace MERO::Test {

/// A process that does something, or runs the program sleep, and then waits until the test ends it.
class Waiting {
public:
    explicit Waiting(const std::function<void()>& begin)
    {
        int ready[2];
        EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);
        if ((pid = fork()) == 0) {
            begin(), close(ready[1]), pause();
        }
        char nothing; // only the end of file comes: then the process waits, or the program runs
        EXPECT_TRUE(close(ready[1]) == 0 && read(ready[0], &nothing, 1) == 0 && close(ready[0]) == 0);
    }
    explicit Waiting(const std::string& program = "/bin/sleep", const std::string& name = "sleep")
        : Waiting([&] { execl(program.c_str(), name.c_str(), "1000", nullptr); })
    {
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
