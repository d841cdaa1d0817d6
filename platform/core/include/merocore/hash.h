/** @file
   A table of texts by key. One thread at a time may use one table. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** The table: only its functions know what is in it. */
typedef struct MLIBCSzHash MLIBCSzHash;

/** A new, empty table, the caller's to free; NULL when there is no memory. `cbHint` (an expected size in bytes) is
   accepted from callers that have one and not needed. */
MLIBCSzHash* MLIBCSzHashAlloc(int cbHint);

/** Sets `key` to `value`, both copied; an earlier value is replaced. 0 or negative.
   Errors: MLIBC_ERR_INVALID_ARGUMENT (a null pointer), MLIBC_ERR_NO_MEMORY. */
int MLIBCSzHashSetValue(MLIBCSzHash* hash, const char* key, const char* value);

/** Frees the table and its texts. NULL is fine. */
void MLIBCSzHashFree(MLIBCSzHash* hash);

#ifdef __cplusplus
}
#endif
