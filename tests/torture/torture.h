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

/// What the long runs have in common.
namespace MERO::Torture {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Texts = std::vector<std::string>;
using Test::Fork, Test::Machine, Test::ResultOf, Test::Shell;

/// What has been done, and what was wrong. Child processes count too.
class Run {
public:
    explicit Run(double scale);

    double Scale() const { return scale_; } ///< the program's first argument, 1 for the full work
    int Scaled(int full) const { return std::max(1, static_cast<int>(full * scale_)); }
    /// 0 to `bound` - 1.
    int Random(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

    void Done(long count = 1);
    /// Returns `holds`. If it does not, that is a fault.
    bool Expect(bool holds, const std::string& otherwise);
    /// Expects that what `before` has, a text of lines, is in `now` too, and nothing else.
    void ExpectSame(const std::string& before, const std::string& now, const std::string& what = "");
    /// Expects that `body` ends in a child of its own.
    void InChild(const std::string& what, const std::function<void()>& body);
    /// The program's exit code.
    int End();

private:
    void Print(); ///< the faults that are new: a child may have closed its standard output
    struct Counters {
        std::atomic<long> done, faults;
        std::atomic<std::size_t> size;
        char text[1 << 20];
    };
    Counters* counters_; ///< in memory that children share
    std::size_t printed_ = 0;
    double scale_;
    pid_t owner_ = getpid();
    std::mt19937 random_{std::random_device()()};
    Clock::time_point start_ = Clock::now();
};

/// A program is one long run. It has a machine of its own, with a scripted systemctl, or runs on the sandbox's systemd.
extern const char* const kName;
enum class Place { Machine, Systemd };
extern const Place kPlace;
void Torture(Run& run);
#define MERO_TORTURE(name, place)                                                                                      \
    const char* const MERO::Torture::kName = #name;                                                                    \
    const MERO::Torture::Place MERO::Torture::kPlace = Place::place;                                                   \
    void MERO::Torture::Torture(Run& run)

/// Every file where the library writes, by path: "folder" or its text.
using Files = std::map<std::string, std::string>;
Files FilesNow();

/// The open descriptors of this process and what they lead to, and whether it has children: what a call must not leave.
std::string Footprint();

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

template <typename Container>
std::string Joined(const Container& texts, const std::string& separator = " ")
{
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : separator) + text;
    }
    return joined;
}

/// Whether the whole text, or a part of it, fits an extended regular expression of POSIX.
inline bool Fits(const std::string& text, const std::string& pattern)
{
    return ::testing::Value(text, ::testing::MatchesRegex(pattern));
}
inline bool Has(const std::string& text, const std::string& pattern)
{
    return ::testing::Value(text, ::testing::ContainsRegex(pattern));
}

/// Where the runs on the sandbox's systemd have their units: not where those are linked that are masked until the next
/// boot.
inline const std::string kUnits = "/usr/local/lib/systemd/system/";
inline const std::string kSleeps = "[Service]\nType=exec\nExecStart=/bin/sleep infinity\n";

struct Answer {
    bool done = false;
    std::string text = {};   ///< what its outputs hold
    bool isUntouched = true; ///< as before
    std::string thrown = {}; ///< the type of what it threw
    std::string way = {};    ///< in which an argument was bad: "1 is a null text"
};

/// An exported function and how it is called.
struct Function {
    std::string name;    ///< with its parameters, as a demangler writes it
    const void* address; ///< of a member of a class: null
    bool mayThrow;       ///< its header tells that it throws
    /// Calls it with an argument that is bad in one of the ways, counted from 0, unless it has no such way; -1: with
    /// good ones.
    std::function<Answer(int bad)> call;
    std::optional<std::set<int>> errors = {}; ///< of the platform's: those that a failure sets
};

/// What happens right before and right after each call: its arguments are there, its outputs are not looked at.
inline std::function<void()> beforeCall = [] {}, afterCall = [] {};

/// All of them.
const std::vector<Function>& Functions();

/// How the stand-in for systemctl is.
enum class StandIn { Works, Fails, Missing };

/// The machine in which every function succeeds that is called well, when systemctl works.
class World : public Test::Machine {
public:
    explicit World(StandIn systemctl = StandIn::Works);
    ~World() override;

    /// Gives this process cgroups; the world's maker has them.
    static void InCgroups();

private:
    void TestBody() override {}
};

} // namespace MERO::Torture
