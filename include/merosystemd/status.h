/** @file
   The states of units as systemctl names them, of isolations, and which volumes a unit needs. */
#pragma once

/** The property LoadState. */
typedef enum {
    MERO_SYSTEMD_LOAD_STATUS_STUB = 0,
    MERO_SYSTEMD_LOAD_STATUS_LOADED = 1,
    MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND = 2,
    MERO_SYSTEMD_LOAD_STATUS_ERROR = 3,
    MERO_SYSTEMD_LOAD_STATUS_MERGED = 4,
    MERO_SYSTEMD_LOAD_STATUS_MASKED = 5
} MERO_SYSTEMD_LOAD_STATUS;

/** The property ActiveState. */
typedef enum {
    MERO_SYSTEMD_ACTIVE_STATUS_INACTIVE = 0,
    MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE = 1,
    MERO_SYSTEMD_ACTIVE_STATUS_DEACTIVATING = 2,
    MERO_SYSTEMD_ACTIVE_STATUS_ACTIVATING = 3,
    MERO_SYSTEMD_ACTIVE_STATUS_RELOADING = 4,
    MERO_SYSTEMD_ACTIVE_STATUS_FAILED = 5
} MERO_SYSTEMD_ACTIVE_STATUS;

/** The output of `systemctl is-enabled`. Enabled, masked and linked include the states that end with the next boot. */
typedef enum {
    MERO_SYSTEMD_ENABLE_STATUS_DISABLED = 0,
    MERO_SYSTEMD_ENABLE_STATUS_ENABLED = 1,
    MERO_SYSTEMD_ENABLE_STATUS_STATIC = 2,
    MERO_SYSTEMD_ENABLE_STATUS_MASKED = 3,
    MERO_SYSTEMD_ENABLE_STATUS_LINKED = 4
} MERO_SYSTEMD_ENABLE_STATUS;

/** How the wait for the services that an isolation stops ended. */
typedef enum {
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_DONE = 0,           /**< all have stopped */
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_PENDING = 1,        /**< some were still stopping when the wait ended */
    MERO_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED = 2 /**< unknown: systemd's jobs could not be listed */
} MERO_SYSTEMD_ISOLATE_WAIT_STOP_RESULT;

/** Whether an isolation is running. */
typedef struct {
    unsigned char isolating; /**< 1 or 0 */
    char target[4096];       /**< its target, at most 63 bytes of the name and a NUL; empty if none is running */
} MERO_SYSTEMD_ISOLATE_STATE;

/** Which volumes a unit needs: key "VolumeDependency" of the section [X-Tarvix]. */
typedef enum {
    MERO_SYSTEMD_VOLUME_DEPENDENCY_NONE = 0,
    MERO_SYSTEMD_VOLUME_DEPENDENCY_ALL = 1,
    MERO_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL = 2 /**< those that it or its package has registered */
} MERO_SYSTEMD_VOLUME_DEPENDENCY;
