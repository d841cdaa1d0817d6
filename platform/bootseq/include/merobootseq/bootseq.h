/** @file
   How far the boot has come. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** Returns the current boot step: the decimal number in /run/merobootseq/boot-step. Returns a negative value if there
   is no such file, or no number in it. Sets no error code. Any thread. */
int MEROSystemGetBootStep(void);

#ifdef __cplusplus
}
#endif
