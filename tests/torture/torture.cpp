#include "torture/torture.h"

#include "support/child.h"
#include "support/environment.h"
#include "support/lock.h"

#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <new>
#include <set>
#include <sstream>
#include <stdexcept>

namespace MERO::Torture {

namespace fs = std::filesystem;

Run::Run(double scale)
    : counters_(new (mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                    Counters{}),
      scale_(scale)
{
    std::cerr << kName << ": seed " << seed_ << "\n";
}

void Run::Done(long count)
{
    counters_->done += count;
    Print();
}

bool Run::Expect(bool holds, const std::string& otherwise)
{
    if (!holds) {
        ++counters_->faults;
        const std::string line = std::string(kName) + ": " + otherwise + "\n";
        const std::size_t at = counters_->size.fetch_add(line.size());
        if (at + line.size() <= sizeof counters_->text) { // more need not be read
            line.copy(counters_->text + at, line.size());
        }
    }
    return holds;
}

void Run::InChild(const std::string& what, const std::function<void()>& body)
{
    int status = 0;
    waitpid(Test::Fork([&] { return body(), 0; }), &status, 0);
    Expect(status == 0, what + ": ends by signal " + std::to_string(WTERMSIG(status)) + ", or with code " +
                            std::to_string(WEXITSTATUS(status)));
}

void Run::Print()
{
    if (getpid() == owner_) {
        const std::size_t size = std::min(counters_->size.load(), sizeof counters_->text);
        std::fwrite(counters_->text + printed_, 1, size - printed_, stdout);
        std::fflush(stdout);
        printed_ = size;
    }
}

int Run::End()
{
    Print();
    std::printf("%s: %ld done, %ld faults, %.0f s\n", kName, counters_->done.load(), counters_->faults.load(),
                Since(start_));
    std::fflush(stdout);
    return counters_->faults == 0 ? 0 : 1;
}

Files FilesBelow(std::initializer_list<const char*> folders)
{
    Files files;
    for (const char* folder : folders) {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;) {
            const bool isFile = entry->is_regular_file();
            files[entry->path()] = isFile ? Machine::Read(entry->path()) : "folder";
            entry.increment(error);
        }
    }
    return files;
}

std::string Footprint()
{
    std::ostringstream text;
    for (int fd = 0; fd < 100; ++fd) { // without a descriptor, of which there may be none left
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

bool HasNoChild()
{
    return waitpid(-1, nullptr, WNOHANG) < 0;
}

void Kill(pid_t pid)
{
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

bool AreLocksFree()
{
    std::error_code none;
    const fs::path run = "/run/merosystemd";
    bool areFree = Test::IsFree(run / "status_monitor.exit.lock", 1);
    for (const auto& lock : fs::directory_iterator(run / "locks", none)) {
        areFree = Test::IsFree(lock.path(), 1) && areFree;
    }
    return areFree;
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

void EnterPlace()
{
    if (kPlace == Place::Systemd) {
        if (std::getenv("MERO_IN_SANDBOX") == nullptr) {
            throw std::runtime_error("starts and stops units as it likes; scripts/torture runs it, in mero-sandbox");
        }
        Test::MakeEnvironmentKnown();
        Machine::Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
        Machine::Write("/run/merobootseq/boot-step", "6\n");
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        return;
    }
    EnterProcessNamespace();
    sigset_t all, old; // of the log's reader, which a handler of the host's would end
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old);
    Test::EnterMachine();
    sigprocmask(SIG_SETMASK, &old, nullptr);
    if (mount("proc", "/proc", "proc", 0, nullptr) != 0) {
        throw std::runtime_error("cannot mount /proc");
    }
    openlog(nullptr, LOG_NDELAY, LOG_USER); // its descriptor stays open
}

} // namespace

} // namespace MERO::Torture

int main(int argc, char* argv[])
{
    using namespace MERO::Torture;
    try {
        EnterPlace();
    } catch (const std::exception& error) {
        std::cerr << "torture_" << kName << ": " << error.what() << "\n";
        return 2;
    }
    Run run(argc > 1 ? std::stod(argv[1]) : 1.0);
    try {
        Torture(run);
    } catch (const std::exception& error) {
        run.Expect(false, error.what());
    }
    _exit(run.End()); // the log's reader has no end
}
