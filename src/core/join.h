#pragma once

#include <boost/algorithm/string/join.hpp>

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Units as messages show them.
inline std::string Join(const std::vector<std::string>& units)
{
    return boost::algorithm::join(units, ", ");
}

/// Lines that kept their newlines, as one text.
inline std::string Concatenate(const std::vector<std::string>& lines)
{
    return boost::algorithm::join(lines, "");
}

} // namespace MERO::Systemd
