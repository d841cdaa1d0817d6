#include "resource/process_texts.h"
#include "support.h"

#include <sstream>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// The first line of /proc/stat.
MERO_FUZZ_TARGET(processor_stat)
{
    const std::string line = TakeLine(input);
    unsigned long total = 0;
    if (!ProcessorTicks(line, total)) {
        return;
    }
    MERO_REQUIRE(line.starts_with("cpu"));
    std::istringstream numbers(line.substr(3));
    unsigned long sum = 0;
    for (int counter = 0; counter < 8; ++counter) {
        unsigned long number = 0;
        MERO_REQUIRE(numbers >> number);
        sum += number;
    }
    MERO_REQUIRE(total == sum);
}
