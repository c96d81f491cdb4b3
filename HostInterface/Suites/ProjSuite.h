#pragma once

#include "HostInterface/AEGP.h"

// Projects.

extern "C" {

#define kAEGPProjSuite "AEGP Proj Suite"
#define kAEGPProjSuiteVersion6 9

struct AEGP_ProjSuite6 {
    A_Err (*AEGP_GetNumProjects)(A_long* num_proj);
    A_Err (*AEGP_GetProjectByIndex)(A_long proj_index, AEGP_ProjectH*);
    A_Err (*AEGP_GetProjectName)(AEGP_ProjectH, A_char* name);
    A_Err (*AEGP_GetProjectPath)(AEGP_ProjectH, AEGP_MemHandle*);
    A_Err (*AEGP_GetProjectRootFolder)(AEGP_ProjectH, AEGP_ItemH*);
    A_Err (*AEGP_SaveProjectToPath)(AEGP_ProjectH, const A_UTF16Char* path);
    A_Err (*AEGP_GetProjectTimeDisplay)(AEGP_ProjectH, AEGP_TimeDisplay3*);
    A_Err (*AEGP_SetProjectTimeDisplay)(AEGP_ProjectH, const AEGP_TimeDisplay3*);
    A_Err (*AEGP_ProjectIsDirty)(AEGP_ProjectH, A_Boolean* is_dirty);
    A_Err (*AEGP_SaveProjectAs)(AEGP_ProjectH, const A_UTF16Char* path);
    A_Err (*AEGP_NewProject)(AEGP_ProjectH*);
    A_Err (*AEGP_OpenProjectFromPath)(const A_UTF16Char* path, AEGP_ProjectH*);
    A_Err (*AEGP_GetProjectBitDepth)(AEGP_ProjectH, A_char* bit_depth);
    A_Err (*AEGP_SetProjectBitDepth)(AEGP_ProjectH, A_char bit_depth);
};
NIMBREL_SLOTS(AEGP_ProjSuite6, 14);
NIMBREL_SLOT(AEGP_ProjSuite6, 1, AEGP_GetProjectByIndex);
NIMBREL_SLOT(AEGP_ProjSuite6, 4, AEGP_GetProjectRootFolder);
NIMBREL_SLOT(AEGP_ProjSuite6, 13, AEGP_SetProjectBitDepth);

}  // extern "C"
