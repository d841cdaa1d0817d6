/** @file
   A table of texts by key. One thread at a time may use one table. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** The table, opaque. */
typedef struct MLIBCSzHash MLIBCSzHash;

/** Returns a new, empty table, which the caller frees; NULL if memory runs out (MLIBC_ERR_NO_MEMORY). `cbHint`, an
   expected size in bytes, is not used. */
MLIBCSzHash* MLIBCSzHashAlloc(int cbHint);

/** Sets `key` to a copy of `value`, in place of an earlier value. Returns 0, or a negative value.
   Errors: MLIBC_ERR_INVALID_ARGUMENT (a null pointer), MLIBC_ERR_NO_MEMORY. */
int MLIBCSzHashSetValue(MLIBCSzHash* hash, const char* key, const char* value);

/** Frees the table and its texts. Does nothing for NULL. */
void MLIBCSzHashFree(MLIBCSzHash* hash);

#ifdef __cplusplus
}
#endif
