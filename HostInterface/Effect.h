#pragma once

#include "HostInterface/Commands.h"
#include "HostInterface/Parameters.h"

// The two data records of every command and the callbacks that come with them.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

// Slots that an effect of this tree never calls are declared without their arguments.
using NimbrelUnusedCallback = void (*)();

struct PF_InData;
struct SPBasicSuite;

struct PF_CustomUIInfo;

struct PF_InteractCallbacks {
    PF_Err (*checkout_param)(PF_ProgPtr, PF_ParamIndex index, A_long what_time, A_long time_step, A_u_long time_scale,
                             PF_ParamDef*);
    PF_Err (*checkin_param)(PF_ProgPtr, PF_ParamDef*);
    PF_Err (*add_param)(PF_ProgPtr, PF_ParamIndex index, PF_ParamDef*);  // index -1 appends
    PF_Err (*abort)(PF_ProgPtr);
    PF_Err (*progress)(PF_ProgPtr, A_long current, A_long total);
    PF_Err (*register_ui)(PF_ProgPtr, PF_CustomUIInfo*);
    NimbrelUnusedCallback checkout_layer_audio;
    NimbrelUnusedCallback checkin_layer_audio;
    NimbrelUnusedCallback get_audio_data;
    void* reserved_str[3];
    void* reserved[10];
};
NIMBREL_LAYOUT(PF_InteractCallbacks, 176, 8);
NIMBREL_OFFSET(PF_InteractCallbacks, checkin_param, 8);
NIMBREL_OFFSET(PF_InteractCallbacks, add_param, 16);
NIMBREL_OFFSET(PF_InteractCallbacks, abort, 24);
NIMBREL_OFFSET(PF_InteractCallbacks, progress, 32);
NIMBREL_OFFSET(PF_InteractCallbacks, register_ui, 40);
NIMBREL_OFFSET(PF_InteractCallbacks, checkout_layer_audio, 48);
NIMBREL_OFFSET(PF_InteractCallbacks, get_audio_data, 64);
NIMBREL_OFFSET(PF_InteractCallbacks, reserved_str, 72);
NIMBREL_OFFSET(PF_InteractCallbacks, reserved, 96);

struct PF_ANSICallbacks {
    A_FpLong (*atan)(A_FpLong);
    A_FpLong (*atan2)(A_FpLong y, A_FpLong x);
    A_FpLong (*ceil)(A_FpLong);
    A_FpLong (*cos)(A_FpLong);
    A_FpLong (*exp)(A_FpLong);
    A_FpLong (*fabs)(A_FpLong);
    A_FpLong (*floor)(A_FpLong);
    A_FpLong (*fmod)(A_FpLong x, A_FpLong y);
    A_FpLong (*hypot)(A_FpLong x, A_FpLong y);
    A_FpLong (*log)(A_FpLong);
    A_FpLong (*log10)(A_FpLong);
    A_FpLong (*pow)(A_FpLong x, A_FpLong y);
    A_FpLong (*sin)(A_FpLong);
    A_FpLong (*sqrt)(A_FpLong);
    A_FpLong (*tan)(A_FpLong);
    int (*sprintf)(A_char* to, const A_char* format, ...);
    A_char* (*strcpy)(A_char* to, const A_char* from);
    A_FpLong (*asin)(A_FpLong);
    A_FpLong (*acos)(A_FpLong);
    A_long ansi_procs[1];
};
NIMBREL_LAYOUT(PF_ANSICallbacks, 160, 8);
NIMBREL_OFFSET(PF_ANSICallbacks, sprintf, 120);
NIMBREL_OFFSET(PF_ANSICallbacks, strcpy, 128);

struct PF_ColorCallbacks {
    NimbrelUnusedCallback RGBtoHLS, HLStoRGB, RGBtoYIQ, YIQtoRGB, Luminance, Hue, Lightness, Saturation;
};
NIMBREL_SLOTS(PF_ColorCallbacks, 8);

struct PF_UtilCallbacks {
    NimbrelUnusedCallback begin_sampling, subpixel_sample, area_sample;
    void* get_batch_func_is_deprecated;
    NimbrelUnusedCallback end_sampling, composite_rect, blend, convolve, copy, fill, gaussian_kernel, iterate,
        premultiply;
    NimbrelUnusedCallback premultiply_color, new_world, dispose_world, iterate_origin, iterate_lut, transfer_rect;
    NimbrelUnusedCallback transform_world;
    PF_Handle (*host_new_handle)(A_u_longlong size);
    void* (*host_lock_handle)(PF_Handle);
    void (*host_unlock_handle)(PF_Handle);
    void (*host_dispose_handle)(PF_Handle);
    NimbrelUnusedCallback get_callback_addr, app;
    PF_ANSICallbacks ansi;
    PF_ColorCallbacks colorCB;
    NimbrelUnusedCallback get_platform_data;
    A_u_longlong (*host_get_handle_size)(PF_Handle);
    NimbrelUnusedCallback iterate_origin_non_clip_src, iterate_generic;
    PF_Err (*host_resize_handle)(A_u_longlong new_size, PF_Handle*);
    NimbrelUnusedCallback subpixel_sample16, area_sample16, fill16, premultiply_color16, iterate16, iterate_origin16;
    NimbrelUnusedCallback iterate_origin_non_clip_src16, get_pixel_data8, get_pixel_data16;
    A_long reserved[1];
};
NIMBREL_LAYOUT(PF_UtilCallbacks, 552, 8);
NIMBREL_OFFSET(PF_UtilCallbacks, host_new_handle, 160);
NIMBREL_OFFSET(PF_UtilCallbacks, host_lock_handle, 168);
NIMBREL_OFFSET(PF_UtilCallbacks, host_unlock_handle, 176);
NIMBREL_OFFSET(PF_UtilCallbacks, host_dispose_handle, 184);
NIMBREL_OFFSET(PF_UtilCallbacks, get_callback_addr, 192);
NIMBREL_OFFSET(PF_UtilCallbacks, app, 200);
NIMBREL_OFFSET(PF_UtilCallbacks, ansi, 208);
NIMBREL_OFFSET(PF_UtilCallbacks, ansi.sprintf, 328);
NIMBREL_OFFSET(PF_UtilCallbacks, ansi.strcpy, 336);
NIMBREL_OFFSET(PF_UtilCallbacks, colorCB, 368);
NIMBREL_OFFSET(PF_UtilCallbacks, get_platform_data, 432);
NIMBREL_OFFSET(PF_UtilCallbacks, host_get_handle_size, 440);
NIMBREL_OFFSET(PF_UtilCallbacks, host_resize_handle, 464);
NIMBREL_OFFSET(PF_UtilCallbacks, get_pixel_data8, 528);
NIMBREL_OFFSET(PF_UtilCallbacks, get_pixel_data16, 536);
NIMBREL_OFFSET(PF_UtilCallbacks, reserved, 544);

struct PF_SoundFormatInfo {
    PF_FpLong rateF;
    A_short num_channels;
    A_short format;
    A_short sample_size;
};
NIMBREL_LAYOUT(PF_SoundFormatInfo, 16, 8);
NIMBREL_OFFSET(PF_SoundFormatInfo, num_channels, 8);
NIMBREL_OFFSET(PF_SoundFormatInfo, format, 10);
NIMBREL_OFFSET(PF_SoundFormatInfo, sample_size, 12);

struct PF_SoundWorld {
    PF_SoundFormatInfo fi;
    A_long num_samples;
    void* dataP;
};
NIMBREL_LAYOUT(PF_SoundWorld, 32, 8);
NIMBREL_OFFSET(PF_SoundWorld, num_samples, 16);
NIMBREL_OFFSET(PF_SoundWorld, dataP, 24);

struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;
    A_long quality;
    PF_SpecVersion version;
    A_long serial_num;
    A_long appl_id;  // four characters as a big-endian number
    A_long num_params;
    A_long reserved;
    A_long what_cpu;
    A_long what_fpu;
    A_long current_time;  // layer time in units of 1 / time_scale second, as the next three
    A_long time_step;
    A_long total_time;
    A_long local_time_step;
    A_u_long time_scale;
    PF_Field field;
    PF_Fixed shutter_angle;
    A_long width;  // the layer at full resolution
    A_long height;
    PF_Rect extent_hint;
    A_long output_origin_x;
    A_long output_origin_y;
    PF_RationalScale downsample_x;
    PF_RationalScale downsample_y;
    PF_RationalScale pixel_aspect_ratio;
    A_long in_flags;
    PF_Handle global_data;
    PF_Handle sequence_data;
    PF_Handle frame_data;
    A_long start_sampL;
    A_long dur_sampL;
    A_long total_sampL;
    PF_SoundWorld src_snd;
    SPBasicSuite* pica_basicP;
    A_long pre_effect_source_origin_x;
    A_long pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};
NIMBREL_LAYOUT(PF_InData, 408, 8);
NIMBREL_OFFSET(PF_InData, utils, 176);
NIMBREL_OFFSET(PF_InData, effect_ref, 184);
NIMBREL_OFFSET(PF_InData, quality, 192);
NIMBREL_OFFSET(PF_InData, version, 196);
NIMBREL_OFFSET(PF_InData, serial_num, 200);
NIMBREL_OFFSET(PF_InData, appl_id, 204);
NIMBREL_OFFSET(PF_InData, num_params, 208);
NIMBREL_OFFSET(PF_InData, reserved, 212);
NIMBREL_OFFSET(PF_InData, what_cpu, 216);
NIMBREL_OFFSET(PF_InData, what_fpu, 220);
NIMBREL_OFFSET(PF_InData, current_time, 224);
NIMBREL_OFFSET(PF_InData, time_step, 228);
NIMBREL_OFFSET(PF_InData, total_time, 232);
NIMBREL_OFFSET(PF_InData, local_time_step, 236);
NIMBREL_OFFSET(PF_InData, time_scale, 240);
NIMBREL_OFFSET(PF_InData, field, 244);
NIMBREL_OFFSET(PF_InData, shutter_angle, 248);
NIMBREL_OFFSET(PF_InData, width, 252);
NIMBREL_OFFSET(PF_InData, height, 256);
NIMBREL_OFFSET(PF_InData, extent_hint, 260);
NIMBREL_OFFSET(PF_InData, output_origin_x, 276);
NIMBREL_OFFSET(PF_InData, output_origin_y, 280);
NIMBREL_OFFSET(PF_InData, downsample_x, 284);
NIMBREL_OFFSET(PF_InData, downsample_y, 292);
NIMBREL_OFFSET(PF_InData, pixel_aspect_ratio, 300);
NIMBREL_OFFSET(PF_InData, in_flags, 308);
NIMBREL_OFFSET(PF_InData, global_data, 312);
NIMBREL_OFFSET(PF_InData, sequence_data, 320);
NIMBREL_OFFSET(PF_InData, frame_data, 328);
NIMBREL_OFFSET(PF_InData, start_sampL, 336);
NIMBREL_OFFSET(PF_InData, dur_sampL, 340);
NIMBREL_OFFSET(PF_InData, total_sampL, 344);
NIMBREL_OFFSET(PF_InData, src_snd, 352);
NIMBREL_OFFSET(PF_InData, pica_basicP, 384);
NIMBREL_OFFSET(PF_InData, pre_effect_source_origin_x, 392);
NIMBREL_OFFSET(PF_InData, pre_effect_source_origin_y, 396);
NIMBREL_OFFSET(PF_InData, shutter_phase, 400);

struct PF_OutData {
    A_u_long my_version;
    A_char name[32];
    PF_Handle global_data;
    A_long num_params;  // counts the input layer
    PF_Handle sequence_data;
    A_long flat_sdata_size;
    PF_Handle frame_data;
    A_long width;
    A_long height;
    PF_Point origin;
    PF_OutFlags out_flags;
    A_char return_msg[256];
    A_long start_sampL;
    A_long dur_sampL;
    PF_SoundWorld dest_snd;
    PF_OutFlags2 out_flags2;
};
NIMBREL_LAYOUT(PF_OutData, 408, 8);
NIMBREL_OFFSET(PF_OutData, name, 4);
NIMBREL_OFFSET(PF_OutData, global_data, 40);
NIMBREL_OFFSET(PF_OutData, num_params, 48);
NIMBREL_OFFSET(PF_OutData, sequence_data, 56);
NIMBREL_OFFSET(PF_OutData, flat_sdata_size, 64);
NIMBREL_OFFSET(PF_OutData, frame_data, 72);
NIMBREL_OFFSET(PF_OutData, width, 80);
NIMBREL_OFFSET(PF_OutData, height, 84);
NIMBREL_OFFSET(PF_OutData, origin, 88);
NIMBREL_OFFSET(PF_OutData, out_flags, 96);
NIMBREL_OFFSET(PF_OutData, return_msg, 100);
NIMBREL_OFFSET(PF_OutData, start_sampL, 356);
NIMBREL_OFFSET(PF_OutData, dur_sampL, 360);
NIMBREL_OFFSET(PF_OutData, dest_snd, 368);
NIMBREL_OFFSET(PF_OutData, out_flags2, 400);

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
