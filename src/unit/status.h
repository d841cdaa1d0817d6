#pragma once

#include "core/log.h"

#include <merosystemd/systemd.hpp>

#include <span>
#include <string>
#include <string_view>

namespace MERO::Systemd {

/// systemctl's word for a state, and the state's number.
struct StatusWord {
    std::string_view word;
    int status;
};

/// Returns the number of `word`; -1, with the error register at 0x8000, if the table does not have it.
int StatusOf(SourceLine where, std::span<const StatusWord> table, std::string_view word);

/// Returns the number of the word that `show` gives for a property of the unit; -1 if there is none. `currentOnly`:
/// more words, valid only in the current dialect.
int ShownStatus(SourceLine where, decltype(MEROSystemdShow)* show, const std::string& strUnit, const char* property,
                std::span<const StatusWord> table, std::span<const StatusWord> currentOnly = {});

/// Returns the unit's MERO_SYSTEMD_ENABLE_STATUS; -1 if systemctl prints nothing or an unknown word.
int _MEROSystemdEnableStatusGet(const SystemctlOpts& opts, const std::string& strUnit);

/// The C form of a query for a unit's status.
int StatusForC(SourceLine where, int (*get)(const std::string&), const char* szUnit);

} // namespace MERO::Systemd
