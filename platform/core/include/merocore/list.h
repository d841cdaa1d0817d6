/** @file
   An ordered list of texts. Any number of threads may read one list; one that changes it must be alone. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** The list: only its functions know what is in it. */
typedef struct MLIBCSzList MLIBCSzList;

/** A new, empty list, the caller's to free; NULL when there is no memory. */
MLIBCSzList* MLIBCSzListAlloc(void);

/** Frees the list and its texts. NULL is fine. */
void MLIBCSzListFree(MLIBCSzList* list);

/** The number of items; 0 for NULL. */
int MLIBCSzListCount(const MLIBCSzList* list);

/** Item `index`, counted from 0, the list's own and valid until the list is changed or freed. NULL when the index
   is out of range, and for a null item. */
const char* MLIBCSzListGet(const MLIBCSzList* list, int index);

/** Appends a copy of `text`; NULL appends a null item. `*list` may change: growing may move the list.
   0, or negative with the list as it was. Errors: MLIBC_ERR_INVALID_ARGUMENT, MLIBC_ERR_NO_MEMORY. */
int MLIBCSzListPush(MLIBCSzList** list, const char* text);

#ifdef __cplusplus
}
#endif
