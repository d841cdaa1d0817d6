#include "core/lock.h"
#include "support/machine.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

using namespace MERO::Test;

namespace {

class Host : public Machine {};

TEST_F(Host, MayIgnoreItsChildren)
{
    MERO::Systemd::FileLock lock("/run/merosystemd/locks/a.lock", true, 0), other("/run/file/b.lock", true, 0);
    Write("/run/file", "");
    signal(SIGCHLD, SIG_IGN); // how mkdir ended is lost
    EXPECT_TRUE(lock.Acquire());
    EXPECT_FALSE(other.Acquire()) << "there is no folder";
    signal(SIGCHLD, SIG_DFL);
}

TEST_F(Host, ThreadsMayCallAtOnce)
{
    // Each thread's unit has an answer of its own: no call may see another's.
    SystemctlScript("case \"$2\" in u*) echo \"Job for $2.service failed.\"; exit 1;; esac");
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &wrong] {
            const std::string unit = "u" + std::to_string(t);
            for (int i = 0; i < 25; ++i) {
                std::vector<std::string> failed;
                wrong += MEROSystemdRestart({unit}, failed) || failed != std::vector{unit};
                wrong += !MEROSystemdRestart("good");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Host, ALineThatTheLogsSocketRefusesIsCutAndSaysSo)
{
    const auto starting = [&](const std::string& unit) {
        std::vector<std::string> failed;
        EXPECT_FALSE(MEROSystemdStart({unit}, failed)) << "too long for an argument";
        const std::vector<std::string> said = Said("systemd_start");
        return said.empty() ? "" : said.front();
    };
    for (const std::size_t size : {150'000, 212'000}) {
        EXPECT_EQ(starting(std::string(size, 'x')), "INFO [" + std::string(size, 'x') + "] starting ...");
    }
    for (const std::string first : {"", "x"}) { // of one of them, a character would be cut in two
        std::string unit = first;
        while (unit.size() < 300'000) {
            unit += "\u00e9";
        }
        const std::string line = starting(unit), whole = "INFO [" + unit;
        const std::size_t cut = line.find(" [cut: ");
        ASSERT_NE(cut, line.npos);
        EXPECT_TRUE(cut > 212'000 && whole.starts_with(line.substr(0, cut)));
        EXPECT_TRUE(line.substr(0, cut).ends_with("\u00e9"));
        EXPECT_EQ(line.substr(cut), " [cut: the message has " + std::to_string(unit.size() + 15) + " bytes]");
    }
}

TEST_F(Host, ASystemctlSeesACleanStart)
{
    // The shell itself uses descriptors from 10 on.
    SystemctlScript("cd /proc/$$; cat status | grep -E '^Sig(Blk|Ign)' > /run/seen; "
                    "[ -L fd/0 ] && readlink fd/0 >> /run/seen; ls /proc/$$/fd > /run/open; "
                    "grep -v '^1.' /run/open | tr '\\n' ' ' >> /run/seen");
    const int leaky = dup(0); // not close-on-exec
    signal(SIGPIPE, SIG_IGN);
    sigset_t all, old;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &old);
    alarm(1'000);
    (void)MEROSystemdStart("a");
    EXPECT_GT(alarm(0), 0U) << "a line of the log leaves its host's alarm alone";
    sigprocmask(SIG_SETMASK, &old, nullptr);
    signal(SIGPIPE, SIG_DFL);
    close(leaky);
    EXPECT_EQ(Read("/run/seen"), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n/dev/null\n0 1 2 ");
}

} // namespace
