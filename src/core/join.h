#pragma once

#include <boost/algorithm/string/join.hpp>

#include <string>
#include <utility>
#include <vector>

namespace MERO::Systemd {

/// Units as messages show them.
inline std::string Join(const std::vector<std::string>& units)
{
    return boost::algorithm::join(units, ", ");
}

/// A command's output for a log line: the type of its text says that the newlines are the output's own.
class OutputText {
public:
    explicit OutputText(std::string text) : text_(std::move(text)) {}
    const unsigned char* c_str() const { return reinterpret_cast<const unsigned char*>(text_.c_str()); }

private:
    std::string text_;
};

/// Lines that kept their newlines, as one text.
inline OutputText Concatenate(const std::vector<std::string>& lines)
{
    return OutputText(boost::algorithm::join(lines, ""));
}

/// The same with ", " between.
inline OutputText JoinLines(const std::vector<std::string>& lines)
{
    return OutputText(Join(lines));
}

} // namespace MERO::Systemd
