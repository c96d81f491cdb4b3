#pragma once

#include "HostInterface/AEGP.h"

// Registration, undo groups, scripts. The three versions hold the same functions in different slots.

extern "C" {

#define kAEGPUtilitySuite "AEGP Utility Suite"
#define kAEGPUtilitySuiteVersion6 13

struct AEGP_UtilitySuite6 {
    A_Err (*AEGP_ReportInfo)(AEGP_PluginID plugin_id, const A_char* info_string);
    A_Err (*AEGP_ReportInfoUnicode)(AEGP_PluginID plugin_id, const A_UTF16Char* info_string);
    A_Err (*AEGP_GetDriverPluginInitFuncVersion)(A_short* major_version, A_short* minor_version);
    A_Err (*AEGP_GetDriverImplementationVersion)(A_short* major_version, A_short* minor_version);
    A_Err (*AEGP_StartQuietErrors)(AEGP_ErrReportState*);
    A_Err (*AEGP_EndQuietErrors)(A_Boolean report_quieted_errors, AEGP_ErrReportState*);
    A_Err (*AEGP_GetLastErrorMessage)(A_long buffer_size, A_char* error_string, A_long* error_num);
    A_Err (*AEGP_StartUndoGroup)(const A_char* undo_name);
    A_Err (*AEGP_EndUndoGroup)();
    A_Err (*AEGP_RegisterWithAEGP)(AEGP_GlobalRefcon, const A_char* plugin_name,
                                   A_long* plugin_id);  // name at most 31 characters
    A_Err (*AEGP_GetMainHWND)(void*);
    A_Err (*AEGP_ShowHideAllFloaters)(A_Boolean include_tool_pal);
    A_Err (*AEGP_PaintPalGetForeColor)(AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalGetBackColor)(AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalSetForeColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalSetBackColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalGetFillColor)(A_Boolean* is_fill_color_defined, AEGP_ColorVal*);
    A_Err (*AEGP_CharPalGetStrokeColor)(A_Boolean* is_stroke_color_defined, AEGP_ColorVal*);
    A_Err (*AEGP_CharPalSetFillColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalSetStrokeColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalIsFillColorUIFrontmost)(A_Boolean* is_fill_color_selected);
    A_Err (*AEGP_ConvertFpLongToHSFRatio)(A_FpLong number, A_Ratio*);
    A_Err (*AEGP_ConvertHSFRatioToFpLong)(A_Ratio, A_FpLong* number);
    A_Err (*AEGP_CauseIdleRoutinesToBeCalled)();
    A_Err (*AEGP_GetSuppressInteractiveUI)(A_Boolean* ui_is_suppressed);
    A_Err (*AEGP_WriteToOSConsole)(const A_char* text);
    A_Err (*AEGP_WriteToDebugLog)(const A_char* subsystem, const A_char* event_type, const A_char* info);
    A_Err (*AEGP_IsScriptingAvailable)(A_Boolean* available);
    A_Err (*AEGP_ExecuteScript)(
        AEGP_PluginID plugin_id, const A_char* script, A_Boolean platform_encoding, AEGP_MemHandle*,
        AEGP_MemHandle*);  // platform_encoding 0 = UTF-8; result, error: both optional, free them
    A_Err (*AEGP_HostIsActivated)(A_Boolean* is_activated);
    A_Err (*AEGP_GetPluginPlatformRef)(AEGP_PluginID plugin_id, void**);
    A_Err (*AEGP_UpdateFontList)();
    A_Err (*AEGP_GetPluginPaths)(AEGP_PluginID plugin_id, A_u_long path_type, AEGP_MemHandle*);
};
NIMBREL_SLOTS(AEGP_UtilitySuite6, 33);
NIMBREL_SLOT(AEGP_UtilitySuite6, 7, AEGP_StartUndoGroup);
NIMBREL_SLOT(AEGP_UtilitySuite6, 8, AEGP_EndUndoGroup);
NIMBREL_SLOT(AEGP_UtilitySuite6, 9, AEGP_RegisterWithAEGP);
NIMBREL_SLOT(AEGP_UtilitySuite6, 27, AEGP_IsScriptingAvailable);
NIMBREL_SLOT(AEGP_UtilitySuite6, 28, AEGP_ExecuteScript);
NIMBREL_SLOT(AEGP_UtilitySuite6, 32, AEGP_GetPluginPaths);

#define kAEGPUtilitySuiteVersion5 11

struct AEGP_UtilitySuite5 {
    A_Err (*AEGP_ReportInfo)(AEGP_PluginID plugin_id, const A_char* info_string);
    A_Err (*AEGP_GetDriverPluginInitFuncVersion)(A_short* major_version, A_short* minor_version);
    A_Err (*AEGP_GetDriverImplementationVersion)(A_short* major_version, A_short* minor_version);
    A_Err (*AEGP_StartQuietErrors)(AEGP_ErrReportState*);
    A_Err (*AEGP_EndQuietErrors)(A_Boolean report_quieted_errors, AEGP_ErrReportState*);
    A_Err (*AEGP_GetLastErrorMessage)(A_long buffer_size, A_char* error_string, A_long* error_num);
    A_Err (*AEGP_StartUndoGroup)(const A_char* undo_name);
    A_Err (*AEGP_EndUndoGroup)();
    A_Err (*AEGP_RegisterWithAEGP)(AEGP_GlobalRefcon, const A_char* plugin_name,
                                   A_long* plugin_id);  // name at most 31 characters
    A_Err (*AEGP_GetMainHWND)(void*);
    A_Err (*AEGP_ShowHideAllFloaters)(A_Boolean include_tool_pal);
    A_Err (*AEGP_PaintPalGetForeColor)(AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalGetBackColor)(AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalSetForeColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalSetBackColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalGetFillColor)(A_Boolean* is_fill_color_defined, AEGP_ColorVal*);
    A_Err (*AEGP_CharPalGetStrokeColor)(A_Boolean* is_stroke_color_defined, AEGP_ColorVal*);
    A_Err (*AEGP_CharPalSetFillColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalSetStrokeColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalIsFillColorUIFrontmost)(A_Boolean* is_fill_color_selected);
    A_Err (*AEGP_ConvertFpLongToHSFRatio)(A_FpLong number, A_Ratio*);
    A_Err (*AEGP_ConvertHSFRatioToFpLong)(A_Ratio, A_FpLong* number);
    A_Err (*AEGP_CauseIdleRoutinesToBeCalled)();
    A_Err (*AEGP_GetSuppressInteractiveUI)(A_Boolean* ui_is_suppressed);
    A_Err (*AEGP_WriteToOSConsole)(const A_char* text);
    A_Err (*AEGP_WriteToDebugLog)(const A_char* subsystem, const A_char* event_type, const A_char* info);
    A_Err (*AEGP_IsScriptingAvailable)(A_Boolean* available);
    A_Err (*AEGP_ExecuteScript)(
        AEGP_PluginID plugin_id, const A_char* script, A_Boolean platform_encoding, AEGP_MemHandle*,
        AEGP_MemHandle*);  // platform_encoding 0 = UTF-8; result, error: both optional, free them
    A_Err (*AEGP_HostIsActivated)(A_Boolean* is_activated);
    A_Err (*AEGP_GetPluginPlatformRef)(AEGP_PluginID plugin_id, void**);
    A_Err (*AEGP_UpdateFontList)();
};
NIMBREL_SLOTS(AEGP_UtilitySuite5, 31);
NIMBREL_SLOT(AEGP_UtilitySuite5, 6, AEGP_StartUndoGroup);
NIMBREL_SLOT(AEGP_UtilitySuite5, 7, AEGP_EndUndoGroup);
NIMBREL_SLOT(AEGP_UtilitySuite5, 8, AEGP_RegisterWithAEGP);
NIMBREL_SLOT(AEGP_UtilitySuite5, 26, AEGP_IsScriptingAvailable);
NIMBREL_SLOT(AEGP_UtilitySuite5, 27, AEGP_ExecuteScript);
NIMBREL_SLOT(AEGP_UtilitySuite5, 30, AEGP_UpdateFontList);

#define kAEGPUtilitySuiteVersion3 7

struct AEGP_UtilitySuite3 {
    A_Err (*AEGP_ReportInfo)(AEGP_PluginID plugin_id, const A_char* info_string);
    A_Err (*AEGP_GetDriverPluginInitFuncVersion)(A_short* major_version, A_short* minor_version);
    A_Err (*AEGP_GetDriverImplementationVersion)(A_short* major_version, A_short* minor_version);
    A_Err (*AEGP_StartQuietErrors)(AEGP_ErrReportState*);
    A_Err (*AEGP_EndQuietErrors)(A_Boolean report_quieted_errors, AEGP_ErrReportState*);
    A_Err (*AEGP_StartUndoGroup)(const A_char* undo_name);
    A_Err (*AEGP_EndUndoGroup)();
    A_Err (*AEGP_RegisterWithAEGP)(AEGP_GlobalRefcon, const A_char* plugin_name,
                                   A_long* plugin_id);  // name at most 31 characters
    A_Err (*AEGP_GetMainHWND)(void*);
    A_Err (*AEGP_ShowHideAllFloaters)(A_Boolean include_tool_pal);
    A_Err (*AEGP_PaintPalGetForeColor)(AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalGetBackColor)(AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalSetForeColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_PaintPalSetBackColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalGetFillColor)(A_Boolean* is_fill_color_defined, AEGP_ColorVal*);
    A_Err (*AEGP_CharPalGetStrokeColor)(A_Boolean* is_stroke_color_defined, AEGP_ColorVal*);
    A_Err (*AEGP_CharPalSetFillColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalSetStrokeColor)(const AEGP_ColorVal*);
    A_Err (*AEGP_CharPalIsFillColorUIFrontmost)(A_Boolean* is_fill_color_selected);
    A_Err (*AEGP_ConvertFpLongToHSFRatio)(A_FpLong number, A_Ratio*);
    A_Err (*AEGP_ConvertHSFRatioToFpLong)(A_Ratio, A_FpLong* number);
    A_Err (*AEGP_CauseIdleRoutinesToBeCalled)();
    A_Err (*AEGP_GetSuppressInteractiveUI)(A_Boolean* ui_is_suppressed);
    A_Err (*AEGP_WriteToOSConsole)(const A_char* text);
    A_Err (*AEGP_WriteToDebugLog)(const A_char* subsystem, const A_char* event_type, const A_char* info);
};
NIMBREL_SLOTS(AEGP_UtilitySuite3, 25);
NIMBREL_SLOT(AEGP_UtilitySuite3, 5, AEGP_StartUndoGroup);
NIMBREL_SLOT(AEGP_UtilitySuite3, 6, AEGP_EndUndoGroup);
NIMBREL_SLOT(AEGP_UtilitySuite3, 7, AEGP_RegisterWithAEGP);
NIMBREL_SLOT(AEGP_UtilitySuite3, 24, AEGP_WriteToDebugLog);

}  // extern "C"
