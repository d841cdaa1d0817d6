#include "unit/c_list.h"

#include <algorithm>

namespace MERO::Systemd {

std::vector<std::string> FromList(const MLIBCSzList* list)
{
    std::vector<std::string> texts;
    const int count = MLIBCSzListCount(list);
    for (int i = 0; i < count; ++i) {
        texts.emplace_back(MLIBCSzListGet(list, i)); // a null item is the caller's fault: std::logic_error
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
