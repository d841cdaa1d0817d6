/** @file
   Running other programs, without a shell.

   A program that is started here finds default signal dispositions, an empty signal mask, /dev/null as its
   standard input, and no descriptor above 2. Starting it costs the same whatever memory the caller has mapped.
   Every call may be made from any thread at any time. */
#pragma once

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Runs the program `path` (argv[0] is `path`) with up to four arguments and waits for it; the arguments end at
   the first NULL. What it prints is thrown away.
   Returns 0 when it ran and exited with 0, a negative value otherwise. Errors: MLIBC_ERR_START_PROGRAM,
   MLIBC_ERR_PROGRAM_FAILED (another exit code, a signal, or a wait status that is lost: then errno is ECHILD). */
int MLIBCExec(const char* path, const char* a1, const char* a2, const char* a3, const char* a4);

/** Starts the program `path` with the vector `argv` (argv[0] first, NULL last) and returns a stream of what it
   prints: with `mode` "r" its standard output (its error output stays the caller's), with "rB" both in one
   stream. Reading survives EINTR. The stream has no descriptor of its own to select on (fileno fails) and is
   closed with MLIBCPclose, which a caller must not forget: fclose would leave a zombie.
   Returns NULL when the program cannot be started: there is no child then. Errors: MLIBC_ERR_START_PROGRAM
   (errno holds the reason), MLIBC_ERR_INVALID_ARGUMENT. */
FILE* MLIBCPopenvc(const char* path, const char* mode, char* const argv[]);

/** MLIBCPopenvc for a program that has the environment `envp` (NULL last; NULL alone: none) instead of
   the caller's. */
FILE* MLIBCPopenvce(const char* path, const char* mode, char* const argv[], char* const envp[]);

/** Closes the stream, waits for the program and returns its wait status as waitpid gives it; -1 when the status
   is lost because somebody else reaped the child (a process that ignores SIGCHLD, or waits for any child). */
int MLIBCPclose(FILE* stream);

/** Flags of MLIBCProcForkEx(). */
enum {
    MLIBC_FORK_NEW_SESSION = 0x04, /**< the child leads a session of its own (setsid) */
    MLIBC_FORK_DETACHED = 0x40 /**< the child belongs to init or a subreaper: it leaves no zombie and needs no wait */
};

/** Forks. Returns 0 in the child, the child's process ID in the parent, a negative value when it failed.
   The child of a process with threads must only do what is safe after fork, and end with _exit.
   Errors: MLIBC_ERR_FORK, MLIBC_ERR_INVALID_ARGUMENT (an unknown flag). */
int MLIBCProcForkEx(unsigned long long flags);

/** 1 when a process with this ID runs, 0 when there is none or it has ended and waits to be reaped. (Where no
   descriptor is left, and on kernels before 5.3, one that waits to be reaped counts as running.) */
int MLIBCProcAlive(int pid);

#ifdef __cplusplus
}
#endif
