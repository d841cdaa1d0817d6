#include "fail.h"
#include "owners.h"

#include <merocore/list.h>

#include <cstring>
#include <limits>
#include <vector>

using namespace MERO;
using namespace MERO::Core;

struct MLIBCSzList {
    std::vector<CMemory<char>> items;
};

MLIBCSzList* MLIBCSzListAlloc(void)
{
    auto* list = new (std::nothrow) MLIBCSzList;
    if (list == nullptr) {
        MERO_FAIL(MLIBC_ERR_NO_MEMORY);
    }
    return list;
}

void MLIBCSzListFree(MLIBCSzList* list)
{
    delete list;
}

int MLIBCSzListCount(const MLIBCSzList* list)
{
    return list != nullptr ? static_cast<int>(list->items.size()) : 0;
}

const char* MLIBCSzListGet(const MLIBCSzList* list, int index)
{
    return index >= 0 && index < MLIBCSzListCount(list) ? list->items[static_cast<std::size_t>(index)].get() : nullptr;
}

int MLIBCSzListPush(MLIBCSzList** list, const char* text)
{
    if (list == nullptr || *list == nullptr || (*list)->items.size() >= std::numeric_limits<int>::max()) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return WithoutExceptions([&] {
        CMemory<char> copy(text != nullptr ? strdup(text) : nullptr);
        if (text != nullptr && copy == nullptr) {
            return MERO_FAIL(MLIBC_ERR_NO_MEMORY);
        }
        (*list)->items.push_back(std::move(copy));
        return 0;
    });
}
