#include "unit/c_list.h"

#include <algorithm>
#include <stdexcept>

namespace MERO::Systemd {

std::vector<std::string> FromList(const MLIBCSzList* list)
{
    std::vector<std::string> texts;
    const int count = MLIBCSzListCount(list);
    for (int i = 0; i < count; ++i) {
        const char* item = MLIBCSzListGet(list, i);
        if (item == nullptr) { // the caller's fault
            throw std::logic_error("basic_string: construction from null is not valid");
        }
        texts.emplace_back(item);
    }
    return texts;
}

bool PushToList(const std::vector<std::string>& texts, MLIBCSzList** list)
{
    return std::all_of(texts.begin(), texts.end(),
                       [&](const std::string& text) { return MLIBCSzListPush(list, text.c_str()) == 0; });
}

void PushFailedUnits(const std::vector<std::string>& failed, MLIBCSzList** ppListFailed)
{
    if (ppListFailed != nullptr && *ppListFailed != nullptr) {
        (void)PushToList(failed, ppListFailed);
    }
}

} // namespace MERO::Systemd
