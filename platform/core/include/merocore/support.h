/** @file
   What this machine supports. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** 1 when the key-value file /usr/mero/etc/support.conf says capability=yes, 0 in every other case. */
int MLIBCSupportGet(const char* capability);

#ifdef __cplusplus
}
#endif
