/** @file
   Running other programs, without a shell.

   The programs that are started have default signal dispositions, an empty signal mask, /dev/null as standard input,
   and no descriptor above 2. Starting one costs the same however much memory the caller has mapped. All functions may
   be called from any thread at any time. */
#pragma once

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Runs the program `path` (argv[0] is `path`) with up to four arguments, which end at the first NULL, and waits for
   it. Its output is discarded. Returns 0 if it exited with 0, otherwise a negative value. Errors:
   MLIBC_ERR_START_PROGRAM, MLIBC_ERR_PROGRAM_FAILED (another exit code, a signal, or a lost wait status: errno is
   ECHILD then), MLIBC_ERR_INVALID_ARGUMENT. */
int MLIBCExec(const char* path, const char* a1, const char* a2, const char* a3, const char* a4);

/** Starts the program `path` with the arguments `argv` (argv[0] first, NULL last) and returns a stream of its output:
   with `mode` "r" its standard output (its error output stays the caller's), with "rB" both in one stream. Reading
   survives EINTR. The stream has no descriptor for select (fileno fails). Close it with MLIBCPclose(); fclose would
   leave a zombie. Returns NULL, and leaves no child, if the program cannot be started. Errors: MLIBC_ERR_START_PROGRAM
   (errno says why), MLIBC_ERR_INVALID_ARGUMENT. */
FILE* MLIBCPopenvc(const char* path, const char* mode, char* const argv[]);

/** MLIBCPopenvc() for a program that gets the environment `envp` (NULL last; NULL alone is an empty one) instead of the
   caller's. */
FILE* MLIBCPopenvce(const char* path, const char* mode, char* const argv[], char* const envp[]);

/** Closes the stream, waits for the program and returns its wait status, as waitpid does. Returns -1 if the status is
   lost because somebody else reaped the child (a process that ignores SIGCHLD, or waits for any child), and for NULL
   (MLIBC_ERR_INVALID_ARGUMENT). */
int MLIBCPclose(FILE* stream);

/** Flags of MLIBCProcForkEx(). */
enum {
    MLIBC_FORK_NEW_SESSION = 0x04, /**< the child leads a new session (setsid) */
    MLIBC_FORK_DETACHED = 0x40     /**< init or a subreaper adopts the child: it leaves no zombie and needs no wait */
};

/** Forks. Returns 0 in the child, the child's process ID in the parent, and a negative value on failure. The child of a
   process with threads may only do what is safe after fork, and must end with _exit.
   Errors: MLIBC_ERR_FORK, MLIBC_ERR_INVALID_ARGUMENT (an unknown flag). */
int MLIBCProcForkEx(unsigned long long flags);

/** Returns 1 if a process with this ID runs, 0 if there is none or it has ended and is not reaped yet. (Without a free
   descriptor, and on kernels before 5.3, a process that is not reaped counts as running.) Leaves the register as it
   was. */
int MLIBCProcAlive(int pid);

#ifdef __cplusplus
}
#endif
