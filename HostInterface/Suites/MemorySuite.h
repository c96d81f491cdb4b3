#pragma once

#include "HostInterface/AEGP.h"

// Memory that the host hands out; a handle must be locked to be read.

extern "C" {

#define kAEGPMemorySuite "AEGP Memory Suite"
#define kAEGPMemorySuiteVersion1 1

struct AEGP_MemorySuite1 {
    A_Err (*AEGP_NewMemHandle)(AEGP_PluginID plugin_id, const A_char* what, A_u_long size, A_long flags,
                               AEGP_MemHandle*);
    A_Err (*AEGP_FreeMemHandle)(AEGP_MemHandle);
    A_Err (*AEGP_LockMemHandle)(AEGP_MemHandle, void**);
    A_Err (*AEGP_UnlockMemHandle)(AEGP_MemHandle);
    A_Err (*AEGP_GetMemHandleSize)(AEGP_MemHandle, A_u_long* size);  // bytes
    A_Err (*AEGP_ResizeMemHandle)(const A_char* what, A_u_long new_size, AEGP_MemHandle);
    A_Err (*AEGP_SetMemReportingOn)(A_Boolean turn_On);
    A_Err (*AEGP_GetMemStats)(AEGP_PluginID plugin_id, A_long* count, A_long* size);
};
NIMBREL_SLOTS(AEGP_MemorySuite1, 8);
NIMBREL_SLOT(AEGP_MemorySuite1, 1, AEGP_FreeMemHandle);
NIMBREL_SLOT(AEGP_MemorySuite1, 2, AEGP_LockMemHandle);
NIMBREL_SLOT(AEGP_MemorySuite1, 3, AEGP_UnlockMemHandle);
NIMBREL_SLOT(AEGP_MemorySuite1, 4, AEGP_GetMemHandleSize);
NIMBREL_SLOT(AEGP_MemorySuite1, 7, AEGP_GetMemStats);

}  // extern "C"
