#pragma once

#include "output/output.h"

#include <map>
#include <string>
#include <vector>

namespace MERO::Tool {

/// Properties of one unit, by name. What systemd did not tell is empty.
class UnitProperties {
public:
    void Add(std::string name, std::string value) { values_[std::move(name)] = std::move(value); }
    const std::string& operator[](const std::string& name) const;
    Texts List(const std::string& name) const; ///< of a property that is a list

private:
    std::map<std::string, std::string> values_;
};

/// Asks systemd for properties of units, in one go: an entry for each unit, in their order, or none at all when systemd
/// cannot be asked. Properties whose texts have more than one line cannot be asked for.
std::vector<UnitProperties> AskProperties(const Texts& units, const char* names);

} // namespace MERO::Tool
