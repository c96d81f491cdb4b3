#pragma once

#include "HostInterface/AEGP.h"

// Compositions.

extern "C" {

#define kAEGPCompSuite "AEGP Comp Suite"
#define kAEGPCompSuiteVersion11 25

struct AEGP_CompSuite11 {
    A_Err (*AEGP_GetCompFromItem)(AEGP_ItemH, AEGP_CompH*);
    A_Err (*AEGP_GetItemFromComp)(AEGP_CompH, AEGP_ItemH*);
    A_Err (*AEGP_GetCompDownsampleFactor)(AEGP_CompH, AEGP_DownsampleFactor*);
    A_Err (*AEGP_SetCompDownsampleFactor)(AEGP_CompH, const AEGP_DownsampleFactor*);
    A_Err (*AEGP_GetCompBGColor)(AEGP_CompH, AEGP_ColorVal*);
    A_Err (*AEGP_SetCompBGColor)(AEGP_CompH, const AEGP_ColorVal*);
    A_Err (*AEGP_GetCompFlags)(AEGP_CompH, A_long* comp_flags);
    A_Err (*AEGP_GetShowLayerNameOrSourceName)(AEGP_CompH, A_Boolean* layer_names_shown);
    A_Err (*AEGP_SetShowLayerNameOrSourceName)(AEGP_CompH, A_Boolean show_layer_names);
    A_Err (*AEGP_GetShowBlendModes)(AEGP_CompH, A_Boolean* blend_modes_shown);
    A_Err (*AEGP_SetShowBlendModes)(AEGP_CompH, A_Boolean show_blend_modes);
    A_Err (*AEGP_GetCompFramerate)(AEGP_CompH, A_FpLong* fps);
    A_Err (*AEGP_SetCompFrameRate)(AEGP_CompH, const A_FpLong* fps);
    A_Err (*AEGP_GetCompShutterAnglePhase)(AEGP_CompH, A_Ratio*, A_Ratio*);
    A_Err (*AEGP_GetCompShutterFrameRange)(AEGP_CompH, const A_Time*, A_Time*, A_Time*);
    A_Err (*AEGP_GetCompSuggestedMotionBlurSamples)(AEGP_CompH, A_long* samples);
    A_Err (*AEGP_SetCompSuggestedMotionBlurSamples)(AEGP_CompH, A_long samples);
    A_Err (*AEGP_GetCompMotionBlurAdaptiveSampleLimit)(AEGP_CompH, A_long* samples);
    A_Err (*AEGP_SetCompMotionBlurAdaptiveSampleLimit)(AEGP_CompH, A_long samples);
    A_Err (*AEGP_GetCompWorkAreaStart)(AEGP_CompH, A_Time*);
    A_Err (*AEGP_GetCompWorkAreaDuration)(AEGP_CompH, A_Time*);
    A_Err (*AEGP_SetCompWorkAreaStartAndDuration)(AEGP_CompH, const A_Time*, const A_Time*);
    A_Err (*AEGP_CreateSolidInComp)(const A_UTF16Char* utf_name, A_long width, A_long height, const AEGP_ColorVal*,
                                    AEGP_CompH, const A_Time*, AEGP_LayerH*);
    A_Err (*AEGP_CreateCameraInComp)(const A_UTF16Char* utf_name, A_FloatPoint, AEGP_CompH, AEGP_LayerH*);
    A_Err (*AEGP_CreateLightInComp)(const A_UTF16Char* utf_name, A_FloatPoint, AEGP_CompH, AEGP_LayerH*);
    A_Err (*AEGP_CreateComp)(AEGP_ItemH, const A_UTF16Char* utf_name, A_long width, A_long height, const A_Ratio*,
                             const A_Time*, const A_Ratio*, AEGP_CompH*);
    A_Err (*AEGP_GetNewCollectionFromCompSelection)(AEGP_PluginID plugin_id, AEGP_CompH, AEGP_Collection2H*);
    A_Err (*AEGP_SetSelection)(AEGP_CompH, AEGP_Collection2H);
    A_Err (*AEGP_GetCompDisplayStartTime)(AEGP_CompH, A_Time*);
    A_Err (*AEGP_SetCompDisplayStartTime)(AEGP_CompH, const A_Time*);
    A_Err (*AEGP_SetCompDuration)(AEGP_CompH, const A_Time*);
    A_Err (*AEGP_CreateNullInComp)(const A_UTF16Char* utf_name, AEGP_CompH, const A_Time*,
                                   AEGP_LayerH*);  // null duration = the host's preference for stills
    A_Err (*AEGP_SetCompPixelAspectRatio)(AEGP_CompH, const A_Ratio*);
    A_Err (*AEGP_CreateTextLayerInComp)(AEGP_CompH, A_Boolean select_new_layer, AEGP_LayerH*);
    A_Err (*AEGP_CreateBoxTextLayerInComp)(AEGP_CompH, A_Boolean select_new_layer, A_FloatPoint, AEGP_LayerH*);
    A_Err (*AEGP_SetCompDimensions)(AEGP_CompH, A_long width, A_long height);
    A_Err (*AEGP_DuplicateComp)(AEGP_CompH, AEGP_CompH*);
    A_Err (*AEGP_GetCompFrameDuration)(AEGP_CompH, A_Time*);
    A_Err (*AEGP_GetMostRecentlyUsedComp)(AEGP_CompH*);
    A_Err (*AEGP_CreateVectorLayerInComp)(AEGP_CompH, AEGP_LayerH*);
    A_Err (*AEGP_GetNewCompMarkerStream)(AEGP_PluginID plugin_id, AEGP_CompH, AEGP_StreamRefH*);
    A_Err (*AEGP_GetCompDisplayDropFrame)(AEGP_CompH, A_Boolean* dropFrame);
    A_Err (*AEGP_SetCompDisplayDropFrame)(AEGP_CompH, A_Boolean dropFrame);
    A_Err (*AEGP_ReorderCompSelection)(AEGP_CompH, A_long index);
};
NIMBREL_SLOTS(AEGP_CompSuite11, 44);
NIMBREL_SLOT(AEGP_CompSuite11, 31, AEGP_CreateNullInComp);
NIMBREL_SLOT(AEGP_CompSuite11, 43, AEGP_ReorderCompSelection);

}  // extern "C"
