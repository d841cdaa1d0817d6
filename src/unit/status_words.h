#pragma once

#include "core/log.h"

#include <span>
#include <string>
#include <string_view>

namespace MERO::Systemd {

/// A word of systemctl's for a state, and the state's number.
struct StatusWord {
    std::string_view word;
    int status;
};

/// The number of `word`; -1, with the error register at 0x8000, for a word that is not in the table.
int StatusOf(SourceLine where, std::span<const StatusWord> table, std::string_view word);

} // namespace MERO::Systemd
