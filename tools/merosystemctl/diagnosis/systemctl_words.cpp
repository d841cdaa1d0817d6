#include "diagnosis/systemctl_words.h"

#include "diagnosis/unit_names.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string_view>

namespace MERO::Tool {
namespace {

// systemctl's texts. Lines about links and hints where to look are of no use to the user.
constexpr std::string_view kChatter[] = {"Created symlink ", "Removed ", "Synchronizing state of ", "Executing: "};
constexpr std::string_view kPointers[] = {"See ", "Use \"systemctl "};
constexpr std::string_view kNoManager[] = {"System has not been booted with systemd", "Failed to connect to bus",
                                           "Failed to connect to system scope bus",
                                           "Failed to connect to user scope bus", "Failed to get D-Bus connection"};
constexpr std::string_view kDenied[] = {"Access denied", "Permission denied", "Operation not permitted",
                                        "Interactive authentication required"};

template <std::size_t N>
bool BeginsWithOne(const std::string& line, const std::string_view (&beginnings)[N])
{
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&](std::string_view beginning) { return line.starts_with(beginning); });
}

template <std::size_t N>
bool HaveOne(const Texts& lines, const std::string_view (&texts)[N])
{
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
        return std::any_of(std::begin(texts), std::end(texts),
                           [&](std::string_view text) { return line.find(text) != line.npos; });
    });
}

bool IsOfName(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || std::string_view(":-_@\\").find(c) != std::string::npos;
}

/// Whether the line names the unit, and not a longer name that contains this one.
bool Names(const std::string& line, const std::string& unit)
{
    for (std::size_t at = 0; (at = line.find(unit, at)) != line.npos; ++at) {
        const std::size_t end = at + unit.size();
        const bool begins = at == 0 || !(IsOfName(line[at - 1]) || line[at - 1] == '.');
        const bool ends = end == line.size() || !IsOfName(line[end]) || line.compare(end, 2, ": ") == 0;
        if (begins && ends) {
            return true;
        }
    }
    return false;
}

/// The part after "Failed to start web.service: "; the whole line if it begins otherwise.
std::string Reason(const std::string& line)
{
    const std::size_t colon = line.find(": ");
    return line.starts_with("Failed to ") && colon != line.npos ? line.substr(colon + 2) : line;
}

} // namespace

SystemctlObserver SystemctlWords::Listener()
{
    return [this](int exitCode, const Texts& lines) {
        wereHeard_ = true;
        for (std::string line : lines) {
            line.erase(line.find_last_not_of(" \n") + 1);
            if (line.empty() || BeginsWithOne(line, kChatter)) {
                continue;
            }
            if (exitCode == 0) {
                warnings_.push_back(line);
            } else if (!BeginsWithOne(line, kPointers)) {
                lines_.push_back(line);
                failures_.push_back(Reason(line));
            }
        }
    };
}

Texts SystemctlWords::FailuresOf(const std::string& unit, const Texts& others) const
{
    Texts own, common;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const auto isNamed = [&](const std::string& other) { return Names(lines_[i], WholeName(other)); };
        if (isNamed(unit)) {
            own.push_back(failures_[i]);
        } else if (std::none_of(others.begin(), others.end(), isNamed)) {
            common.push_back(failures_[i]);
        }
    }
    return !own.empty() ? own : !common.empty() ? common : failures_;
}

bool SystemctlWords::SayNoManager() const
{
    return HaveOne(lines_, kNoManager);
}

bool SystemctlWords::SayDenied() const
{
    return HaveOne(lines_, kDenied);
}

} // namespace MERO::Tool
