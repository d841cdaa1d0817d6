#pragma once

#include "core/log.h"

#include <merosystemd/systemd.hpp>

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

/// The number of the word that `show` gives for a property of the unit; -1 when there is none.
/// `currentOnly`: words besides, which count for the systemd of today.
int ShownStatus(SourceLine where, decltype(MEROSystemdShow)* show, const std::string& strUnit, const char* property,
                std::span<const StatusWord> table, std::span<const StatusWord> currentOnly = {});

/// The unit's MERO_SYSTEMD_ENABLE_STATUS; -1 when systemctl says nothing or a word that is not known.
int _MEROSystemdEnableStatusGet(const SystemctlOpts& opts, const std::string& strUnit);

/// The C form of a question for a unit's status.
int StatusForC(SourceLine where, int (*get)(const std::string&), const char* szUnit);

} // namespace MERO::Systemd
