#include "torture/torture.h"

#include "support/machine.h"

#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <new>
#include <set>
#include <sstream>
#include <stdexcept>

namespace MERO::Torture {

namespace fs = std::filesystem;

Report::Report()
    : counters_(new (mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                    Counters{})
{
}

void Report::Fault(const std::string& what)
{
    ++counters_->faults;
    const std::string line = std::string(kName) + ": " + what + "\n";
    const std::size_t at = counters_->size.fetch_add(line.size());
    if (at + line.size() <= sizeof counters_->text) { // more need not be read
        line.copy(counters_->text + at, line.size());
    }
}

void Report::Print()
{
    const std::size_t size = std::min(counters_->size.load(), sizeof counters_->text);
    std::fwrite(counters_->text + printed_, 1, size - printed_, stdout);
    std::fflush(stdout);
    printed_ = size;
}

Files FilesBelow(std::initializer_list<const char*> folders)
{
    Files files;
    for (const char* folder : folders) {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;) {
            const bool isFile = entry->is_regular_file();
            files[entry->path()] = isFile ? Test::Machine::Read(entry->path()) : "folder";
            entry.increment(error);
        }
    }
    return files;
}

std::string Footprint()
{
    std::ostringstream text;
    for (int fd = 0; fd < 1024; ++fd) { // without a descriptor, of which there may be none left
        char file[256];
        const ssize_t size = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), file, sizeof file);
        size >= 0 ? text << fd << " " << std::string(file, static_cast<std::size_t>(size)) << "\n" : text;
    }
    const int options = WNOHANG | WNOWAIT | WEXITED;
    siginfo_t child{};
    text << (waitid(P_ALL, 0, &child, options) == 0 ? "a child\n" : "no child\n");
    return text.str();
}

std::string Difference(const std::string& before, const std::string& now)
{
    const auto lines = [](const std::string& text) {
        std::istringstream stream(text);
        std::set<std::string> set;
        for (std::string line; std::getline(stream, line);) {
            set.insert(line);
        }
        return set;
    };
    const auto old = lines(before);
    const auto fresh = lines(now);
    for (const std::string& line : fresh) {
        if (!old.contains(line)) {
            return "new: " + line;
        }
    }
    for (const std::string& line : old) {
        if (!fresh.contains(line)) {
            return "gone: " + line;
        }
    }
    return "";
}

namespace {

/// Becomes the second process of a namespace whose first one reaps what the library detaches, and ends all at the end.
void EnterProcessNamespace()
{
    if (unshare(CLONE_NEWPID) != 0) {
        throw std::runtime_error("no process namespace (are you root?)");
    }
    for (int level = 0; level < 2; ++level) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            continue;
        }
        int status = 0;
        while (waitpid(-1, &status, 0) != child) {
        }
        _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    }
}

} // namespace

} // namespace MERO::Torture

int main(int argc, char* argv[])
{
    using namespace MERO::Torture;
    const auto begin = std::chrono::steady_clock::now();
    Report report;
    try {
        EnterProcessNamespace();
        sigset_t all, old; // of the log's reader, which a handler of the host's would end
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, &old);
        MERO::Test::EnterMachine();
        sigprocmask(SIG_SETMASK, &old, nullptr);
        if (mount("proc", "/proc", "proc", 0, nullptr) != 0) {
            throw std::runtime_error("cannot mount /proc");
        }
        openlog(nullptr, LOG_NDELAY, LOG_USER); // its descriptor stays open
        Run(report, argc > 1 ? std::stod(argv[1]) : 1.0);
    } catch (const std::exception& error) {
        report.Fault(error.what());
    }
    report.Print();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%s: %ld done, %ld faults, %.0f s\n", kName, report.DoneSoFar(), report.Faults(), seconds.count());
    std::fflush(stdout);
    _exit(report.Faults() == 0 ? 0 : 1); // the log's reader has no end
}
