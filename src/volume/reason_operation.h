#pragma once

#include "core/log.h"

#include <merocore/list.h>
#include <merosystemd/systemd.hpp>

#include <string>
#include <vector>

/// Shared by stop by reason, start by reason and the removal of a reason.
namespace MERO::Systemd {

using ReasonForm = bool(const std::string& strReason, const std::vector<std::string>& vecServices,
                        std::vector<std::string>& vecFailed);
using ReasonOperation = bool(const std::string& strReason, const std::vector<std::string>& vecServices,
                             std::vector<std::string>& vecFailed, const SystemctlObserver& observer);

enum class AfterRelease { Start, LeaveStopped };

/// Removes a reason from services, clears their failed state, and starts them if `after` says so. Reloads the manager
/// if one of them has lost its last reason. Services with other reasons are started too: it is their drop-ins that keep
/// them stopped. `doing` is the log line's verb. Returns false if a reason could not be removed or a service not
/// started. Other failures do not count, nor do those of units that had stopped along with the services and start with
/// them.
bool ReleaseReason(SourceLine where, const char* doing, AfterRelease after, const std::string& reason,
                   const std::vector<std::string>& services, std::vector<std::string>& failed,
                   const SystemctlObserver& observer);

/// Checks the arguments, in the order that callers rely on, and runs `operation`. Logs an exception that it throws;
/// then all services have failed. `vecFailed` may be the same object as `vecServices`.
bool RunReasonOperation(SourceLine where, ReasonOperation* operation, const std::string& strReason,
                        const std::vector<std::string>& vecServices, std::vector<std::string>& vecFailed,
                        const SystemctlObserver& observer);

/// The form for one service: discards the failed list.
bool RunReasonForm(SourceLine where, ReasonForm* listForm, const std::string& strReason, const std::string& strService);

int RunCReasonForm(SourceLine where, ReasonForm* listForm, const char* szReason, const char* szService);
int RunCReasonGroupForm(SourceLine where, ReasonForm* listForm, const char* szReason, const MLIBCSzList* pListServices,
                        MLIBCSzList** ppListFailed);

} // namespace MERO::Systemd
