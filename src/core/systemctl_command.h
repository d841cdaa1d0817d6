#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// The command line of one run. Holds no texts: those that are added must outlive it.
class SystemctlCommand {
public:
    SystemctlCommand();

    void Add(const char* argument);
    void Add(const std::vector<std::string>& arguments);

    /// Arguments that are no options, whatever they begin with ("-.mount").
    void AddUnits(const std::vector<std::string>& units);

    /// NULL-terminated; exec takes mutable texts for historical reasons and changes none.
    char* const* Argv() const { return const_cast<char* const*>(arguments_.data()); }

    /// All arguments with one blank between, for the log.
    std::string ToString() const;

private:
    std::vector<const char*> arguments_; ///< the last is always nullptr
};

} // namespace MERO::Systemd
