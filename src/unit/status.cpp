#include "unit/status.h"

#include "core/errors.h"
#include "core/systemctl_dialect.h"

#include <algorithm>

namespace MERO::Systemd {

int StatusOf(SourceLine where, std::span<const StatusWord> table, std::string_view word)
{
    for (const StatusWord& entry : table) {
        if (entry.word == word) {
            return entry.status;
        }
    }
    SetError(where, kErrorUnknownState);
    return -1;
}

int ShownStatus(SourceLine where, decltype(MEROSystemdShow)* show, const std::string& strUnit, const char* property,
                std::span<const StatusWord> table, std::span<const StatusWord> currentOnly)
{
    std::string word;
    if (!MERO_VALID_AT(where, !strUnit.empty()) || !show(strUnit, property, word)) {
        return -1;
    }
    const auto isWord = [&](const StatusWord& entry) { return entry.word == word; };
    const bool isCurrent =
        std::any_of(currentOnly.begin(), currentOnly.end(), isWord) && ConfiguredSystemctlDialect().isCurrent;
    return StatusOf(where, isCurrent ? currentOnly : table, word);
}

int StatusForC(SourceLine where, int (*get)(const std::string&), const char* szUnit)
{
    return MERO_VALID_AT(where, nullptr != szUnit) ? WithoutExceptions(
                                                         where, [&] { return get(szUnit); }, -1)
                                                   : -1;
}

} // namespace MERO::Systemd
