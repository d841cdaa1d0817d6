#include "resource/process_texts.h"
#include "support.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// The text of /proc/<pid>/io.
MERO_FUZZ_TARGET(process_io)
{
    unsigned long readBytes = 0;
    unsigned long writeBytes = 0;
    if (IoBytes(input, readBytes, writeBytes)) {
        MERO_REQUIRE(Holds(input, "read_bytes:") && Holds(input, "write_bytes:"));
        MERO_REQUIRE(Holds(input, std::to_string(readBytes)) && Holds(input, std::to_string(writeBytes)));
    }
    const std::string text = std::string(input) + "\nread_bytes: 17\nwrite_bytes:\t18446744073709551615\n";
    MERO_REQUIRE(IoBytes(text, readBytes, writeBytes) && readBytes == 17 && writeBytes == ~0UL);
}
