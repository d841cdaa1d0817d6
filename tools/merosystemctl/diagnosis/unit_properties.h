#pragma once

#include "output/output.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace MERO::Tool {

/// Properties of one unit, by name. What systemd did not say is empty.
class UnitProperties {
public:
    UnitProperties() = default;
    explicit UnitProperties(std::map<std::string, std::string> values) : values_(std::move(values)), wasAsked_(true) {}

    /// False: systemd could not be asked for this name, which says nothing of the unit.
    bool WasAsked() const { return wasAsked_; }
    const std::string& operator[](const std::string& name) const;
    Texts List(const std::string& name) const; ///< of a property that is a list

private:
    std::map<std::string, std::string> values_;
    bool wasAsked_ = false;
};

/// Asks systemd for properties of units, in one go: an entry for each unit, in their order, or none at all when systemd
/// cannot be asked. A property that is a list of commands has one in each line.
std::vector<UnitProperties> AskProperties(const Texts& units, const char* names);

} // namespace MERO::Tool
