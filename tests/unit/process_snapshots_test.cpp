#include "support/operations.h"
#include "support/waiting.h"

#include <merosystemd/resource.hpp>

#include <sys/mount.h>

#include <chrono>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

using Snapshots = Machine;
using Clock = std::chrono::steady_clock;

const std::string kNone = "none";

/// Replaces the content of a /proc file while it exists.
class Fake {
public:
    Fake(const std::string& path, const std::string& text) : path_(path), source_("/run/fakes" + path)
    {
        Say(text);
        EXPECT_EQ(mount(source_.c_str(), path_.c_str(), nullptr, MS_BIND, nullptr), 0) << path_;
    }
    Fake(const Fake&) = delete;
    ~Fake() { umount2(path_.c_str(), MNT_DETACH); }
    void Say(const std::string& text) const { Machine::Write(source_, text); }

private:
    std::string path_, source_;
};

std::string Stat(int user, int system)
{
    return "1 (a) S 0 0 0 0 0 0 0 0 0 0 " + std::to_string(user) + " " + std::to_string(system) + " 0 0\n";
}

std::string Io(int read, int written)
{
    return "read_bytes: " + std::to_string(read) + "\nwrite_bytes: " + std::to_string(written) + "\n";
}

TEST_F(Snapshots, AreReadFromTheirFiles)
{
    const auto read = [](const std::string& file, int pid) {
        std::uint64_t a = 0, b = 0;
        const auto get = file == "stat" ? Process::CPUTickGet : Process::IOGet;
        const bool done = file == "smaps" ? Process::PssGet(pid, a) : get(pid, a, b);
        return done ? std::to_string(a) + " " + std::to_string(b) : kNone;
    };
    struct Case {
        std::string file, text, numbers;
    };
    const Case cases[] = {
        {"stat", "1 (2) S 4 -5 6 7 8 9 10 11 12 13 14 15 16\n", "14 15"},
        {"stat", "", kNone},
        {"stat", "1 (2 b) S 4 5 6 7 8 9 10 11 12 13 14 15 16\n", "13 14"},
        {"stat", "1 (2) S 4 5 6 7\n8 9 10", kNone},
        {"stat", "1 (2  b c) S 4 5 6 7 8 9 10 11 12 13 14 15", "12 13"},
        {"stat", "1 2 3 4 5 6 7 8 9 10 11 12 13 14", kNone},
        {"stat", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 -", kNone},
        {"smaps", "1-2 r /Pss: 9\nPss:   7 kB\nPss_Dirty: 9 kB\nSwapPss: 9 kB\n3-4 r\nPss: 5000000 kB\n", "5000007 0"},
        {"smaps", "1-2 r 0\nPss:\nPss: x\nPss: 3", "3 0"},
        {"smaps", "", "0 0"},
        {"io", "rchar: 1\nread_bytes: 5\nwrite_bytes: 6\ncancelled_write_bytes: 7\n", "5 6"},
        {"io", "cancelled_write_bytes: 7\nwrite_bytes: 5000000000\nread_bytes: 0", "0 5000000000"},
        {"io", "read_bytes: 5\ncancelled_write_bytes: 7\n", kNone},
        {"io", "write_bytes: 6\nrchar: 5\n", kNone},
        {"io", "read_bytes: x\nwrite_bytes: 6\n", kNone},
        {"io", "", kNone},
    };
    Waiting process;
    for (const Case& c : cases) {
        const Fake fake(process.File(c.file), c.text);
        EXPECT_EQ(read(c.file, process.pid), c.numbers) << c.text;
        if (c.numbers == kNone) {
            EXPECT_THROW(Process(process.pid), std::exception) << c.text;
        }
    }
    for (const std::string text : {"", "cpu 1 2 3 4 5 6 7\n8\n", "intr 1 2 3 4 5 6 7 8", "cpu  1 2 3 4 5 6 7 8 9\n"}) {
        const Fake fake("/proc/stat", text);
        const bool isWhole = text.ends_with("9\n");
        std::uint64_t total = 0;
        EXPECT_TRUE(Process::TotalTickGet(total) == isWhole && (!isWhole || total == 36)) << text << total;
    }
    process.End();
    std::string name;
    for (const int pid : {process.pid, 0, -1, 2147483647}) {
        EXPECT_FALSE(Process::NameGet(pid, name)) << name;
        EXPECT_EQ(read("stat", pid) + read("smaps", pid) + read("io", pid), "nonenonenone");
        EXPECT_THROW(Process{pid}, std::exception);
    }
}

TEST_F(Snapshots, AreNamedAfterTheirProgramsAndScripts)
{
    const std::vector<Texts> cases = {
        {"/run/a b", "/x/c", "a b"},
        {"/run/meroscgi", "/x/report.cgi", "report.cgi"},
        {"/run/meroscgi", "x/b c", "b c"},
        {"/run/meroscgi", "a\nb", "a"},
        {"/run/meroscgi", "/x/y/", "y"},
        {"/run/meroscgi2", "/x/c", "meroscgi2"},
        {"/run/to/meroscgi", "meroscgi", "meroscgi"},
    };
    for (const Texts& c : cases) {
        fs::create_directories(fs::path(c[0]).parent_path());
        fs::copy_file("/bin/sleep", c[0], fs::copy_options::overwrite_existing);
        Waiting process(c[0], c[1]);
        EXPECT_EQ(Process(process.pid).NameGet(), c[2]);
        fs::remove(c[0]);
        EXPECT_THROW(Process{process.pid}, std::exception) << c[0];
    }
}

TEST_F(Snapshots, MeasureUseSinceTheSnapshot)
{
    struct Case {
        int user, total;
        double share;
        std::string said;
    };
    const std::string unexpected = "ERR Unexpected delta value, totalTick = ";
    const Case cases[] = {{80, 1200, 0.05, ""},
                          {1000, 1200, 1.0, ""},
                          {59, 1200, 0.0, ""},
                          {90, 1199, 0.0, "7"},
                          {90, 800, 0.0, unexpected + "800, _totalTick =  800"},
                          {90, 799, 0.0, unexpected + "799, _totalTick =  800"}};
    const auto counters = [](int total) { return "cpu  100 100 100 100 100 100 100 " + std::to_string(total - 700); };
    Waiting other;
    const Fake total("/proc/stat", counters(800)), stat(other.File("stat"), Stat(60, 40));
    const Fake io(other.File("io"), Io(1000, 1000)), smaps(other.File("smaps"), "1-2 r\nPss: 12 kB\n");
    const auto before = Clock::now();
    Process process(other.pid);
    const auto after = Clock::now();
    EXPECT_TRUE(process.PidGet() == other.pid && process.NameGet() == "sleep" && process.MemoryPssGet() == 12);
    EXPECT_DOUBLE_EQ(process.CPUTimeGet(), 100.0 / static_cast<double>(sysconf(_SC_CLK_TCK)));
    const Process copy(process), moved(std::move(process));
    for (const Process& snapshot : {process, copy, moved}) {
        for (const Case& c : cases) {
            stat.Say(Stat(c.user, 40)), total.Say(c.said == "7" ? "cpu 1 2 3 4 5 6 7\n" : counters(c.total));
            EXPECT_DOUBLE_EQ(snapshot.CPUUtilizationGet(), c.share) << c.user;
            EXPECT_EQ(Said("resource_process_class"), c.said.size() > 1 ? Texts{c.said} : Texts());
        }
        stat.Say(""), total.Say(counters(1200)), io.Say(Io(601'000, 201'000));
        EXPECT_TRUE(snapshot.CPUUtilizationGet() == 0.0 && snapshot.PidGet() == other.pid);
        const double least = std::chrono::duration<double>(Clock::now() - after).count();
        const auto [read, written] = snapshot.IOUtilizationGet();
        const double most = std::chrono::duration<double>(Clock::now() - before).count();
        EXPECT_TRUE(read <= 600'000 / least && read >= 600'000 / most) << read;
        EXPECT_NEAR(written, read / 3, read * 1e-9);
        io.Say(Io(999, 1001));
        EXPECT_TRUE(snapshot.IOUtilizationGet().first == 0.0 && snapshot.IOUtilizationGet().second > 0.0);
    }
    stat.Say(Stat(90, 40)), other.End();
    EXPECT_TRUE(copy.CPUUtilizationGet() == 0.0 && copy.IOUtilizationGet() == std::pair(0.0, 0.0));
    const Waiting next;
    std::set<Process> processes{Process(next.pid), Process(getpid()), copy, Process(next.pid)};
    EXPECT_TRUE(processes.size() == 3 && (Process(getpid()) < copy) == (getpid() < other.pid) && !(copy < moved));
}

} // namespace
