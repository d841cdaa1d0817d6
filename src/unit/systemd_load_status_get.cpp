#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/status_words.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr StatusWord kLoadStatus[] = {
    {"stub", MERO_SYSTEMD_LOAD_STATUS_STUB},           {"loaded", MERO_SYSTEMD_LOAD_STATUS_LOADED},
    {"not-found", MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND}, {"error", MERO_SYSTEMD_LOAD_STATUS_ERROR},
    {"merged", MERO_SYSTEMD_LOAD_STATUS_MERGED},       {"masked", MERO_SYSTEMD_LOAD_STATUS_MASKED},
};

} // namespace

int MEROSystemdLoadStatusGet(const std::string& strUnit)
{
    std::string word;
    if (!MERO_VALID(!strUnit.empty()) || !MEROSystemdShow(strUnit, "LoadState", word)) {
        return -1;
    }
    return StatusOf(MERO_HERE, kLoadStatus, word);
}

int MEROCSystemdLoadStatusGet(const char* szUnit)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) ? MEROSystemdLoadStatusGet(szUnit) : -1; }, -1);
}
