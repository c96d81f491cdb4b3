#pragma once

#include "HostInterface/Events.h"
#include "HostInterface/Parameters.h"

// The suites of effects: handles, worlds, application, parameters, custom controls, sequence data.

extern "C" {

#define kPFHandleSuite "PF Handle Suite"
#define kPFHandleSuiteVersion1 2

struct PF_HandleSuite1 {
    PF_Handle (*host_new_handle)(A_u_longlong size);
    void* (*host_lock_handle)(PF_Handle);
    void (*host_unlock_handle)(PF_Handle);
    void (*host_dispose_handle)(PF_Handle);
    A_u_longlong (*host_get_handle_size)(PF_Handle);
    PF_Err (*host_resize_handle)(A_u_longlong new_size, PF_Handle*);
};
NIMBREL_SLOTS(PF_HandleSuite1, 6);
NIMBREL_SLOT(PF_HandleSuite1, 0, host_new_handle);
NIMBREL_SLOT(PF_HandleSuite1, 1, host_lock_handle);
NIMBREL_SLOT(PF_HandleSuite1, 2, host_unlock_handle);
NIMBREL_SLOT(PF_HandleSuite1, 3, host_dispose_handle);
NIMBREL_SLOT(PF_HandleSuite1, 4, host_get_handle_size);
NIMBREL_SLOT(PF_HandleSuite1, 5, host_resize_handle);

#define kPFWorldSuite "PF World Suite"
#define kPFWorldSuiteVersion2 2

struct PF_WorldSuite2 {
    PF_Err (*PF_NewWorld)(PF_ProgPtr, A_long width, A_long height, PF_Boolean clear_pix, A_long pixel_format,
                          PF_EffectWorld*);
    PF_Err (*PF_DisposeWorld)(PF_ProgPtr, PF_EffectWorld*);
    PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld*, A_long* pixel_format);
};
NIMBREL_SLOTS(PF_WorldSuite2, 3);
NIMBREL_SLOT(PF_WorldSuite2, 2, PF_GetPixelFormat);

#define kPFAppSuite "PF AE App Suite"
#define kPFAppSuiteVersion6 1

struct PFAppSuite6 {
    PF_Err (*PF_AppGetBgColor)(PF_App_Color*);
    PF_Err (*PF_AppGetColor)(A_short color_type, PF_App_Color*);
    PF_Err (*PF_AppGetLanguage)(A_char* lang_tag);
    PF_Err (*PF_GetPersonalInfo)(PF_AppPersonalTextInfo*);
    PF_Err (*PF_GetFontStyleSheet)(A_long sheet, PF_FontName*, A_short* font_num, A_short* size, A_short* style);
    PF_Err (*PF_SetCursor)(A_long cursor);
    PF_Err (*PF_IsRenderEngine)(PF_Boolean* render_engine);
    PF_Err (*PF_AppColorPickerDialog)(const A_char* dialog_title, const PF_PixelFloat*,
                                      PF_Boolean use_ws_to_monitor_xform,
                                      PF_PixelFloat*);  // sample in, new out; 517 when cancelled
    PF_Err (*PF_GetMouse)(PF_Point*);
    PF_Err (*PF_InvalidateRect)(PF_ContextH, const PF_Rect*);
    PF_Err (*PF_ConvertLocalToGlobal)(const PF_Point*, PF_Point*);
    PF_Err (*PF_GetColorAtGlobalPoint)(const PF_Point*, A_short eyeSize, A_short mode, PF_PixelFloat*);
    PF_Err (*PF_CreateNewAppProgressDialog)(const A_UTF16Char* title, const A_UTF16Char* cancel_str,
                                            PF_Boolean indeterminate, PF_AppProgressDialogP*);
    PF_Err (*PF_AppProgressDialogUpdate)(PF_AppProgressDialogP, A_long count, A_long total);
    PF_Err (*PF_DisposeAppProgressDialog)(PF_AppProgressDialogP);
};
NIMBREL_SLOTS(PFAppSuite6, 15);
NIMBREL_SLOT(PFAppSuite6, 0, PF_AppGetBgColor);
NIMBREL_SLOT(PFAppSuite6, 1, PF_AppGetColor);
NIMBREL_SLOT(PFAppSuite6, 7, PF_AppColorPickerDialog);
NIMBREL_SLOT(PFAppSuite6, 14, PF_DisposeAppProgressDialog);

#define kPFParamUtilsSuite "PF Param Utils Suite"
#define kPFParamUtilsSuiteVersion3 3

struct PF_ParamUtilsSuite3 {
    PF_Err (*PF_UpdateParamUI)(PF_ProgPtr, A_long param_index, const PF_ParamDef*);  // pass a copy; never parameter 0
    PF_Err (*PF_GetCurrentState)(PF_ProgPtr, A_long param_index, const A_Time*, const A_Time*, PF_State*);
    PF_Err (*PF_AreStatesIdentical)(PF_ProgPtr, const PF_State*, const PF_State*, A_Boolean* same);
    PF_Err (*PF_IsIdenticalCheckout)(PF_ProgPtr, A_long param_index, A_long what_time1, A_long time_step1,
                                     A_u_long time_scale1, A_long what_time2, A_long time_step2, A_u_long time_scale2,
                                     PF_Boolean* identical);
    PF_Err (*PF_FindKeyframeTime)(PF_ProgPtr, A_long param_index, A_long what_time, A_u_long time_scale,
                                  A_long time_dir, PF_Boolean* found, A_long* key_index, A_long* key_time,
                                  A_u_long* key_timescale);
    PF_Err (*PF_GetKeyframeCount)(PF_ProgPtr, A_long param_index, A_long* key_count);
    PF_Err (*PF_CheckoutKeyframe)(PF_ProgPtr, A_long param_index, A_long key_index, A_long* key_time,
                                  A_u_long* key_timescale, PF_ParamDef*);
    PF_Err (*PF_CheckinKeyframe)(PF_ProgPtr, PF_ParamDef*);
    PF_Err (*PF_KeyIndexToTime)(PF_ProgPtr, A_long param_index, A_long key_index, A_long* key_time,
                                A_u_long* key_timescale);
};
NIMBREL_SLOTS(PF_ParamUtilsSuite3, 9);
NIMBREL_SLOT(PF_ParamUtilsSuite3, 0, PF_UpdateParamUI);
NIMBREL_SLOT(PF_ParamUtilsSuite3, 8, PF_KeyIndexToTime);

#define kPFEffectCustomUISuite "PF Effect Custom UI Suite"
#define kPFEffectCustomUISuiteVersion2 2

struct PF_EffectCustomUISuite2 {
    PF_Err (*PF_GetDrawingReference)(PF_ContextH, DRAWBOT_DrawRef*);
    PF_Err (*PF_GetContextAsyncManager)(PF_InData*, PF_EventExtra*, PF_AsyncManagerP*);
};
NIMBREL_SLOTS(PF_EffectCustomUISuite2, 2);
NIMBREL_SLOT(PF_EffectCustomUISuite2, 0, PF_GetDrawingReference);
NIMBREL_SLOT(PF_EffectCustomUISuite2, 1, PF_GetContextAsyncManager);

#define kPFEffectSequenceDataSuite "PF Effect Sequence Data Suite"
#define kPFEffectSequenceDataSuiteVersion1 1

struct PF_EffectSequenceDataSuite1 {
    PF_Err (*PF_GetConstSequenceData)(PF_ProgPtr, PF_ConstHandle*);
};
NIMBREL_SLOTS(PF_EffectSequenceDataSuite1, 1);
NIMBREL_SLOT(PF_EffectSequenceDataSuite1, 0, PF_GetConstSequenceData);

}  // extern "C"
