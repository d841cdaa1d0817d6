#pragma once

#include "support/child.h"
#include "support/machine.h"
#include "support/shell.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <map>
#include <optional>
#include <random>
#include <set>

/// Shared by the long runs.
namespace MERO::Torture {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Texts = std::vector<std::string>;
using Test::Fork, Test::Machine, Test::ResultOf, Test::Shell;

/// Counts what was done and what went wrong, in child processes too.
class Run {
public:
    explicit Run(double scale);

    double Scale() const { return scale_; } ///< the program's first argument; 1 for a full run
    int Scaled(int full) const { return std::max(1, static_cast<int>(full * scale_)); }
    /// Returns 0 to `bound` - 1.
    int Random(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

    void Done(long count = 1);
    /// Counts a fault unless `holds`. Returns `holds`.
    bool Expect(bool holds, const std::string& otherwise);
    /// Expects that `before` and `now` have the same set of lines.
    void ExpectSame(const std::string& before, const std::string& now, const std::string& what = "");
    /// Expects that `body` runs to its end in a child process.
    void InChild(const std::string& what, const std::function<void()>& body);
    /// The program's exit code.
    int End();

private:
    void Print(); ///< prints new faults: a child may have closed its standard output
    struct Counters {
        std::atomic<long> done, faults;
        std::atomic<std::size_t> size;
        char text[1 << 20];
    };
    Counters* counters_; ///< in memory shared with children
    std::size_t printed_ = 0;
    double scale_;
    pid_t owner_ = getpid();
    std::mt19937 random_{std::random_device()()};
    Clock::time_point start_ = Clock::now();
};

/// Each program is one long run: on a private machine with a scripted systemctl, or on the sandbox's systemd.
extern const char* const kName;
enum class Place { Machine, Systemd };
extern const Place kPlace;
void Torture(Run& run);
#define MERO_TORTURE(name, place)                                                                                      \
    const char* const MERO::Torture::kName = #name;                                                                    \
    const MERO::Torture::Place MERO::Torture::kPlace = Place::place;                                                   \
    void MERO::Torture::Torture(Run& run)

/// Every file in the folders where the library writes, by path: "folder" or its text.
using Files = std::map<std::string, std::string>;
Files FilesNow();

/// The open descriptors of this process with their targets, and whether it has children: a call must not change this.
std::string Footprint();

inline double Since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Waits until `condition` holds; returns false if it does not in time.
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

template <typename Container>
std::string Joined(const Container& texts, const std::string& separator = " ")
{
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : separator) + text;
    }
    return joined;
}

/// Whether the whole text (Fits) or a part of it (Has) matches a POSIX extended regular expression.
inline bool Fits(const std::string& text, const std::string& pattern)
{
    return ::testing::Value(text, ::testing::MatchesRegex(pattern));
}
inline bool Has(const std::string& text, const std::string& pattern)
{
    return ::testing::Value(text, ::testing::ContainsRegex(pattern));
}

/// The unit folder of the runs on the sandbox's systemd. Not /run/systemd/system: links of units masked until the next
/// boot go there.
inline const std::string kUnits = "/usr/local/lib/systemd/system/";
inline const std::string kSleeps = "[Service]\nType=exec\nExecStart=/bin/sleep infinity\n";

struct Answer {
    bool done = false;
    std::string text = {};   ///< the outputs' texts
    bool isUntouched = true; ///< the outputs are as before
    std::string thrown = {}; ///< the type of the exception
    std::string way = {};    ///< how an argument was bad: "1 is a null text"
};

/// An exported function and how to call it.
struct Function {
    std::string name;    ///< demangled, with its parameters
    const void* address; ///< null for a member of a class
    bool mayThrow;       ///< its header says that it throws
    /// Calls it with an argument that is bad in way number `bad`, counted from 0, if there are so many ways; with -1,
    /// with good arguments.
    std::function<Answer(int bad)> call;
    std::optional<std::set<int>> errors = {}; ///< for the platform's functions: the errors that a failure sets
};

/// Called right before and right after each call: the arguments exist, the outputs have not been read.
inline std::function<void()> beforeCall = [] {}, afterCall = [] {};

const std::vector<Function>& Functions();

/// The state of the systemctl stand-in.
enum class StandIn { Works, Fails, Missing };

/// A machine in which every function succeeds with good arguments, if systemctl works.
class World : public Test::Machine {
public:
    explicit World(StandIn systemctl = StandIn::Works);
    ~World() override;

    /// Gives this process cgroups, as the one that creates the World has them.
    static void InCgroups();

private:
    void TestBody() override {}
};

} // namespace MERO::Torture
