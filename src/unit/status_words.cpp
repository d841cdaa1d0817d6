#include "unit/status_words.h"

#include "core/error_codes.h"

namespace MERO::Systemd {

int StatusOf(SourceLine where, std::span<const StatusWord> table, std::string_view word)
{
    for (const StatusWord& entry : table) {
        if (entry.word == word) {
            return entry.status;
        }
    }
    MLIBCErrSetEx(kErrorUnknownState, where.file, where.line);
    return -1;
}

} // namespace MERO::Systemd
