/** @file
   What this machine supports. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** Returns 1 if the key-value file /usr/mero/etc/support.conf has the line capability=yes, otherwise 0. Any thread.
   After 0 the error register means nothing. */
int MLIBCSupportGet(const char* capability);

#ifdef __cplusplus
}
#endif
