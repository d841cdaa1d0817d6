#include "core/common.h"
#include "core/executor.h"
#include "core/status_monitor.h"
#include "support/lock.h"
#include "support/operations.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <thread>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

/// "0:/dev/null 7:/run! ..."; "!" follows close-on-exec ones.
std::string Descriptors()
{
    std::string text;
    for (int fd = 0; fd < 1024; ++fd) {
        if (const int flags = fcntl(fd, F_GETFD); flags >= 0) {
            const fs::path link = "/proc/self/fd/" + std::to_string(fd);
            text += link.filename().string() + ":" + fs::read_symlink(link).string() + (flags != 0 ? "! " : " ");
        }
    }
    return text;
}

/// Makes detached children this process' own, so that it sees how they end.
class Processes : public Machine {
protected:
    Processes() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~Processes() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

    /// Waits for the next child to end and returns its wait status; -1 if there is none.
    static int Ended()
    {
        int status = -1;
        return waitpid(-1, &status, 0), status;
    }
};

TEST_F(Processes, AnExecutorReportsHowAProgramEnded)
{
    Executor executor;
    const auto run = [&](const Texts& command) {
        const auto [completed, exitCode] = executor.Execute(command[0], {command.begin() + 1, command.end()});
        return std::to_string(completed) + std::to_string(exitCode) + executor.GetOutput();
    };
    EXPECT_EQ(run({"/bin/sh", "-c", "printf ' ' >&2; printf '%s,' \"$@\"", "sh", "b  c", "$x", ""}), "10b  c,$x,,");
    EXPECT_EQ(run({"/bin/sh", "-c", "printf 'a\\0b\\n\\nlast'; exit 255"}), std::string("1255a\0b\n\nlast", 13));
    EXPECT_EQ(run({"/bin/sh", "-c", "echo a; kill -9 $$"}), "00a\n");
    EXPECT_EQ(run({"/nowhere", "a", "b c"}), "00a\n");
    EXPECT_EQ(run({"", "d"}), "00a\n");
    EXPECT_THAT(Said("executor"),
                ElementsAre("ERR Execution is not completed, status: [9], command: [/bin/sh -c echo a; kill "
                            "-9 $$]",
                            "ERR Fail to execute [/nowhere a b c]", "ERR Bad executable path"));
}

TEST_F(Processes, AForkedChildExitsWithZeroWhateverItDoes)
{
    const std::pair<std::function<void()>, Texts> cases[] = {
        {[] { std::atexit([] { Write("/run/seen", ""); }); }, {}},
        {[] { throw std::runtime_error("x"); }, {"ERR Failed to execute function, exception = [x]"}},
        {[] { throw 7; }, {"ERR Failed to execute function"}},
        {nullptr, {"ERR Failed to execute function, exception = [bad_function_call]"}},
    };
    for (const auto& [function, said] : cases) {
        EXPECT_TRUE(ForkAndRun(function, 0) && Ended() == 0);
        EXPECT_EQ(Said("common"), said);
    }
    EXPECT_FALSE(ForkAndRun([] { Write("/run/seen", ""); }, 8) || fs::exists("/run/seen")) << "an unknown flag";
    EXPECT_THAT(Said("common"), ElementsAre(MatchesRegex("ERR Failed to fork\\[0x0D00 fork:[0-9]+\\]")));
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    EXPECT_TRUE(ForkAndRun([] {}, 0) && Ended() == -1) << "the caller cannot wait for the child";
}

TEST_F(Processes, AForkedChildResetsSignalsAndKeepsOneDescriptor)
{
    sigset_t blocked, still;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
    signal(SIGUSR1, SIG_IGN);
    EXPECT_TRUE(ForkAndRun([] { raise(SIGUSR1); }, 0) && Ended() == SIGUSR1);
    EXPECT_TRUE(ForkAndRun([] { raise(SIGUSR2); }, 0) && Ended() == SIGUSR2);
    sigprocmask(SIG_UNBLOCK, &blocked, &still);
    EXPECT_TRUE(sigismember(&still, SIGUSR2) && !sigismember(&still, SIGTERM) && signal(SIGUSR1, SIG_DFL) == SIG_IGN);

    const std::string rest = "1:/dev/null 2:/dev/null ", none = "0:/dev/null " + rest;
    for (const auto& [kept, expected] : {std::pair(-1, none), {0, "0:/run " + rest}, {3, none + "3:/run "}}) {
        for (const int closed : {2, 7}) { // descriptors that the host may have closed
            EXPECT_TRUE(ForkAndRun(
                            [kept = kept, closed] {
                                for (const int fd : {3, 4, 7, kept}) {
                                    dup2(open("/run", O_RDONLY), fd);
                                }
                                close(closed);
                                KeepDescriptors({kept});
                                Write("/run/seen", Descriptors());
                            },
                            0) &&
                        Ended() == 0);
            EXPECT_EQ(Read("/run/seen"), expected) << closed << " had been closed";
        }
    }
}

TEST_F(Processes, ALockIsTakenOnceAndFreeWhenItsLastCopyIsClosed)
{
    const std::string path = "/run/a/b/c.lock";
    FileLock lock(path, true, 0), other("/run/file/b.lock", true, 0);
    Write("/run/file", "");
    signal(SIGCHLD, SIG_IGN); // mkdir's exit status is lost
    EXPECT_TRUE(!fs::exists("/run/a") && lock.Acquire() && !other.Acquire());
    signal(SIGCHLD, SIG_DFL);
    const std::string descriptors = Descriptors();
    EXPECT_TRUE(lock.Acquire() && Descriptors() == descriptors && !FileLock(path, true, 0).Acquire());
    EXPECT_THAT(Said("lock"),
                ElementsAre("ERR failed to mkdir [/run/file]",
                            MatchesRegex("ERR failed to get lock \\[" + path + "\\] \\[0x1100 lock:[0-9]+\\]")));
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    EXPECT_TRUE(ForkAndRun([&] { close(ends[1]), (void)!read(ends[0], &ends[1], 1), lock.Release(); }, 0));
    lock.Release();
    EXPECT_TRUE(lock.FdGet() == -1 && !IsFree(path)) << "the child still has a copy";
    close(ends[0]), close(ends[1]);
    EXPECT_TRUE(Ended() == 0 && IsFree(path));
}

TEST_F(Processes, TheStatusMonitorsLockIsHeldUntilMonitorAndScriptAreGone)
{
    const std::string path = "/run/merosystemd/status_monitor.exit.lock";
    const std::string script = "/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh";
    WriteProgram(script, "cut -d' ' -f6 /proc/$$/stat > /run/begun; read x < /run/go; echo a; exit 1");
    mkfifo("/run/begun", 0600), mkfifo("/run/go", 0600);
    FileLock other("/run/other.lock", true, 0), shared(path, false, 0);
    EXPECT_TRUE(other.Acquire() && shared.Acquire() && StatusMonitor().Start());
    EXPECT_NE(Read("/run/begun"), std::to_string(getsid(0)) + "\n") << "not in the caller's session";
    other.Release(), shared.Release();
    EXPECT_TRUE(IsFree("/run/other.lock") && !IsFree(path));
    Write("/run/go", "");
    EXPECT_TRUE(Ended() == 0 && IsFree(path));
    fs::remove(script);
    StatusMonitor monitor;
    EXPECT_TRUE(monitor.Start() && Ended() == 0 && !IsFree(path));
    const std::string descriptors = Descriptors(), failed = "ERR Run mero-systemd-status-monitor.sh failed, code: ";
    EXPECT_TRUE(monitor.Start() && Ended() == 0 && !IsFree(path) && Descriptors() == descriptors);
    EXPECT_THAT(Said("status_monitor"),
                ElementsAre(failed + "[1], output: [a\n]", failed + "[-1], output: []", failed + "[-1], output: []"));
}

TEST_F(Processes, ThreadsCanCallConcurrently)
{
    // Each thread's unit has its own answer: no call may see another's.
    SystemctlScript("case \"$2\" in u*) echo \"Job for $2.service failed.\"; exit 1;; esac");
    std::vector<std::jthread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([unit = "u" + std::to_string(t), &wrong] {
            for (int i = 0; i < 25; ++i) {
                Texts failed;
                wrong += MEROSystemdRestart({unit}, failed) || failed != Texts{unit} || !MEROSystemdRestart("good");
            }
        });
    }
    threads.clear();
    EXPECT_EQ(wrong, 0);
}

TEST_F(Processes, ALineTooLongForTheLogIsCutAndSaysSo)
{
    const auto starting = [&](const std::string& unit) {
        alarm(1'000);
        EXPECT_FALSE(MEROSystemdStart(unit)) << "too long for an argument";
        EXPECT_GT(alarm(0), 0U) << "the host's alarm still runs";
        return Said("systemd_start").front();
    };
    for (const std::size_t size : {150'000, 212'000}) {
        EXPECT_EQ(starting(std::string(size, 'x')), "INFO [" + std::string(size, 'x') + "] starting ...");
    }
    for (std::string unit : {"", "x"}) { // for one of them, the cut would split a character
        while (unit.size() < 300'000) {
            unit += "\u00e9";
        }
        const std::string line = starting(unit), whole = "INFO [" + unit;
        const std::size_t cut = std::min(line.find(" [cut: "), line.size());
        EXPECT_TRUE(cut > 212'000 && whole.starts_with(line.substr(0, cut)));
        EXPECT_TRUE(line.substr(0, cut).ends_with("\u00e9"));
        EXPECT_EQ(line.substr(cut), " [cut: the message has " + std::to_string(unit.size() + 15) + " bytes]");
    }
}

TEST_F(Processes, FoldersFollowTheUmaskAndOnlyTheirOwnerCanWrite)
{
    fs::rename("/bin/mkdir", "/bin/mkdir.real");
    WriteProgram("/bin/mkdir", "echo $(umask) $* >> /run/masks; exec /bin/mkdir.real \"$@\"");
    for (const mode_t mask : {0, 0750, 0777}) {
        const mode_t before = umask(mask);
        EXPECT_TRUE(MEROSystemdServiceStopByReason("check", std::string("nfs")) &&
                    MEROSystemdVolumeRegister("nfs", "/volume1"));
        EXPECT_EQ(umask(before), mask);
        for (const char* folder : {"/run/merosystemd", "/usr/mero/etc"}) {
            for (const auto& entry : fs::recursive_directory_iterator(folder)) {
                struct stat status;
                ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
                EXPECT_EQ(status.st_mode & 022, 0U) << entry.path();
                EXPECT_TRUE(!S_ISDIR(status.st_mode) || (status.st_mode & 0777) == (0755 & ~mask)) << entry.path();
            }
        }
        fs::remove_all("/run/merosystemd"), fs::remove_all("/usr/mero/etc");
        const std::string runs = Read("/run/masks"), first = mask == 0 ? "0022" : mask == 0750 ? "0772" : "0777";
        EXPECT_TRUE(runs.starts_with(first + " -p /run/merosystemd/reasons/nfs.service\n")) << runs;
        fs::remove("/run/masks");
    }
    fs::rename("/bin/mkdir.real", "/bin/mkdir");
}

} // namespace
