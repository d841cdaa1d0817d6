#include "core/c_values.h"

#include "core/errors.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace MERO::Systemd {
namespace {

/// Returns false if memory runs out.
bool Push(const std::vector<std::string>& texts, MLIBCSzList** list)
{
    return std::all_of(texts.begin(), texts.end(),
                       [&](const std::string& text) { return MLIBCSzListPush(list, text.c_str()) == 0; });
}

} // namespace

std::vector<std::string> FromList(const MLIBCSzList* list)
{
    std::vector<std::string> texts;
    const int count = MLIBCSzListCount(list);
    for (int i = 0; i < count; ++i) {
        const char* item = MLIBCSzListGet(list, i);
        if (item == nullptr) { // the caller's mistake
            throw std::logic_error("basic_string: construction from null is not valid");
        }
        texts.emplace_back(item);
    }
    return texts;
}

void PushFailedUnits(const std::vector<std::string>& failed, MLIBCSzList** ppListFailed)
{
    if (ppListFailed != nullptr && *ppListFailed != nullptr) {
        (void)Push(failed, ppListFailed);
    }
}

int TextsForC(SourceLine where, MLIBCSzList** list, const std::function<bool(std::vector<std::string>&)>& get)
{
    return WithoutExceptions(where, [&] {
        std::vector<std::string> texts;
        return get(texts) && Push(texts, list);
    });
}

int TextForC(SourceLine where, char* buffer, int cbBuffer, const std::function<bool(std::string&)>& get)
{
    return WithoutExceptions(where, [&] {
        std::string text;
        if (!get(text)) {
            return false;
        }
        if (text.size() + 1 > static_cast<std::size_t>(cbBuffer)) {
            SetError(where, MLIBC_ERR_BUFFER_TOO_SMALL);
            return false;
        }
        std::snprintf(buffer, static_cast<std::size_t>(cbBuffer), "%s", text.c_str());
        return true;
    });
}

} // namespace MERO::Systemd
