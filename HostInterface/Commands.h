#pragma once

#include "HostInterface/Types.h"

// Commands to an effect, results and the flags by which an effect describes itself.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_Cmd = A_long;
enum : PF_Cmd {
    PF_Cmd_ABOUT = 0,
    PF_Cmd_GLOBAL_SETUP = 1,
    PF_Cmd_GLOBAL_SETDOWN = 3,
    PF_Cmd_PARAMS_SETUP = 4,
    PF_Cmd_SEQUENCE_SETUP = 5,
    PF_Cmd_SEQUENCE_RESETUP = 6,
    PF_Cmd_SEQUENCE_FLATTEN = 7,
    PF_Cmd_SEQUENCE_SETDOWN = 8,
    PF_Cmd_DO_DIALOG = 9,
    PF_Cmd_FRAME_SETUP = 10,
    PF_Cmd_RENDER = 11,
    PF_Cmd_FRAME_SETDOWN = 12,
    PF_Cmd_USER_CHANGED_PARAM = 13,
    PF_Cmd_UPDATE_PARAMS_UI = 14,
    PF_Cmd_EVENT = 15,
    PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16,
    PF_Cmd_COMPLETELY_GENERAL = 17,
    PF_Cmd_QUERY_DYNAMIC_FLAGS = 18,
    PF_Cmd_AUDIO_RENDER = 19,
    PF_Cmd_AUDIO_SETUP = 20,
    PF_Cmd_AUDIO_SETDOWN = 21,
    PF_Cmd_ARBITRARY_CALLBACK = 22,
    PF_Cmd_SMART_PRE_RENDER = 23,
    PF_Cmd_SMART_RENDER = 24,
    PF_Cmd_GET_FLATTENED_SEQUENCE_DATA = 28,
    PF_Cmd_TRANSLATE_PARAMS_TO_PREFS = 29,
    PF_Cmd_SMART_RENDER_GPU = 31,
    PF_Cmd_GPU_DEVICE_SETUP = 32,
    PF_Cmd_GPU_DEVICE_SETDOWN = 33,
};

// Results of effect calls.
enum : A_long {
    PF_Err_NONE = 0,
    PF_Err_OUT_OF_MEMORY = 4,
    PF_Err_INTERNAL_STRUCT_DAMAGED = 512,
    PF_Err_INVALID_INDEX = 513,
    PF_Err_UNRECOGNIZED_PARAM_TYPE = 514,
    PF_Err_INVALID_CALLBACK = 515,
    PF_Err_BAD_CALLBACK_PARAM = 516,
    PF_Interrupt_CANCEL = 517,
    PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518,
};

// Results of the AEGP suites and of the compute cache.
enum : A_long {
    A_Err_NONE = 0,
    A_Err_GENERIC = 1,
    A_Err_STRUCT = 2,
    A_Err_PARAMETER = 3,
    A_Err_ALLOC = 4,
    A_Err_WRONG_THREAD = 5,
    A_Err_CONST_PROJECT_MODIFICATION = 6,
    A_Err_MISSING_SUITE = 13,
    A_Err_NOT_IN_CACHE_OR_COMPUTE_PENDING = 22,
    A_Err_PROJECT_LOAD_FATAL = 23,
    A_Err_EFFECT_APPLY_FATAL = 24,
};

using PF_OutFlags = A_long;
enum : PF_OutFlags {
    PF_OutFlag_NONE = 0,
    PF_OutFlag_KEEP_RESOURCE_OPEN = 1 << 0,
    PF_OutFlag_WIDE_TIME_INPUT = 1 << 1,
    PF_OutFlag_NON_PARAM_VARY = 1 << 2,
    PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 1 << 4,
    PF_OutFlag_I_DO_DIALOG = 1 << 5,
    PF_OutFlag_USE_OUTPUT_EXTENT = 1 << 6,
    PF_OutFlag_SEND_DO_DIALOG = 1 << 7,
    PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1 << 8,
    PF_OutFlag_I_EXPAND_BUFFER = 1 << 9,
    PF_OutFlag_PIX_INDEPENDENT = 1 << 10,
    PF_OutFlag_I_WRITE_INPUT_BUFFER = 1 << 11,
    PF_OutFlag_I_SHRINK_BUFFER = 1 << 12,
    PF_OutFlag_WORKS_IN_PLACE = 1 << 13,
    PF_OutFlag_CUSTOM_UI = 1 << 15,
    PF_OutFlag_REFRESH_UI = 1 << 17,
    PF_OutFlag_NOP_RENDER = 1 << 18,
    PF_OutFlag_I_USE_SHUTTER_ANGLE = 1 << 19,
    PF_OutFlag_I_USE_AUDIO = 1 << 20,
    PF_OutFlag_I_AM_OBSOLETE = 1 << 21,
    PF_OutFlag_FORCE_RERENDER = 1 << 22,
    PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 1 << 23,
    PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 1 << 24,
    PF_OutFlag_DEEP_COLOR_AWARE = 1 << 25,
    PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1 << 26,
};

using PF_OutFlags2 = A_long;
enum : PF_OutFlags2 {
    PF_OutFlag2_NONE = 0,
    PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 1 << 0,
    PF_OutFlag2_I_USE_3D_CAMERA = 1 << 1,
    PF_OutFlag2_I_USE_3D_LIGHTS = 1 << 2,
    PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1 << 3,
    PF_OutFlag2_I_AM_THREADSAFE = 1 << 4,
    PF_OutFlag2_DOESNT_NEED_EMPTY_PIXELS = 1 << 6,
    PF_OutFlag2_REVEALS_ZERO_ALPHA = 1 << 7,
    PF_OutFlag2_PRESERVES_FULLY_OPAQUE_PIXELS = 1 << 8,
    PF_OutFlag2_SUPPORTS_SMART_RENDER = 1 << 10,
    PF_OutFlag2_FLOAT_COLOR_AWARE = 1 << 12,
    PF_OutFlag2_I_USE_COLORSPACE_ENUMERATION = 1 << 13,
    PF_OutFlag2_I_AM_DEPRECATED = 1 << 14,
    PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 1 << 17,
    PF_OutFlag2_I_USE_TIMECODE = 1 << 18,
    PF_OutFlag2_DEPENDS_ON_UNREFERENCED_MASKS = 1 << 19,
    PF_OutFlag2_OUTPUT_IS_WATERMARKED = 1 << 20,
    PF_OutFlag2_I_MIX_GUID_DEPENDENCIES = 1 << 21,
    PF_OutFlag2_AE13_5_THREADSAFE = 1 << 22,
    PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA = 1 << 23,
    PF_OutFlag2_CUSTOM_UI_ASYNC_MANAGER = 1 << 24,
    PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 = 1 << 25,
    PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1 << 27,
    PF_OutFlag2_MUTABLE_RENDER_SEQUENCE_DATA_SLOWER = 1 << 28,
};

// Stage in the version word.
enum : A_long {
    PF_Stage_DEVELOP = 0,
    PF_Stage_ALPHA = 1,
    PF_Stage_BETA = 2,
    PF_Stage_RELEASE = 3,
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
