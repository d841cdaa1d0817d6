#include "support/machine.h"

#include <merocore/error.h>
#include <merocore/file.h>
#include <merocore/process.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
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

/// Whether `check` holds in a forked child, which may change what it likes about itself.
template <typename Check>
bool InChild(Check check)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(check() ? 0 : 1);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0;
}

template <typename Condition>
bool Eventually(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
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

std::string BlockedSignals()
{
    sigset_t blocked{};
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return {reinterpret_cast<const char*>(&blocked), sizeof blocked};
}

void ForbidNewDescriptors()
{
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_NOFILE, &none);
}

/// While it lives, a signal breaks off this process' system calls every 3 ms.
class Interruptions {
public:
    Interruptions()
    {
        count = 0;
        struct sigaction action{}; // without SA_RESTART
        action.sa_handler = [](int) { count = count + 1; };
        sigaction(SIGALRM, &action, nullptr);
        Every(3'000);
    }
    ~Interruptions()
    {
        Every(0);
        std::signal(SIGALRM, SIG_DFL);
        EXPECT_GT(count, 5) << "too few to show anything";
    }

private:
    static void Every(suseconds_t microseconds)
    {
        const itimerval timer{.it_interval = {0, microseconds}, .it_value = {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    static inline volatile std::sig_atomic_t count;
};

/// Of every test: the caller's descriptors and signal mask are as before, and no child is left.
class Programs : public Machine {
protected:
    void TearDown() override
    {
        EXPECT_EQ(OpenDescriptors(), descriptors_);
        EXPECT_EQ(BlockedSignals(), blocked_);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    }

private:
    const std::vector<int> descriptors_ = OpenDescriptors();
    const std::string blocked_ = BlockedSignals();
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
}

TEST_F(Programs, WhatCannotBeStartedIsNoStreamAndNoChild)
{
    Write("/run/plain", "");
    Write("/run/bare", "exit 0\n");
    std::filesystem::permissions("/run/bare", std::filesystem::perms(0755));
    struct Case {
        const char* path;
        const char* mode;
        int code, reason;
    };
    const Case cases[] = {
        {"/nowhere", "r", MLIBC_ERR_START_PROGRAM, ENOENT},
        {"/nowhere", "rB", MLIBC_ERR_START_PROGRAM, ENOENT},
        {"true", "r", MLIBC_ERR_START_PROGRAM, ENOENT}, // no search in PATH
        {"/run/plain", "r", MLIBC_ERR_START_PROGRAM, EACCES},
        {"/run", "r", MLIBC_ERR_START_PROGRAM, EACCES},
        {"/run/bare", "r", MLIBC_ERR_START_PROGRAM, ENOEXEC}, // no shell is tried
        {nullptr, "r", MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", nullptr, MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", "", MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", "w", MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", "rb", MLIBC_ERR_INVALID_ARGUMENT, 0},
        {"/bin/true", "rBx", MLIBC_ERR_INVALID_ARGUMENT, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        char name[] = "name";
        char* const argv[] = {name, nullptr};
        MLIBCErrSetEx(0, "", 0);
        errno = 0;
        EXPECT_EQ(MLIBCPopenvc(c.path, c.mode, argv), nullptr);
        EXPECT_EQ(errno, c.reason);
        EXPECT_EQ(MLIBCErrGet(), c.code);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    }
    EXPECT_EQ(MLIBCPopenvc("/bin/true", "r", nullptr), nullptr);
    EXPECT_EQ(MLIBCPclose(nullptr), -1);
    EXPECT_TRUE(InChild([] {
        ForbidNewDescriptors();
        return Open({"/bin/true"}, "r") == nullptr && errno == EMFILE;
    }));
}

TEST_F(Programs, TheWaitStatusIsThePrograms)
{
    EXPECT_EQ(Shell("exit 0").status, 0);
    EXPECT_EQ(Shell("exit 3").status, W_EXITCODE(3, 0));
    EXPECT_EQ(Shell("exit 127").status, W_EXITCODE(127, 0));
    EXPECT_EQ(Shell("kill -KILL $$").status, W_EXITCODE(0, SIGKILL));
    EXPECT_EQ(Shell("exec >&-; sleep 0.2; exit 3").status, W_EXITCODE(3, 0)) << "its output ends first";

    FILE* endless = Open({"/usr/bin/yes"}, "r");
    ASSERT_NE(endless, nullptr);
    EXPECT_EQ(fileno(endless), -1);
    EXPECT_EQ(std::fgetc(endless), 'y');
    EXPECT_EQ(MLIBCPclose(endless), W_EXITCODE(0, SIGPIPE)) << "nobody reads on";
}

TEST_F(Programs, AStatusThatSomebodyElseTookIsLost)
{
    FILE* stream = Open({"/bin/true"}, "r");
    ASSERT_NE(stream, nullptr);
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
    EXPECT_EQ(MLIBCPclose(stream), -1);
    EXPECT_TRUE(InChild([] {
        std::signal(SIGCHLD, SIG_IGN);
        const Ran ran = Shell("echo x");
        return ran.output == "x\n" && ran.status == -1 && ExecShell("exit 0") < 0 &&
               MLIBCErrGet() == MLIBC_ERR_PROGRAM_FAILED;
    }));
}

TEST_F(Programs, SignalsCutNoLineAndNoWait)
{
    const Interruptions interruptions;
    const Ran ran = Shell("for i in 1 2 3 4 5; do printf 'li'; sleep 0.01; echo ne $i; done; "
                          "exec >&-; sleep 0.05; exit 3");
    EXPECT_EQ(ran.output, "line 1\nline 2\nline 3\nline 4\nline 5\n");
    EXPECT_EQ(ran.status, W_EXITCODE(3, 0));
    EXPECT_EQ(ExecShell("sleep 0.05"), 0);
}

TEST_F(Programs, AProgramStartsCleanWhateverTheCallerIsLike)
{
    // Not by a shell, which puts its signals in order itself.
    const char* const sed[] = {"/bin/sed", "-n", "/^Sig[BIC]/s/\t0*/ /w /run/signals", "/proc/self/status"};
    const char* files = "{ readlink /proc/self/fd/0; ls /proc/self/fd; } > /run/files";
    for (const bool isPopen : {false, true}) {
        EXPECT_TRUE(InChild([&] {
            std::signal(SIGPIPE, SIG_IGN);
            std::signal(SIGCHLD, SIG_IGN);
            std::signal(SIGUSR1, [](int) {});
            sigset_t all;
            sigfillset(&all);
            sigprocmask(SIG_SETMASK, &all, nullptr);
            const std::string blocked = BlockedSignals();
            dup2(STDERR_FILENO, 3);
            dup2(STDERR_FILENO, 500);
            if (isPopen) {
                Shell(files);
                MLIBCPclose(Open({std::begin(sed), std::end(sed)}, "r"));
            } else {
                ExecShell(files);
                MLIBCExec(sed[0], sed[1], sed[2], sed[3], nullptr);
            }
            return BlockedSignals() == blocked;
        }));
        EXPECT_EQ(Read("/run/signals"), "SigBlk: \nSigIgn: \nSigCgt: \n");
        EXPECT_EQ(Read("/run/files"), "/dev/null\n0\n1\n2\n3\n"); // 3 is of ls
        std::filesystem::remove("/run/signals");
        std::filesystem::remove("/run/files");
    }
}

TEST_F(Programs, ACallerMayLackStandardDescriptors)
{
    for (int missing = 1; missing < 8; ++missing) {
        EXPECT_TRUE(InChild([&] {
            for (int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                if ((missing >> number & 1) != 0) {
                    close(number);
                }
            }
            const std::vector<int> before = OpenDescriptors();
            return Shell("readlink /proc/self/fd/0; echo err >&2", "rB").output == "/dev/null\nerr\n" &&
                   Shell("readlink /proc/self/fd/0", "r").output == "/dev/null\n" &&
                   ExecShell("echo out && echo err >&2 && readlink /proc/self/fd/0") == 0 &&
                   OpenDescriptors() == before;
        })) << missing;
    }
}

TEST_F(Programs, ThreadsGetTheirOwnProgramsOutput)
{
    std::atomic<int> right = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 16; ++thread) {
            threads.emplace_back([&right, thread] {
                for (int i = 0; i < 100; ++i) {
                    const std::string name = std::to_string(thread) + "-" + std::to_string(i);
                    const Ran ran = Shell("echo " + name + "; exit " + std::to_string(i), "rB");
                    right += ran.output == name + "\n" && ran.status == W_EXITCODE(i, 0);
                }
            });
        }
    }
    EXPECT_EQ(right, 1600);
}

TEST_F(Programs, MuchOutputArrivesWhole)
{
    const std::string output = Shell("seq 500000 | tee /run/copy").output;
    EXPECT_EQ(output.size(), 3'388'895);
    EXPECT_TRUE(output == Read("/run/copy"));
}

TEST_F(Programs, ExecIsZeroOnlyForExitZero)
{
    EXPECT_EQ(ExecShell("exit 0"), 0);
    EXPECT_EQ(MLIBCExec("/bin/sh", "-c", "test \"$0/$1\" = 'a b/$c'", "a b", "$c"), 0);
    EXPECT_EQ(MLIBCExec("/bin/sh", "-c", "test $# = 0", nullptr, "x"), 0);
    for (const char* script : {"exit 1", "exit 127", "kill -KILL $$"}) {
        EXPECT_LT(ExecShell(script), 0) << script;
        EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_PROGRAM_FAILED) << script;
    }
    for (const char* path : {"/nowhere", "/run"}) {
        EXPECT_LT(MLIBCExec(path, nullptr, nullptr, nullptr, nullptr), 0) << path;
        EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_START_PROGRAM) << path;
    }
    EXPECT_LT(MLIBCExec(nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT);
}

class Forks : public Programs {};

TEST_F(Forks, TheFlagsSayWhatTheChildIs)
{
    struct Report {
        pid_t pid, parent, session;
        bool hasSameDescriptors;
    };
    for (const unsigned long long flags : {0x00, 0x04, 0x40, 0x44}) {
        SCOPED_TRACE(flags);
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const std::vector<int> before = OpenDescriptors();
        const int pid = MLIBCProcForkEx(flags);
        if (pid == 0) {
            const Report report{getpid(), getppid(), getsid(0), OpenDescriptors() == before};
            _exit(write(ends[1], &report, sizeof report) == sizeof report ? 3 : 1);
        }
        EXPECT_EQ(OpenDescriptors(), before);
        close(ends[1]);
        Report report{};
        EXPECT_EQ(read(ends[0], &report, sizeof report), static_cast<ssize_t>(sizeof report));
        close(ends[0]);

        EXPECT_EQ(report.pid, pid);
        EXPECT_EQ(report.session, (flags & MLIBC_FORK_NEW_SESSION) != 0 ? pid : getsid(0));
        EXPECT_TRUE(report.hasSameDescriptors);
        int status = 0;
        if ((flags & MLIBC_FORK_DETACHED) != 0) {
            EXPECT_NE(report.parent, getpid());
            EXPECT_EQ(waitpid(pid, &status, 0), -1);
            EXPECT_EQ(errno, ECHILD);
        } else {
            EXPECT_EQ(report.parent, getpid());
            EXPECT_EQ(waitpid(pid, &status, 0), pid);
            EXPECT_EQ(status, W_EXITCODE(3, 0));
        }
    }
}

TEST_F(Forks, UnknownFlagsAreRefused)
{
    for (const unsigned long long flags : {0x01ULL, 0x02ULL, 0x48ULL, 0x80ULL, 0x1'0000'0040ULL}) {
        const int pid = MLIBCProcForkEx(flags);
        if (pid == 0) {
            _exit(1);
        }
        EXPECT_LT(pid, 0) << flags;
        EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_INVALID_ARGUMENT) << flags;
    }
}

TEST_F(Forks, ADetachedChildOfABusyProgramCanAllocate)
{
    EXPECT_TRUE(InChild([] {
        std::atomic<bool> isOver = false;
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            // A block stays in the arena that it came from: this is the lock that the child will need.
            threads.emplace_back([&isOver, block = std::malloc(2000)]() mutable {
                for (std::size_t size = 2000; !isOver; size = size % 50'000 + 2000) {
                    block = std::realloc(block, size);
                }
                std::free(block);
            });
        }
        bool haveAllEnded = true;
        for (int i = 0; i < 50 && haveAllEnded; ++i) {
            const int pid = MLIBCProcForkEx(MLIBC_FORK_DETACHED);
            if (pid == 0) {
                _exit(std::string(20'000, 'x').back() == 'x' ? 0 : 1);
            }
            haveAllEnded = pid > 0 && Eventually([&] { return MLIBCProcAlive(pid) == 0; });
            if (!haveAllEnded && pid > 0) {
                kill(pid, SIGKILL);
            }
        }
        isOver = true;
        return haveAllEnded;
    }));
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
    EXPECT_EQ(MLIBCProcAlive(child), 1);
    EXPECT_TRUE(InChild([&] {
        const bool isAliveForAnotherUser = setuid(65534) == 0 && MLIBCProcAlive(child) == 1;
        ForbidNewDescriptors();
        return isAliveForAnotherUser && MLIBCProcAlive(child) == 1 && MLIBCProcAlive(INT_MAX) == 0;
    }));
    kill(child, SIGKILL);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    EXPECT_EQ(MLIBCProcAlive(child), 0) << "a zombie";
    waitpid(child, nullptr, 0);
    EXPECT_EQ(MLIBCProcAlive(child), 0);
    for (const int pid : {0, -1, -getpid(), INT_MIN, INT_MAX}) {
        EXPECT_EQ(MLIBCProcAlive(pid), 0) << pid;
    }
}

constexpr const char* kLockFile = "/run/test.lock";

/// A lock on kLockFile for as long as it lives, if it was given.
class Lock {
public:
    explicit Lock(bool isExclusive, int seconds = 0)
        : isHeld_(MLIBCFileLockTimeByFile(kLockFile, isExclusive, seconds, &fd_) == 0)
    {
        EXPECT_TRUE(isHeld_ ? fd_ >= 0 : fd_ == -7) << fd_;
        EXPECT_TRUE(isHeld_ || MLIBCErrGet() == MLIBC_ERR_LOCK_BUSY) << MLIBCErrGet();
    }
    Lock(const Lock&) = delete;
    ~Lock()
    {
        if (isHeld_) {
            EXPECT_EQ(MLIBCFileUnlockByFile(fd_), 0);
        }
    }
    bool IsHeld() const { return isHeld_; }
    int Fd() const { return fd_; }

private:
    int fd_ = -7;
    bool isHeld_;
};

class Locks : public Programs {};

TEST_F(Locks, OnlySharedOnesGoTogether)
{
    for (const bool isHeldExclusive : {false, true}) {
        for (const bool isAskedExclusive : {false, true}) {
            const bool expected = !isHeldExclusive && !isAskedExclusive;
            const Lock held(isHeldExclusive);
            EXPECT_TRUE(held.IsHeld());
            const auto duration = Duration([&] { EXPECT_EQ(Lock(isAskedExclusive).IsHeld(), expected); });
            EXPECT_LT(duration, 0.5s) << "0 s is one attempt";
            EXPECT_TRUE(InChild([&] { return Lock(isAskedExclusive).IsHeld() == expected; }));
        }
    }
    EXPECT_TRUE(Lock(true).IsHeld()) << "given back by all";
}

TEST_F(Locks, AWaitLastsUntilTheLockIsFreeWhateverSignalsCome)
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
        const auto duration = Duration([] { EXPECT_TRUE(Lock(true, 20).IsHeld()); });
        EXPECT_GT(duration, 0.1s);
        EXPECT_LT(duration, 10s);
    }
    waitpid(child, nullptr, 0);
}

TEST_F(Locks, AWaitEndsInTimeWhateverSignalsComeAndCostsNoProcessorTime)
{
    const Lock held(false);
    const std::clock_t before = std::clock();
    const Interruptions interruptions;
    const auto duration = Duration([] { EXPECT_FALSE(Lock(true, 1).IsHeld()); });
    EXPECT_GE(duration, 1s);
    EXPECT_LT(duration, 3s);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "processor time";
}

TEST_F(Locks, ALockGoesWithTheLastCopyOfItsDescriptor)
{
    std::optional<Lock> lock(std::in_place, true);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        char end;
        _exit(read(ends[0], &end, 1) == 0 ? 0 : 1);
    }
    lock.reset();
    EXPECT_FALSE(Lock(true).IsHeld()) << "the child has a copy";
    close(ends[0]);
    close(ends[1]);
    waitpid(child, nullptr, 0);
    lock.emplace(true);
    EXPECT_TRUE(lock->IsHeld());
    EXPECT_TRUE(InChild([&] { return MLIBCFileUnlockByFile(lock->Fd()) == 0; }));
    EXPECT_FALSE(Lock(true).IsHeld()) << "a child gives back its own copy only";
}

TEST_F(Locks, TheLockFileIsAPlainFileOfItsOwner)
{
    {
        const Lock lock(true);
        struct stat status;
        EXPECT_EQ(fstat(lock.Fd(), &status), 0);
        EXPECT_EQ(status.st_mode, mode_t{S_IFREG | 0600});
        EXPECT_EQ(fcntl(lock.Fd(), F_GETFD), FD_CLOEXEC);
    }
    std::filesystem::create_symlink(kLockFile, "/run/link");
    std::filesystem::create_symlink("/run/new", "/run/dangling");
    const std::tuple<const char*, int, int> refused[] = {
        {"/run/link", 0, MLIBC_ERR_OPEN_FILE},        {"/run/dangling", 0, MLIBC_ERR_OPEN_FILE},
        {"/run/nowhere/x", 5, MLIBC_ERR_OPEN_FILE},   {"/run", 0, MLIBC_ERR_OPEN_FILE},
        {"/run/new", -1, MLIBC_ERR_INVALID_ARGUMENT}, {nullptr, 0, MLIBC_ERR_INVALID_ARGUMENT},
    };
    for (const auto& [path, seconds, code] : refused) {
        int fd = -7;
        EXPECT_LT(MLIBCFileLockTimeByFile(path, 1, seconds, &fd), 0) << path;
        EXPECT_EQ(MLIBCErrGet(), code) << path;
        EXPECT_EQ(fd, -7) << path;
    }
    EXPECT_LT(MLIBCFileLockTimeByFile("/run/new", 1, 0, nullptr), 0);
    EXPECT_FALSE(std::filesystem::exists("/run/new"));
    EXPECT_LT(MLIBCFileUnlockByFile(-1), 0);
}

} // namespace
