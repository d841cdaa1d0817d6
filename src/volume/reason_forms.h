#pragma once

#include "core/log.h"

#include <merocore/list.h>

#include <string>
#include <vector>

/// What stop by reason, start by reason and the removal of a reason have in common: checks and forms.
namespace MERO::Systemd {

using ReasonOperation = bool(const std::string& strReason, const std::vector<std::string>& vecServices,
                             std::vector<std::string>& vecFailed);

/// Checks the arguments, in the order that callers rely on, and runs `operation`. An exception of its is logged and
/// fails all services. `vecFailed` may be the list of the services.
bool RunReasonOperation(SourceLine where, ReasonOperation* operation, const std::string& strReason,
                        const std::vector<std::string>& vecServices, std::vector<std::string>& vecFailed);

/// One service, its failed list thrown away.
bool RunReasonForm(SourceLine where, ReasonOperation* listForm, const std::string& strReason,
                   const std::string& strService);

int RunCReasonForm(SourceLine where, ReasonOperation* listForm, const char* szReason, const char* szService);
int RunCReasonGroupForm(SourceLine where, ReasonOperation* listForm, const char* szReason,
                        const MLIBCSzList* pListServices, MLIBCSzList** ppListFailed);

} // namespace MERO::Systemd
