#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

/// What the long runs on a real systemd, inside the sandbox, share.
namespace MERO::Torture {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Texts = std::vector<std::string>;

inline double Since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Waits until `condition` holds; false when it does not in time.
template <typename Condition>
bool Comes(std::chrono::milliseconds time, Condition&& condition)
{
    for (const auto end = Clock::now() + time; !condition(); std::this_thread::sleep_for(2ms)) {
        if (Clock::now() > end) {
            return false;
        }
    }
    return true;
}

inline std::string Read(const std::filesystem::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

inline void Write(const std::filesystem::path& path, const std::string& text)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

/// Not where systemd links what is masked until the next boot.
inline const std::string kUnits = "/usr/local/lib/systemd/system/";

inline void Unit(const std::string& name, const std::string& text)
{
    Write(kUnits + name, text);
}

/// What a command prints on its standard output.
inline std::string Shell(const std::string& command)
{
    std::string output;
    if (FILE* stream = popen(command.c_str(), "re")) {
        for (int c; (c = fgetc(stream)) != EOF;) {
            output += static_cast<char>(c);
        }
        pclose(stream);
    }
    return output;
}

template <typename Container>
std::string Joined(const Container& texts)
{
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : " ") + text;
    }
    return joined;
}

inline bool HasNoChild()
{
    return waitpid(-1, nullptr, WNOHANG) < 0;
}

template <typename Body>
pid_t Fork(Body&& body)
{
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(body() ? 0 : 1);
    }
    return pid;
}

inline int WaitStatus(pid_t pid)
{
    int status = -1;
    waitpid(pid, &status, 0);
    return status;
}

inline void Kill(pid_t pid)
{
    kill(pid, SIGKILL);
    WaitStatus(pid);
}

/// Whether nobody has this lock file locked.
inline bool IsFree(const std::string& path)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    const bool isFree = file < 0 || flock(file, LOCK_EX | LOCK_NB) == 0;
    close(file);
    return isFree;
}

/// Whether all of the library's locks are free within a second.
inline bool AreLocksFree()
{
    const std::filesystem::path run = "/run/merosystemd";
    return Comes(1s, [&] {
        std::error_code none;
        const std::filesystem::directory_iterator locks(run / "locks", none);
        return IsFree(run / "status_monitor.exit.lock") &&
               std::all_of(begin(locks), end(locks), [](const auto& lock) { return IsFree(lock.path()); });
    });
}

/// What a process owns, which no operation may leave changed.
struct Holdings {
    static long Entries(const char* folder) { return std::distance(std::filesystem::directory_iterator(folder), {}); }
    long descriptors = Entries("/proc/self/fd");
    long threads = Entries("/proc/self/task");
    long residentKb =
        std::atol(Shell("grep VmRSS: /proc/" + std::to_string(getpid()) + "/status | tr -dc 0-9").c_str());
};

/// Counts what was done and what went wrong, and says so.
class Run {
public:
    Run(const char* name, int argc, char* argv[]) : name_(name), scale_(argc > 1 ? std::atof(argv[1]) : 1)
    {
        if (std::getenv("MERO_IN_SANDBOX") == nullptr || scale_ <= 0) {
            std::cerr << "usage, inside mero-sandbox only: MERO_IN_SANDBOX=1 torture_" << name_ << " [SCALE]\n";
            std::exit(2);
        }
        Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
        Write("/run/merobootseq/boot-step", "6\n");
        std::cerr << name_ << ": seed " << seed_ << "\n";
    }

    double Scale() const { return scale_; }
    int Scaled(int full) const { return std::max(1, static_cast<int>(full * scale_)); }
    /// 0 to `bound` - 1.
    int Random(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

    void Done(int count = 1)
    {
        done_ += count;
        if (Clock::now() > nextProgress_) {
            std::cerr << name_ << ": " << done_ << " done, " << faults_ << " faults, " << Since(start_) << " s\n";
            nextProgress_ = Clock::now() + 15s;
        }
    }

    bool Expect(bool holds, const std::string& otherwise)
    {
        if (!holds) {
            ++faults_;
            std::cerr << name_ << ": fault: " << otherwise << "\n";
        }
        return holds;
    }

    void ExpectKept(const Holdings& before, const Holdings& after, long growthKb)
    {
        std::cerr << name_ << ": resident memory before and after: " << before.residentKb << " kB, " << after.residentKb
                  << " kB\n";
        Expect(after.descriptors == before.descriptors, "descriptors are left");
        Expect(after.threads == before.threads, "threads are left");
        Expect(after.residentKb <= before.residentKb + growthKb, "the memory has grown");
        Expect(HasNoChild(), "children are left");
    }

    /// The program's exit code.
    int End() const
    {
        std::cout << name_ << ": " << done_ << " done, " << faults_ << " faults, " << static_cast<int>(Since(start_))
                  << " s\n";
        return faults_ != 0;
    }

private:
    std::string name_;
    double scale_;
    unsigned seed_ = std::random_device()();
    std::mt19937 random_{seed_};
    Clock::time_point start_ = Clock::now();
    Clock::time_point nextProgress_ = start_ + 15s;
    long done_ = 0;
    long faults_ = 0;
};

} // namespace MERO::Torture
