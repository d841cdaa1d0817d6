#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/text.h"

#include "core/errors.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>

namespace MERO::Systemd {

std::string Join(const Texts& texts, const char* between)
{
    return boost::algorithm::join(texts, between);
}

bool Contains(const Texts& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::string Concatenate(const Texts& lines)
{
    return Join(lines, "");
}

bool Split(const std::string& text, Texts& out, const std::string& delimiters)
{
    try {
        const std::string trimmed = boost::algorithm::trim_copy(text);
        if (!trimmed.empty()) {
            boost::algorithm::split(out, trimmed, boost::algorithm::is_any_of(delimiters));
        }
        return true;
    } catch (const std::exception&) {
        SetError(MERO_HERE, MLIBC_ERR_NO_MEMORY);
        return false;
    }
}

} // namespace MERO::Systemd
