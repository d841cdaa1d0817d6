#pragma once

#include "core/log.h"

#include <merocore/list.h>
#include <merosystemd/systemd.hpp>

#include <string>
#include <vector>

/// What stop by reason, start by reason and the removal of a reason have in common.
namespace MERO::Systemd {

using ReasonForm = bool(const std::string& strReason, const std::vector<std::string>& vecServices,
                        std::vector<std::string>& vecFailed);
using ReasonOperation = bool(const std::string& strReason, const std::vector<std::string>& vecServices,
                             std::vector<std::string>& vecFailed, const SystemctlObserver& observer);

enum class AfterRelease { Start, LeaveStopped };

/// Takes one reason from services, clears their failed state, and starts them if they shall be; has the manager
/// reload when one of them has lost its last reason. Services with other reasons left are started too: what holds
/// them is for their drop-ins to say. `doing` is the log line's word. False when a reason could not be taken, or a
/// service not started; what becomes of the rest does not count, nor of what had stopped along with the services and
/// starts with them.
bool ReleaseReason(SourceLine where, const char* doing, AfterRelease after, const std::string& reason,
                   const std::vector<std::string>& services, std::vector<std::string>& failed,
                   const SystemctlObserver& observer);

/// Checks the arguments, in the order that callers rely on, and runs `operation`. An exception of its is logged and
/// fails all services. `vecFailed` may be the list of the services.
bool RunReasonOperation(SourceLine where, ReasonOperation* operation, const std::string& strReason,
                        const std::vector<std::string>& vecServices, std::vector<std::string>& vecFailed,
                        const SystemctlObserver& observer);

/// One service, its failed list thrown away.
bool RunReasonForm(SourceLine where, ReasonForm* listForm, const std::string& strReason, const std::string& strService);

int RunCReasonForm(SourceLine where, ReasonForm* listForm, const char* szReason, const char* szService);
int RunCReasonGroupForm(SourceLine where, ReasonForm* listForm, const char* szReason, const MLIBCSzList* pListServices,
                        MLIBCSzList** ppListFailed);

} // namespace MERO::Systemd
