#include "support/child.h"
#include "support/machine.h"
#include "support/waiting.h"

#include <merocore/error.h>
#include <merocore/file.h>
#include <merocore/process.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <csignal>
#include <optional>
#include <tuple>

using namespace MERO::Test;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

struct Ran {
    std::string output;
    int status;
};

FILE* Open(const char* program, const char* mode, const char* script = nullptr)
{
    const char* argv[] = {program, "-c", script, nullptr};
    return MLIBCPopenvc(program, mode, const_cast<char**>(argv));
}

Ran Shell(const char* script, const char* mode = "r")
{
    FILE* stream = Open("/bin/sh", mode, script);
    if (stream == nullptr) {
        return {"not started", -1};
    }
    std::string output(4'000'000, ' ');
    output.resize(std::fread(output.data(), 1, output.size(), stream));
    return {output, MLIBCPclose(stream)};
}

int ExecShell(const char* script)
{
    return MLIBCExec("/bin/sh", "-c", script, nullptr, nullptr);
}

std::vector<int> OpenDescriptors()
{
    std::vector<int> numbers;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        numbers.push_back(std::stoi(entry.path().filename()));
    }
    return numbers;
}

/// No test may leave a descriptor or a child behind.
class Programs : public Machine {
protected:
    void TearDown() override
    {
        EXPECT_EQ(OpenDescriptors(), descriptors_);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    }

private:
    const std::vector<int> descriptors_ = OpenDescriptors();
};

TEST_F(Programs, TheModeSelectsTheOutputAndExecDiscardsIt)
{
    const char* script = "echo one; echo two >&2; echo three";
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(Shell(script, "rB").output, "one\ntwo\nthree\n");
    EXPECT_EQ(ExecShell(script), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Shell(script, "r").output, "one\nthree\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "two\n") << "goes to the caller's";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Shell("seq 500000").output.size(), 3'388'895) << "more than a pipe holds";
}

TEST_F(Programs, AFailedStartLeavesNoStreamAndNoChild)
{
    static_assert(MLIBC_ERR_START_PROGRAM == 0x0E00);
    Write("/run/plain", "");
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"/nowhere", "r", MLIBC_ERR_START_PROGRAM, ENOENT},    {"/run/plain", "r", MLIBC_ERR_START_PROGRAM, EACCES},
        {"/bin/true", nullptr, MLIBC_ERR_INVALID_ARGUMENT, 0}, {nullptr, "r", MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", "rBx", MLIBC_ERR_INVALID_ARGUMENT, 0},
    };
    for (const auto& [path, mode, code, reason] : cases) {
        MLIBCErrSetEx(0, "", 0);
        errno = 0;
        EXPECT_EQ(Open(path, mode), nullptr) << code;
        EXPECT_TRUE(errno == reason && MLIBCErrGet() == code) << code;
    }
}

TEST_F(Programs, AProgramInheritsNoSignalsOrDescriptors)
{
    const auto run = [] {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGCHLD, SIG_IGN);
        std::signal(SIGUSR1, [](int) {});
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        dup2(STDERR_FILENO, 3);
        dup2(STDERR_FILENO, 500);
        Shell("{ readlink /proc/self/fd/0; ls /proc/self/fd; } > /run/files");
        // Not through a shell, which resets signals itself. Signals 32 and 33 must be reset as well.
        return MLIBCExec("/bin/sed", "-n", "/^Sig[BIC]/s/\t0*/ /w /run/signals", "/proc/self/status", nullptr);
    };
    EXPECT_EQ(RunAs(0, run), 255) << "its exit code is lost";
    EXPECT_EQ(Read("/run/signals"), "SigBlk: \nSigIgn: \nSigCgt: \n");
    EXPECT_EQ(Read("/run/files"), "/dev/null\n0\n1\n2\n3\n"); // ls opens 3
}

TEST_F(Programs, CloseReturnsTheStatusAndExecZeroOnlyForExitZero)
{
    EXPECT_EQ(Shell("exit 127").status, W_EXITCODE(127, 0)) << "not a failed exec";
    EXPECT_EQ(Shell("kill -KILL $$").status, W_EXITCODE(0, SIGKILL));
    EXPECT_EQ(MLIBCExec("/bin/sh", "-c", "test \"$0/$1\" = 'a b/$c'", "a b", "$c"), 0);
    EXPECT_EQ(MLIBCExec("/bin/sh", "-c", "test $# = 0", nullptr, "x"), 0) << "the arguments end at the first NULL";
    EXPECT_LT(ExecShell("exit 1"), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_PROGRAM_FAILED);
    EXPECT_LT(MLIBCExec("/nowhere", nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_START_PROGRAM);
}

using Forks = Programs;

TEST_F(Forks, TheFlagsDetachTheChildOrStartASession)
{
    for (const unsigned long long flags : {0x00, 0x04, 0x40, 0x44}) {
        SCOPED_TRACE(flags);
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const int pid = MLIBCProcForkEx(flags);
        pid_t report[] = {getpid(), getppid(), getsid(0)};
        if (pid == 0) {
            _exit(write(ends[1], report, sizeof report) == sizeof report ? 3 : 1);
        }
        close(ends[1]);
        EXPECT_EQ(read(ends[0], report, sizeof report), static_cast<ssize_t>(sizeof report));
        close(ends[0]);

        const bool isDetached = (flags & MLIBC_FORK_DETACHED) != 0;
        EXPECT_EQ(report[0], pid);
        EXPECT_EQ(report[1] != getpid(), isDetached);
        EXPECT_EQ(report[2], (flags & MLIBC_FORK_NEW_SESSION) != 0 ? pid : getsid(0));
        int status = 0;
        EXPECT_EQ(waitpid(pid, &status, 0), isDetached ? -1 : pid);
        EXPECT_EQ(status, isDetached ? 0 : W_EXITCODE(3, 0));
    }
    EXPECT_LT(MLIBCProcForkEx(0x48), 0) << "an unknown flag";
}

TEST_F(Forks, AZombieIsNotAlive)
{
    Waiting child;
    EXPECT_EQ(MLIBCProcAlive(getpid()), 1);
    EXPECT_EQ(1, RunAs(65534, [&] { return MLIBCProcAlive(child.pid); })) << "another user's";
    kill(child.pid, SIGKILL);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child.pid), &ended, WEXITED | WNOWAIT);
    EXPECT_EQ(MLIBCProcAlive(child.pid), 0) << "a zombie";
    child.End();
    for (const int pid : {child.pid, 0, -1, INT_MAX}) {
        EXPECT_EQ(MLIBCProcAlive(pid), 0) << pid;
    }
}

/// Holds a lock while it exists, if it could be taken.
struct Lock {
    explicit Lock(bool isExclusive, int seconds = 0)
    {
        const bool isGiven = MLIBCFileLockTimeByFile("/run/test.lock", isExclusive, seconds, &fd) == 0;
        EXPECT_EQ(isGiven, fd >= 0);
        EXPECT_TRUE(isGiven || MLIBCErrGet() == MLIBC_ERR_LOCK_BUSY) << MLIBCErrGet();
    }
    Lock(const Lock&) = delete;
    ~Lock() { MLIBCFileUnlockByFile(fd); }

    int fd = -1;
};

using Locks = Programs;

TEST_F(Locks, OnlySharedLocksGoTogether)
{
    for (const auto& [isHeldExclusive, isAskedExclusive] :
         {std::pair(false, false), {false, true}, {true, false}, {true, true}}) {
        const Lock held(isHeldExclusive);
        const auto start = Clock::now();
        EXPECT_EQ(Lock(isAskedExclusive).fd >= 0, !isHeldExclusive && !isAskedExclusive);
        EXPECT_LT(Clock::now() - start, 500ms) << "0 s is one attempt";
    }
    const Lock lock(true); // all locks above were released
    struct stat status;
    EXPECT_EQ(fstat(lock.fd, &status), 0);
    EXPECT_TRUE(status.st_mode == (S_IFREG | 0600) && fcntl(lock.fd, F_GETFD) == FD_CLOEXEC);
    fs::create_symlink("/run/new", "/run/link");
    int fd = -7;
    EXPECT_LT(MLIBCFileLockTimeByFile("/run/link", 1, 0, &fd), 0);
    EXPECT_TRUE(MLIBCErrGet() == MLIBC_ERR_OPEN_FILE && fd == -7);
}

TEST_F(Locks, AWaitEndsWithTheLockOrTheTimeout)
{
    std::optional<Lock> lock(std::in_place, true);
    const pid_t child = Fork([] { return usleep(200'000); }); // the inherited copy ends with the process
    lock.reset();
    const Lock given(true, 20);
    const auto start = Clock::now();
    EXPECT_TRUE(given.fd >= 0 && Lock(false, 1).fd < 0);
    const auto duration = Clock::now() - start;
    EXPECT_TRUE(duration >= 1s && duration < 3s) << duration.count();
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

} // namespace
