/** @file
   How far the boot has come. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** The current boot step: the decimal number in /run/merobootseq/boot-step; negative when there is no such file or
   no number in it. Any thread. */
int MEROSystemGetBootStep(void);

#ifdef __cplusplus
}
#endif
