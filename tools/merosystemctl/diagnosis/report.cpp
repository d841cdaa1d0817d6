#include "diagnosis/report.h"

#include "diagnosis/diagnosis.h"
#include "diagnosis/unit_properties.h"
#include "output/words.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace MERO::Tool {
namespace {

constexpr const char* kSystemctl = "/usr/bin/systemctl";

bool CanRunSystemctl()
{
    return access(kSystemctl, X_OK) == 0;
}

void Unify(Texts& units)
{
    std::sort(units.begin(), units.end());
    units.erase(std::unique(units.begin(), units.end()), units.end());
}

} // namespace

bool IsMissing(const std::string& load)
{
    return load == LoadWord(MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND);
}

int ReportFailure(const std::string& what, int error)
{
    if (!CanRunSystemctl()) {
        PrintError(what + " failed: " + kSystemctl + " cannot be run");
        return kCannotRun;
    }
    if (error == MLIBC_ERR_LOCK_BUSY) {
        PrintError(what + " failed: another process holds a lock that it needs; try again later");
        return kTimedOut;
    }
    PrintError(what + " failed");
    PrintError("the reason is in the log: journalctl -t merosystemctl");
    return kFailed;
}

int ReportUnits(bool done, const std::string& verb, Texts failed, int error)
{
    if (done) {
        return kDone;
    }
    Unify(failed);
    if (failed.empty() || !CanRunSystemctl()) {
        return ReportFailure(verb, error);
    }
    const std::vector<UnitProperties> units = AskProperties(failed, "LoadState");
    Texts others;
    for (std::size_t i = 0; i < failed.size(); ++i) {
        if (!units.empty() && IsMissing(units[i]["LoadState"])) {
            PrintError(failed[i] + ": " + verb + " failed: there is no such unit");
        } else {
            others.push_back(failed[i]);
        }
    }
    for (const std::string& unit : others) {
        if (unit != others.back()) {
            PrintError(unit + ": " + verb + " failed");
        }
    }
    const int code = others.empty() ? kDone : ReportFailure(others.back() + ": " + verb, error);
    return others.size() < failed.size() ? kNoSuchUnit : code;
}

int ReportStart(bool done, const std::string& verb, Texts failed, int error)
{
    if (done || failed.empty() || !CanRunSystemctl()) {
        return ReportUnits(done, verb, failed, error);
    }
    Unify(failed);
    int code = kFailed;
    for (const std::string& unit : failed) {
        const std::optional<Diagnosis> diagnosis = Diagnose(unit);
        const bool isMissing = diagnosis && IsMissing(diagnosis->load);
        PrintError(unit + ": " + verb + " failed" + (isMissing ? ": there is no such unit" : ""));
        if (isMissing) {
            code = kNoSuchUnit;
        } else if (diagnosis) {
            PrintCauses(std::cerr, *diagnosis, "  ");
        }
    }
    return code;
}

} // namespace MERO::Tool
