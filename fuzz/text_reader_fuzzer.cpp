#include "core/text_reader.h"
#include "support.h"

#include <fcntl.h>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// Letters, so many times as the text behind them stands in the file, and one.
MERO_FUZZ_TARGET(text_reader)
{
    static MemoryFile file;
    std::string text;
    for (std::size_t times = TakeLine(input).size() % 8 + 1; times > 0; --times) {
        text += input;
    }
    file.Put(text);
    TextReader reader;
    std::string together;
    MERO_REQUIRE(reader.ReadLines(AT_FDCWD, file.Path(), [&](std::string_view lines) {
        together += lines;
        MERO_REQUIRE(!lines.empty() && (lines.ends_with('\n') || together.size() == text.size()));
        return true;
    }));
    MERO_REQUIRE(together == text && reader.Read(AT_FDCWD, file.Path()) == text);
}
