#include "core/text_reader.h"
#include "support.h"

#include <fcntl.h>

#include <memory>

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
    const auto take = [&](std::string_view lines) {
        together += lines;
        MERO_REQUIRE(!lines.empty() && (lines.ends_with('\n') || together.size() == text.size()));
        return true;
    };
    MERO_REQUIRE(reader.ReadLines(AT_FDCWD, file.Path(), take) && together == text);
    together.clear();
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file.Path(), "re"), std::fclose);
    MERO_REQUIRE(stream != nullptr && reader.ReadLines(stream.get(), take) && together == text);
    MERO_REQUIRE(reader.Read(AT_FDCWD, file.Path()) == text);
}
