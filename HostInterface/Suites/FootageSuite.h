#pragma once

#include "HostInterface/AEGP.h"

// Footage: files and how they are read.

extern "C" {

#define kAEGPFootageSuite "AEGP Footage Suite"
#define kAEGPFootageSuiteVersion5 11

struct AEGP_FootageSuite5 {
    A_Err (*AEGP_GetMainFootageFromItem)(AEGP_ItemH, AEGP_FootageH*);
    A_Err (*AEGP_GetProxyFootageFromItem)(AEGP_ItemH, AEGP_FootageH*);
    A_Err (*AEGP_GetFootageNumFiles)(AEGP_FootageH, A_long* num_main_files, A_long* files_per_frame);
    A_Err (*AEGP_GetFootagePath)(AEGP_FootageH, A_long frame_num, A_long file_index,
                                 AEGP_MemHandle*);  // frame 0, file 0; empty text if there is no file
    A_Err (*AEGP_GetFootageSignature)(AEGP_FootageH, A_long* sig);
    A_Err (*AEGP_NewFootage)(AEGP_PluginID plugin_id, const A_UTF16Char* path, const AEGP_FootageLayerKey*,
                             const AEGP_FileSequenceImportOptions*, A_Boolean interp_style, void*,
                             AEGP_FootageH*);  // nulls for layer key, sequence, reserved
    A_Err (*AEGP_AddFootageToProject)(AEGP_FootageH, AEGP_ItemH, AEGP_ItemH*);  // the project owns it from then on
    A_Err (*AEGP_SetItemProxyFootage)(AEGP_FootageH, AEGP_ItemH);
    A_Err (*AEGP_ReplaceItemMainFootage)(AEGP_FootageH, AEGP_ItemH);
    A_Err (*AEGP_DisposeFootage)(AEGP_FootageH);
    A_Err (*AEGP_GetFootageInterpretation)(AEGP_ItemH, A_Boolean proxy, AEGP_FootageInterp*);
    A_Err (*AEGP_SetFootageInterpretation)(AEGP_ItemH, A_Boolean proxy, const AEGP_FootageInterp*);
    A_Err (*AEGP_GetFootageLayerKey)(AEGP_FootageH, AEGP_FootageLayerKey*);
    A_Err (*AEGP_NewPlaceholderFootage)(AEGP_PluginID plugin_id, const A_char* name, A_long width, A_long height,
                                        const A_Time*, AEGP_FootageH*);
    A_Err (*AEGP_NewPlaceholderFootageWithPath)(AEGP_PluginID plugin_id, const A_UTF16Char* path, A_long path_platform,
                                                A_long file_type, A_long width, A_long height, const A_Time*,
                                                AEGP_FootageH*);
    A_Err (*AEGP_NewSolidFootage)(const A_char* name, A_long width, A_long height, const AEGP_ColorVal*,
                                  AEGP_FootageH*);
    A_Err (*AEGP_GetSolidFootageColor)(AEGP_ItemH, A_Boolean proxy, AEGP_ColorVal*);
    A_Err (*AEGP_SetSolidFootageColor)(AEGP_ItemH, A_Boolean proxy, const AEGP_ColorVal*);
    A_Err (*AEGP_SetSolidFootageDimensions)(AEGP_ItemH, A_Boolean proxy, A_long width, A_long height);
    A_Err (*AEGP_GetFootageSoundDataFormat)(AEGP_FootageH, AEGP_SoundDataFormat*);
    A_Err (*AEGP_GetFootageSequenceImportOptions)(AEGP_FootageH, AEGP_FileSequenceImportOptions*);
};
NIMBREL_SLOTS(AEGP_FootageSuite5, 21);
NIMBREL_SLOT(AEGP_FootageSuite5, 0, AEGP_GetMainFootageFromItem);
NIMBREL_SLOT(AEGP_FootageSuite5, 3, AEGP_GetFootagePath);
NIMBREL_SLOT(AEGP_FootageSuite5, 5, AEGP_NewFootage);
NIMBREL_SLOT(AEGP_FootageSuite5, 6, AEGP_AddFootageToProject);
NIMBREL_SLOT(AEGP_FootageSuite5, 9, AEGP_DisposeFootage);
NIMBREL_SLOT(AEGP_FootageSuite5, 20, AEGP_GetFootageSequenceImportOptions);

}  // extern "C"
