#include "support/child.h"
#include "support/machine.h"

#include <merocore/error.h>
#include <merocore/file.h>
#include <merocore/process.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <csignal>
#include <optional>
#include <thread>
#include <tuple>

using namespace MERO::Test;
using namespace std::chrono_literals;

namespace {

struct Ran {
    std::string output;
    int status;
};

FILE* Open(std::vector<std::string> words, const char* mode)
{
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    return MLIBCPopenvc(argv[0], mode, argv.data());
}

Ran Shell(const std::string& script, const char* mode = "r")
{
    FILE* stream = Open({"/bin/sh", "-c", script}, mode);
    if (stream == nullptr) {
        return {"not started", -1};
    }
    std::string output;
    char piece[4096];
    std::size_t size;
    do {
        size = std::fread(piece, 1, sizeof piece, stream);
        output.append(piece, size);
    } while (size == sizeof piece); // less is the end, or an error, and must not be read on after
    return {output, MLIBCPclose(stream)};
}

int ExecShell(const char* script)
{
    return MLIBCExec("/bin/sh", "-c", script, nullptr, nullptr);
}

template <typename Body>
std::chrono::duration<double> Duration(Body body)
{
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::steady_clock::now() - start;
}

std::vector<int> OpenDescriptors()
{
    std::vector<int> numbers;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        numbers.push_back(std::stoi(entry.path().filename()));
    }
    return numbers;
}

/// While it lives, a signal breaks off this process' system calls every 3 ms.
class Interruptions {
public:
    Interruptions()
    {
        struct sigaction action {}; // without SA_RESTART
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        Every(3'000);
    }
    ~Interruptions() { Every(0); }

private:
    static void Every(suseconds_t microseconds)
    {
        const itimerval timer{.it_interval = {0, microseconds}, .it_value = {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
};

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

TEST_F(Programs, TheModeSaysWhatIsReadAndExecThrowsItAway)
{
    const char* script = "echo one; echo two >&2; echo three";
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(Shell(script, "rB").output, "one\ntwo\nthree\n");
    EXPECT_EQ(ExecShell(script), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Shell(script, "r").output, "one\nthree\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "two\n") << "the caller's";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Shell("seq 500000").output.size(), 3'388'895) << "more than a pipe holds";
}

TEST_F(Programs, WhatCannotBeStartedIsNoStreamAndNoChild)
{
    static_assert(MLIBC_ERR_START_PROGRAM == 0x0E00);
    Write("/run/plain", "");
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"/nowhere", "r", MLIBC_ERR_START_PROGRAM, ENOENT},
        {"/run/plain", "r", MLIBC_ERR_START_PROGRAM, EACCES},
        {"/bin/true", nullptr, MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", "rBx", MLIBC_ERR_INVALID_ARGUMENT, 0},
    };
    for (const auto& [path, mode, code, reason] : cases) {
        MLIBCErrSetEx(0, "", 0);
        errno = 0;
        EXPECT_EQ(Open({path}, mode), nullptr) << path;
        EXPECT_EQ(errno, reason) << path;
        EXPECT_EQ(MLIBCErrGet(), code) << path;
    }
}

TEST_F(Programs, AStatusThatSomebodyElseTookIsLost)
{
    EXPECT_EQ(1, RunAs(0, [] {
                  std::signal(SIGCHLD, SIG_IGN);
                  const Ran ran = Shell("echo x");
                  return ran.output == "x\n" && ran.status == -1 && ExecShell("exit 0") < 0 &&
                         MLIBCErrGet() == MLIBC_ERR_PROGRAM_FAILED;
              }));
}

TEST_F(Programs, SignalsCutNoLineAndNoWait)
{
    const Interruptions interruptions;
    const Ran ran = Shell("for i in 1 2 3; do printf 'li'; sleep 0.01; echo ne $i; done; "
                          "exec >&-; sleep 0.05; exit 3");
    EXPECT_EQ(ran.output, "line 1\nline 2\nline 3\n");
    EXPECT_EQ(ran.status, W_EXITCODE(3, 0));
    EXPECT_EQ(ExecShell("sleep 0.05"), 0);
}

TEST_F(Programs, AProgramStartsCleanWhateverTheCallerIsLike)
{
    EXPECT_EQ(1, RunAs(0, [] {
                  std::signal(SIGPIPE, SIG_IGN);
                  std::signal(SIGCHLD, SIG_IGN);
                  std::signal(SIGUSR1, [](int) {});
                  sigset_t all;
                  sigfillset(&all);
                  sigprocmask(SIG_SETMASK, &all, nullptr);
                  dup2(STDERR_FILENO, 3);
                  dup2(STDERR_FILENO, 500);
                  Shell("{ readlink /proc/self/fd/0; ls /proc/self/fd; } > /run/files");
                  // Not by a shell, which puts its signals in order itself. Signals 32 and 33 must be at rest as well.
                  MLIBCExec("/bin/sed", "-n", "/^Sig[BIC]/s/\t0*/ /w /run/signals", "/proc/self/status", nullptr);
                  return true;
              }));
    EXPECT_EQ(Read("/run/signals"), "SigBlk: \nSigIgn: \nSigCgt: \n");
    EXPECT_EQ(Read("/run/files"), "/dev/null\n0\n1\n2\n3\n"); // 3 is of ls
}

TEST_F(Programs, ACallerMayLackStandardDescriptors)
{
    const std::vector<int> cases[] = {{0}, {1, 2}, {0, 1, 2}};
    for (const std::vector<int>& missing : cases) {
        EXPECT_EQ(1, RunAs(0,
                           [&] {
                               for (const int number : missing) {
                                   close(number);
                               }
                               const std::vector<int> before = OpenDescriptors();
                               return Shell("readlink /proc/self/fd/0; echo err >&2", "rB").output ==
                                          "/dev/null\nerr\n" &&
                                      Shell("readlink /proc/self/fd/0", "r").output == "/dev/null\n" &&
                                      ExecShell("echo out && echo err >&2 && readlink /proc/self/fd/0") == 0 &&
                                      OpenDescriptors() == before;
                           }))
            << testing::PrintToString(missing);
    }
}

TEST_F(Programs, TheStatusIsTheProgramsAndExecIsZeroOnlyForExitZero)
{
    EXPECT_EQ(Shell("exit 127").status, W_EXITCODE(127, 0)) << "no exec that failed";
    EXPECT_EQ(Shell("kill -KILL $$").status, W_EXITCODE(0, SIGKILL));
    EXPECT_EQ(MLIBCExec("/bin/sh", "-c", "test \"$0/$1\" = 'a b/$c'", "a b", "$c"), 0);
    EXPECT_EQ(MLIBCExec("/bin/sh", "-c", "test $# = 0", nullptr, "x"), 0) << "the arguments end at the first NULL";
    EXPECT_LT(ExecShell("exit 1"), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_PROGRAM_FAILED);
    EXPECT_LT(MLIBCExec("/nowhere", nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_START_PROGRAM);
}

class Forks : public Programs {};

TEST_F(Forks, TheFlagsSayWhatTheChildIs)
{
    struct Report {
        pid_t pid, parent, session;
    };
    for (const unsigned long long flags : {0x00, 0x04, 0x40, 0x44}) {
        SCOPED_TRACE(flags);
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const int pid = MLIBCProcForkEx(flags);
        if (pid == 0) {
            const Report report{getpid(), getppid(), getsid(0)};
            _exit(write(ends[1], &report, sizeof report) == sizeof report ? 3 : 1);
        }
        close(ends[1]);
        Report report{};
        EXPECT_EQ(read(ends[0], &report, sizeof report), static_cast<ssize_t>(sizeof report));
        close(ends[0]);

        const bool isDetached = (flags & MLIBC_FORK_DETACHED) != 0;
        EXPECT_EQ(report.pid, pid);
        EXPECT_EQ(report.session, (flags & MLIBC_FORK_NEW_SESSION) != 0 ? pid : getsid(0));
        EXPECT_EQ(report.parent != getpid(), isDetached);
        int status = 0;
        EXPECT_EQ(waitpid(pid, &status, 0), isDetached ? -1 : pid);
        EXPECT_EQ(status, isDetached ? 0 : W_EXITCODE(3, 0));
    }
    EXPECT_LT(MLIBCProcForkEx(0x48), 0) << "an unknown flag";
}

TEST_F(Forks, AliveIsWhatRunsAndIsNoZombie)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        pause();
        _exit(0);
    }
    EXPECT_EQ(MLIBCProcAlive(getpid()), 1);
    EXPECT_EQ(1, RunAs(65534, [&] { return MLIBCProcAlive(child); })) << "another user's";
    kill(child, SIGKILL);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    EXPECT_EQ(MLIBCProcAlive(child), 0) << "a zombie";
    waitpid(child, nullptr, 0);
    for (const int pid : {child, 0, -1, INT_MAX}) {
        EXPECT_EQ(MLIBCProcAlive(pid), 0) << pid;
    }
}

constexpr const char* kLockFile = "/run/test.lock";

/// A lock on kLockFile for as long as it lives, if it was given.
class Lock {
public:
    explicit Lock(bool isExclusive, int seconds = 0)
    {
        const bool isGiven = MLIBCFileLockTimeByFile(kLockFile, isExclusive, seconds, &fd_) == 0;
        EXPECT_EQ(isGiven, IsHeld());
        EXPECT_TRUE(isGiven || MLIBCErrGet() == MLIBC_ERR_LOCK_BUSY) << MLIBCErrGet();
    }
    Lock(const Lock&) = delete;
    ~Lock() { MLIBCFileUnlockByFile(fd_); }
    bool IsHeld() const { return fd_ >= 0; }
    int Fd() const { return fd_; }

private:
    int fd_ = -1;
};

class Locks : public Programs {};

TEST_F(Locks, OnlySharedOnesGoTogether)
{
    for (const bool isHeldExclusive : {false, true}) {
        for (const bool isAskedExclusive : {false, true}) {
            const bool expected = !isHeldExclusive && !isAskedExclusive;
            const Lock held(isHeldExclusive);
            const auto duration = Duration([&] { EXPECT_EQ(Lock(isAskedExclusive).IsHeld(), expected); });
            EXPECT_LT(duration, 0.5s) << "0 s is one attempt";
        }
    }
    EXPECT_TRUE(Lock(true).IsHeld()) << "given back by all";
}

TEST_F(Locks, AWaitEndsWithTheLockOrItsTimeWhateverSignalsCome)
{
    std::optional<Lock> lock(std::in_place, true);
    const pid_t child = fork();
    if (child == 0) {
        std::this_thread::sleep_for(200ms); // and the inherited copy goes with the process
        _exit(0);
    }
    lock.reset();
    {
        const Interruptions interruptions;
        const Lock given(true, 20);
        EXPECT_TRUE(given.IsHeld());
        const auto duration = Duration([] { EXPECT_FALSE(Lock(false, 1).IsHeld()); });
        EXPECT_TRUE(duration >= 1s && duration < 3s) << duration.count();
    }
    waitpid(child, nullptr, 0);
}

TEST_F(Locks, TheLockFileIsAPlainFileOfItsOwner)
{
    const Lock lock(true);
    struct stat status;
    EXPECT_EQ(fstat(lock.Fd(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFREG | 0600});
    EXPECT_EQ(fcntl(lock.Fd(), F_GETFD), FD_CLOEXEC);

    std::filesystem::create_symlink("/run/new", "/run/link");
    int fd = -7;
    EXPECT_LT(MLIBCFileLockTimeByFile("/run/link", 1, 0, &fd), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_OPEN_FILE);
    EXPECT_EQ(fd, -7);
}

} // namespace
