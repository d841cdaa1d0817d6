#include "output/terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>

#include <string_view>

namespace MERO::Tool {

std::size_t TerminalWidth(int descriptor)
{
    constexpr std::size_t kDefault = 80;
    winsize size{};
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kDefault;
}

bool HasUtf8()
{
    return std::string_view(nl_langinfo(CODESET)) == "UTF-8";
}

} // namespace MERO::Tool
