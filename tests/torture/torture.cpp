#include "torture/torture.h"

#include "support/environment.h"

#include <sys/mman.h>
#include <syslog.h>

#include <cmath>
#include <iostream>
#include <set>
#include <sstream>

namespace MERO::Torture {

Run::Run(double scale)
    : counters_(new (mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                    Counters{}),
      scale_(scale)
{
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
        if (at + line.size() <= sizeof counters_->text) { // nobody needs to read more
            line.copy(counters_->text + at, line.size());
        }
    }
    return holds;
}

void Run::ExpectSame(const std::string& before, const std::string& now, const std::string& what)
{
    std::set<std::string> lines[2], differences;
    for (const bool isNow : {false, true}) {
        std::istringstream stream(isNow ? now : before);
        for (std::string line; std::getline(stream, line);) {
            lines[isNow].insert(line);
        }
    }
    std::ranges::set_symmetric_difference(lines[0], lines[1], std::inserter(differences, differences.end()));
    Expect(differences.empty(), what + "new or gone: " + Joined(differences, "; "));
}

void Run::InChild(const std::string& what, const std::function<void()>& body)
{
    int status = 0;
    waitpid(Fork([&] { return body(), 0; }), &status, 0);
    Expect(status == 0, what + ": ends by signal " + std::to_string(WTERMSIG(status)) + ", or with code " +
                            std::to_string(WEXITSTATUS(status)));
}

void Run::Print()
{
    if (getpid() == owner_) {
        const std::size_t size = std::min(counters_->size.load(), sizeof counters_->text);
        std::cout.write(counters_->text + printed_, static_cast<std::streamsize>(size - printed_)).flush();
        printed_ = size;
    }
}

int Run::End()
{
    Print();
    std::cout << kName << ": " << counters_->done << " done, " << counters_->faults << " faults, "
              << std::lround(Since(start_)) << " s" << std::endl;
    return counters_->faults == 0 ? 0 : 1;
}

Files FilesNow()
{
    Files files;
    for (const char* folder : {"/run", "/usr/mero", "/var/packages", "/sys/fs/cgroup"}) {
        std::error_code error;
        for (std::filesystem::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            files[entry->path()] = entry->is_regular_file() ? Machine::Read(entry->path()) : "folder";
        }
    }
    return files;
}

std::string Footprint()
{
    std::string text;
    for (int fd = 0; fd < 100; ++fd) { // opens no descriptor: there may be none left
        char file[256]{};
        const std::string number = std::to_string(fd);
        text +=
            readlink(("/proc/self/fd/" + number).c_str(), file, sizeof file - 1) >= 0 ? number + " " + file + "\n" : "";
    }
    siginfo_t child{};
    const bool hasChild = waitid(P_ALL, 0, &child, WNOHANG | WNOWAIT | WEXITED) == 0;
    return text + (hasChild ? "a child\n" : "no child\n");
}

namespace {

/// Set inside a process namespace whose first process reaps the library's detached processes.
constexpr const char* kInside = "MERO_IN_PROCESS_NAMESPACE";

void EnterPlace(char* argv[])
{
    if (kPlace == Place::Systemd) {
        if (std::getenv("MERO_IN_SANDBOX") == nullptr) {
            throw std::runtime_error("starts and stops units freely; scripts/torture runs it in mero-sandbox");
        }
        Test::MakeEnvironmentKnown();
        Machine::Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
        Machine::Write("/run/systemd/system/service.d/often.conf", "[Unit]\nStartLimitIntervalSec=0\n");
        Machine::Write("/run/merobootseq/boot-step", "6\n");
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        return;
    }
    if (std::getenv(kInside) == nullptr) {
        setenv(kInside, "yes", 1);
        execlp("unshare", "unshare", "--pid", "--fork", "--kill-child", "--mount-proc", "sh", "-c", "\"$@\"; exit $?",
               "sh", argv[0], argv[1], nullptr);
        throw std::runtime_error("no unshare");
    }
    sigset_t all, old; // for the log reader: a handler of the host would end it
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old);
    Test::EnterMachine();
    sigprocmask(SIG_SETMASK, &old, nullptr);
    openlog(nullptr, LOG_NDELAY, LOG_USER); // its descriptor stays open
}

} // namespace

} // namespace MERO::Torture

int main(int argc, char* argv[])
{
    using namespace MERO::Torture;
    Run run(argc > 1 ? std::stod(argv[1]) : 1.0);
    try {
        EnterPlace(argv);
        Torture(run);
    } catch (const std::exception& error) {
        run.Expect(false, error.what());
    }
    _exit(run.End()); // the log reader never ends
}
