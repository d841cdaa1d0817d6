#pragma once

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>

/// What the torture tests have in common: a machine of their own with processes of its own, and the line that they end
/// with.
namespace MERO::Torture {

/// What has been done, and what was wrong. Child processes count too.
class Report {
public:
    Report();

    void Done(long count = 1) { counters_->done += count; }
    void Fault(const std::string& what);
    void Print(); ///< the faults that are new: a child may have closed its standard output
    long Faults() const { return counters_->faults; }
    long DoneSoFar() const { return counters_->done; }

private:
    struct Counters {
        std::atomic<long> done, faults;
        std::atomic<std::size_t> size;
        char text[1 << 20];
    };
    Counters* counters_; ///< in memory that children share
    std::size_t printed_ = 0;
};

/// The torture of one program. `scale`: its first argument, 1 for the full work.
extern const char* const kName;
void Run(Report& report, double scale);

/// Every file below the folders, by path: "folder" or its text.
using Files = std::map<std::string, std::string>;
Files FilesBelow(std::initializer_list<const char*> folders);

/// The open descriptors of this process and what they lead to, and whether it has children: what a call must not leave.
std::string Footprint();

/// The first line of `now` that `before` does not have, or the other way round.
std::string Difference(const std::string& before, const std::string& now);

} // namespace MERO::Torture
