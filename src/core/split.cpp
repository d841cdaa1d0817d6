#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/split.h"

#include "core/log.h"

#include <merocore/error.h>

#include <boost/algorithm/string.hpp>

namespace MERO::Systemd {

bool Split(const std::string& text, std::vector<std::string>& out, const std::string& delimiters)
{
    try {
        const std::string trimmed = boost::algorithm::trim_copy(text);
        if (!trimmed.empty()) {
            boost::algorithm::split(out, trimmed, boost::algorithm::is_any_of(delimiters));
        }
        return true;
    } catch (const std::exception&) {
        const SourceLine here = MERO_HERE;
        MLIBCErrSetEx(MLIBC_ERR_NO_MEMORY, here.file, here.line);
        return false;
    }
}

} // namespace MERO::Systemd
