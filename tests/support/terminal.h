#pragma once

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace MERO::Test {

/// Runs a shell command on its own terminal. The test types there and reads the output.
class Terminal {
public:
    explicit Terminal(const std::string& command, unsigned short columns = 80)
    {
        const winsize size{24, columns, 0, 0};
        if ((pid_ = forkpty(&master_, nullptr, nullptr, &size)) == 0) {
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        kill(pid_, SIGKILL);
        HangUp();
    }

    void Resize(unsigned short columns) const
    {
        const winsize size{24, columns, 0, 0};
        ioctl(master_, TIOCSWINSZ, &size);
    }

    void Type(const std::string& keys) const { (void)!write(master_, keys.data(), keys.size()); }

    /// Returns the output until `text` comes, the command ends, or nothing comes for ten seconds.
    std::string Until(const std::string& text)
    {
        std::string printed;
        pollfd readable{master_, POLLIN, 0};
        for (char c;
             printed.find(text) == printed.npos && poll(&readable, 1, 10'000) > 0 && read(master_, &c, 1) == 1;) {
            printed += c;
        }
        return printed;
    }

    std::string Rest() { return Until(std::string(1, '\0')); }

    /// Hangs the terminal up. Returns the command's exit code, or 128 plus the signal that ended it.
    int HangUp()
    {
        int status = 0;
        close(master_);
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    int master_ = -1;
    pid_t pid_;
};

} // namespace MERO::Test
