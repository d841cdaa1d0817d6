#pragma once

#include "output/output.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace MERO::Tool {

/// A unit's properties by name. A property that systemd did not print is empty.
class UnitProperties {
public:
    UnitProperties() = default;
    explicit UnitProperties(std::map<std::string, std::string> values) : values_(std::move(values)), wasAsked_(true) {}

    /// False: systemd gave no answer for this name; the unit may exist.
    bool WasAsked() const { return wasAsked_; }
    const std::string& operator[](const std::string& name) const;
    Texts List(const std::string& name) const; ///< the items of a list property
    /// Empty if the property is not set: systemd prints "[not set]" or the greatest number then.
    std::optional<std::uint64_t> Number(const std::string& name) const;

private:
    std::map<std::string, std::string> values_;
    bool wasAsked_ = false;
};

/// Reads properties of units with one query. Returns an entry for each unit, in their order, or none if systemd does
/// not answer. A property that is a list of commands has one per line.
std::vector<UnitProperties> AskProperties(const Texts& units, const char* names);

} // namespace MERO::Tool
