#include "fail.h"
#include "hash_table.h"

using namespace MERO::Core;

MLIBCSzHash* MLIBCSzHashAlloc(int)
{
    auto* hash = new (std::nothrow) MLIBCSzHash;
    if (hash == nullptr) {
        MERO_FAIL(MLIBC_ERR_NO_MEMORY);
    }
    return hash;
}

int MLIBCSzHashSetValue(MLIBCSzHash* hash, const char* key, const char* value)
{
    if (hash == nullptr || key == nullptr || value == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return WithoutExceptions([&] {
        hash->texts.insert_or_assign(key, value);
        return 0;
    });
}

void MLIBCSzHashFree(MLIBCSzHash* hash)
{
    delete hash;
}
