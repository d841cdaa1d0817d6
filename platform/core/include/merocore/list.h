/** @file
   An ordered list of texts. Any number of threads may read a list; a thread that changes it must be the only one to use
   it. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** The list, opaque. */
typedef struct MLIBCSzList MLIBCSzList;

/** Returns a new, empty list, which the caller frees; NULL if memory runs out (MLIBC_ERR_NO_MEMORY). */
MLIBCSzList* MLIBCSzListAlloc(void);

/** Frees the list and its texts. Does nothing for NULL. */
void MLIBCSzListFree(MLIBCSzList* list);

/** Returns the number of items; 0 for NULL. */
int MLIBCSzListCount(const MLIBCSzList* list);

/** Returns item `index`, counted from 0. It belongs to the list, and is valid until the list is changed or freed.
   Returns NULL if the index is out of range, and for a null item. Leaves the register as it was. */
const char* MLIBCSzListGet(const MLIBCSzList* list, int index);

/** Appends a copy of `text`, or a null item for NULL. Growing may move the list: `*list` may change. Returns 0, or a
   negative value with the list as it was. Errors: MLIBC_ERR_INVALID_ARGUMENT (no list), MLIBC_ERR_NO_MEMORY. */
int MLIBCSzListPush(MLIBCSzList** list, const char* text);

#ifdef __cplusplus
}
#endif
