#pragma once

#include "HostInterface/AEGP.h"

// Streams: the properties of layers and effects. Version 2 differs in its narrow texts.

extern "C" {

#define kAEGPStreamSuite "AEGP Stream Suite"
#define kAEGPStreamSuiteVersion5 10

struct AEGP_StreamSuite5 {
    A_Err (*AEGP_IsStreamLegal)(AEGP_LayerH, A_long which_stream, A_Boolean* is_legal);
    A_Err (*AEGP_CanVaryOverTime)(AEGP_StreamRefH, A_Boolean* can_vary);
    A_Err (*AEGP_GetValidInterpolations)(AEGP_StreamRefH, A_long* valid_interpolations);
    A_Err (*AEGP_GetNewLayerStream)(AEGP_PluginID plugin_id, AEGP_LayerH, A_long which_stream, AEGP_StreamRefH*);
    A_Err (*AEGP_GetEffectNumParamStreams)(AEGP_EffectRefH, A_long* num_params);
    A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID plugin_id, AEGP_EffectRefH, A_long param_index,
                                            AEGP_StreamRefH*);
    A_Err (*AEGP_GetNewMaskStream)(AEGP_PluginID plugin_id, AEGP_MaskRefH, A_long which_stream, AEGP_StreamRefH*);
    A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH);
    A_Err (*AEGP_GetStreamName)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_Boolean force_english, AEGP_MemHandle*);
    A_Err (*AEGP_GetStreamUnitsText)(AEGP_StreamRefH, A_Boolean force_english, A_char* units);
    A_Err (*AEGP_GetStreamProperties)(AEGP_StreamRefH, A_long* flags, A_FpLong* min, A_FpLong* max);
    A_Err (*AEGP_IsStreamTimevarying)(AEGP_StreamRefH, A_Boolean* is_timevarying);
    A_Err (*AEGP_GetStreamType)(AEGP_StreamRefH, A_long* stream_type);
    A_Err (*AEGP_GetNewStreamValue)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_short time_mode, const A_Time*,
                                    A_Boolean pre_expression,
                                    AEGP_StreamValue2*);  // pre_expression 1 = value without the expression
    A_Err (*AEGP_DisposeStreamValue)(AEGP_StreamValue2*);
    A_Err (*AEGP_SetStreamValue)(AEGP_PluginID plugin_id, AEGP_StreamRefH,
                                 AEGP_StreamValue2*);  // only for a stream without keyframes
    A_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH, A_long which_stream, A_short time_mode, const A_Time*,
                                      A_Boolean pre_expression, AEGP_StreamVal2*, A_long* stream_type);
    A_Err (*AEGP_GetExpressionState)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_Boolean* enabled);
    A_Err (*AEGP_SetExpressionState)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_Boolean enabled);
    A_Err (*AEGP_GetExpression)(AEGP_PluginID plugin_id, AEGP_StreamRefH, AEGP_MemHandle*);
    A_Err (*AEGP_SetExpression)(AEGP_PluginID plugin_id, AEGP_StreamRefH, const A_UTF16Char* expression);
    A_Err (*AEGP_DuplicateStreamRef)(AEGP_PluginID plugin_id, AEGP_StreamRefH, AEGP_StreamRefH*);
};
NIMBREL_SLOTS(AEGP_StreamSuite5, 22);
NIMBREL_SLOT(AEGP_StreamSuite5, 3, AEGP_GetNewLayerStream);
NIMBREL_SLOT(AEGP_StreamSuite5, 5, AEGP_GetNewEffectStreamByIndex);
NIMBREL_SLOT(AEGP_StreamSuite5, 7, AEGP_DisposeStream);
NIMBREL_SLOT(AEGP_StreamSuite5, 8, AEGP_GetStreamName);
NIMBREL_SLOT(AEGP_StreamSuite5, 13, AEGP_GetNewStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite5, 14, AEGP_DisposeStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite5, 15, AEGP_SetStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite5, 16, AEGP_GetLayerStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite5, 18, AEGP_SetExpressionState);
NIMBREL_SLOT(AEGP_StreamSuite5, 20, AEGP_SetExpression);
NIMBREL_SLOT(AEGP_StreamSuite5, 21, AEGP_DuplicateStreamRef);

#define kAEGPStreamSuiteVersion2 7

struct AEGP_StreamSuite2 {
    A_Err (*AEGP_IsStreamLegal)(AEGP_LayerH, A_long which_stream, A_Boolean* is_legal);
    A_Err (*AEGP_CanVaryOverTime)(AEGP_StreamRefH, A_Boolean* can_vary);
    A_Err (*AEGP_GetValidInterpolations)(AEGP_StreamRefH, A_long* valid_interpolations);
    A_Err (*AEGP_GetNewLayerStream)(AEGP_PluginID plugin_id, AEGP_LayerH, A_long which_stream, AEGP_StreamRefH*);
    A_Err (*AEGP_GetEffectNumParamStreams)(AEGP_EffectRefH, A_long* num_params);
    A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID plugin_id, AEGP_EffectRefH, A_long param_index,
                                            AEGP_StreamRefH*);
    A_Err (*AEGP_GetNewMaskStream)(AEGP_PluginID plugin_id, AEGP_MaskRefH, A_long which_stream, AEGP_StreamRefH*);
    A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH);
    A_Err (*AEGP_GetStreamName)(AEGP_StreamRefH, A_Boolean force_english, A_char* name);
    A_Err (*AEGP_GetStreamUnitsText)(AEGP_StreamRefH, A_Boolean force_english, A_char* units);
    A_Err (*AEGP_GetStreamProperties)(AEGP_StreamRefH, A_long* flags, A_FpLong* min, A_FpLong* max);
    A_Err (*AEGP_IsStreamTimevarying)(AEGP_StreamRefH, A_Boolean* is_timevarying);
    A_Err (*AEGP_GetStreamType)(AEGP_StreamRefH, A_long* stream_type);
    A_Err (*AEGP_GetNewStreamValue)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_short time_mode, const A_Time*,
                                    A_Boolean pre_expression,
                                    AEGP_StreamValue*);  // pre_expression 1 = value without the expression
    A_Err (*AEGP_DisposeStreamValue)(AEGP_StreamValue*);
    A_Err (*AEGP_SetStreamValue)(AEGP_PluginID plugin_id, AEGP_StreamRefH,
                                 AEGP_StreamValue*);  // only for a stream without keyframes
    A_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH, A_long which_stream, A_short time_mode, const A_Time*,
                                      A_Boolean pre_expression, AEGP_StreamVal*, A_long* stream_type);
    A_Err (*AEGP_GetExpressionState)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_Boolean* enabled);
    A_Err (*AEGP_SetExpressionState)(AEGP_PluginID plugin_id, AEGP_StreamRefH, A_Boolean enabled);
    A_Err (*AEGP_GetExpression)(AEGP_PluginID plugin_id, AEGP_StreamRefH, AEGP_MemHandle*);
    A_Err (*AEGP_SetExpression)(AEGP_PluginID plugin_id, AEGP_StreamRefH, const A_char* expression);
    A_Err (*AEGP_DuplicateStreamRef)(AEGP_PluginID plugin_id, AEGP_StreamRefH, AEGP_StreamRefH*);
};
NIMBREL_SLOTS(AEGP_StreamSuite2, 22);
NIMBREL_SLOT(AEGP_StreamSuite2, 3, AEGP_GetNewLayerStream);
NIMBREL_SLOT(AEGP_StreamSuite2, 5, AEGP_GetNewEffectStreamByIndex);
NIMBREL_SLOT(AEGP_StreamSuite2, 7, AEGP_DisposeStream);
NIMBREL_SLOT(AEGP_StreamSuite2, 8, AEGP_GetStreamName);
NIMBREL_SLOT(AEGP_StreamSuite2, 13, AEGP_GetNewStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite2, 14, AEGP_DisposeStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite2, 15, AEGP_SetStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite2, 16, AEGP_GetLayerStreamValue);
NIMBREL_SLOT(AEGP_StreamSuite2, 18, AEGP_SetExpressionState);
NIMBREL_SLOT(AEGP_StreamSuite2, 20, AEGP_SetExpression);
NIMBREL_SLOT(AEGP_StreamSuite2, 21, AEGP_DuplicateStreamRef);

}  // extern "C"
