#pragma once

#include "core/log.h"

#include <merocore/list.h>

#include <string>
#include <vector>

/// The forms in which every operation on units is offered, made from its list form.
namespace MERO::Systemd {

using ListForm = bool(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed);
using SingleForm = bool(const std::string& strUnit);

/// One unit, its failed list thrown away. An empty name is an invalid argument.
bool RunSingleForm(SourceLine where, ListForm* operation, const std::string& strUnit);

/// One unit from C. NULL is an invalid argument.
int RunCForm(SourceLine where, SingleForm* operation, const char* szUnit);

/// A list from C; a null item throws std::logic_error. On failure pushes the failed units onto the output list, if
/// there is one. A null input list is an invalid argument.
int RunCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed);

/// RunCGroupForm without an output list, for operations that let no exception out: a null item is a failure.
int RunGuardedCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits);

} // namespace MERO::Systemd
