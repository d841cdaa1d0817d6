#include "output/colour.h"

#include <unistd.h>

#include <cstdlib>

namespace MERO::Tool {
namespace {

/// An environment variable; "" if it is not set.
std::string Variable(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool HasColours()
{
    static const bool kHasColours = isatty(STDOUT_FILENO) == 1 && Variable("NO_COLOR").empty() &&
                                    !Variable("TERM").empty() && Variable("TERM") != "dumb";
    return kHasColours;
}

} // namespace

std::string Coloured(const std::string& text, Colour colour)
{
    constexpr const char* kCodes[] = {"", "\033[32m", "\033[33m", "\033[31m"};
    return colour == Colour::None || !HasColours() ? text : kCodes[static_cast<int>(colour)] + text + "\033[0m";
}

Colour ColourOfState(const std::string& state)
{
    if (state == "active" || state == "reloading") {
        return Colour::Green;
    }
    if (state == "activating" || state == "deactivating") {
        return Colour::Yellow;
    }
    return state == "failed" || state == "not-found" || state == "error" || state == "masked" ? Colour::Red
                                                                                              : Colour::None;
}

} // namespace MERO::Tool
