#pragma once

#include "HostInterface/Worlds.h"

// The two-step render: what will be drawn, then drawing it.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_RenderOutputFlags = A_short;

struct PF_RenderRequest {
    PF_LRect rect;  // pixels of the down-sampled layer
    PF_Field field;
    PF_ChannelMask channel_mask;
    PF_Boolean preserve_rgb_of_zero_alpha;
    A_char unused[3];
    A_long reserved[4];
};
NIMBREL_LAYOUT(PF_RenderRequest, 44, 4);
NIMBREL_OFFSET(PF_RenderRequest, field, 16);
NIMBREL_OFFSET(PF_RenderRequest, channel_mask, 20);
NIMBREL_OFFSET(PF_RenderRequest, preserve_rgb_of_zero_alpha, 24);
NIMBREL_OFFSET(PF_RenderRequest, unused, 25);
NIMBREL_OFFSET(PF_RenderRequest, reserved, 28);

struct PF_PreRenderInput {
    PF_RenderRequest output_request;
    A_short bitdepth;  // 8, 16 or 32
    const void* gpu_data;
    PF_GPU_Framework what_gpu;
    A_u_long device_index;
};
NIMBREL_LAYOUT(PF_PreRenderInput, 64, 8);
NIMBREL_OFFSET(PF_PreRenderInput, bitdepth, 44);
NIMBREL_OFFSET(PF_PreRenderInput, gpu_data, 48);
NIMBREL_OFFSET(PF_PreRenderInput, what_gpu, 56);
NIMBREL_OFFSET(PF_PreRenderInput, device_index, 60);

using PF_DeletePreRenderDataFunc = void (*)(void* pre_render_data);

struct PF_PreRenderOutput {
    PF_LRect result_rect;      // within the request unless PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS
    PF_LRect max_result_rect;  // independent of the request
    PF_Boolean solid;
    PF_Boolean reserved;
    PF_RenderOutputFlags flags;
    void* pre_render_data;
    PF_DeletePreRenderDataFunc delete_pre_render_data_func;
};
NIMBREL_LAYOUT(PF_PreRenderOutput, 56, 8);
NIMBREL_OFFSET(PF_PreRenderOutput, max_result_rect, 16);
NIMBREL_OFFSET(PF_PreRenderOutput, solid, 32);
NIMBREL_OFFSET(PF_PreRenderOutput, reserved, 33);
NIMBREL_OFFSET(PF_PreRenderOutput, flags, 34);
NIMBREL_OFFSET(PF_PreRenderOutput, pre_render_data, 40);
NIMBREL_OFFSET(PF_PreRenderOutput, delete_pre_render_data_func, 48);

struct PF_CheckoutResult {
    PF_LRect result_rect;
    PF_LRect max_result_rect;
    PF_RationalScale par;
    PF_Boolean solid;
    PF_Boolean reservedB[3];
    A_long ref_width;
    A_long ref_height;
    A_long reserved[6];
};
NIMBREL_LAYOUT(PF_CheckoutResult, 76, 4);
NIMBREL_OFFSET(PF_CheckoutResult, max_result_rect, 16);
NIMBREL_OFFSET(PF_CheckoutResult, par, 32);
NIMBREL_OFFSET(PF_CheckoutResult, solid, 40);
NIMBREL_OFFSET(PF_CheckoutResult, reservedB, 41);
NIMBREL_OFFSET(PF_CheckoutResult, ref_width, 44);
NIMBREL_OFFSET(PF_CheckoutResult, ref_height, 48);
NIMBREL_OFFSET(PF_CheckoutResult, reserved, 52);

struct PF_PreRenderCallbacks {
    // `index` 0 is the input layer, otherwise a parameter; `checkout_id` is unique and not negative.
    PF_Err (*checkout_layer)(PF_ProgPtr, PF_ParamIndex index, A_long checkout_id, const PF_RenderRequest*,
                             A_long what_time, A_long time_step, A_u_long time_scale, PF_CheckoutResult*);
    PF_Err (*GuidMixInPtr)(PF_ProgPtr, A_u_long size, const void* data);
};
NIMBREL_SLOTS(PF_PreRenderCallbacks, 2);
NIMBREL_SLOT(PF_PreRenderCallbacks, 1, GuidMixInPtr);

struct PF_PreRenderExtra {
    PF_PreRenderInput* input;
    PF_PreRenderOutput* output;
    PF_PreRenderCallbacks* cb;
};
NIMBREL_LAYOUT(PF_PreRenderExtra, 24, 8);
NIMBREL_OFFSET(PF_PreRenderExtra, output, 8);
NIMBREL_OFFSET(PF_PreRenderExtra, cb, 16);

struct PF_SmartRenderInput {
    PF_RenderRequest output_request;
    A_short bitdepth;
    void* pre_render_data;
    const void* gpu_data;
    PF_GPU_Framework what_gpu;
    A_u_long device_index;
};
NIMBREL_LAYOUT(PF_SmartRenderInput, 72, 8);
NIMBREL_OFFSET(PF_SmartRenderInput, bitdepth, 44);
NIMBREL_OFFSET(PF_SmartRenderInput, pre_render_data, 48);
NIMBREL_OFFSET(PF_SmartRenderInput, gpu_data, 56);
NIMBREL_OFFSET(PF_SmartRenderInput, what_gpu, 64);
NIMBREL_OFFSET(PF_SmartRenderInput, device_index, 68);

struct PF_SmartRenderCallbacks {
    PF_Err (*checkout_layer_pixels)(PF_ProgPtr, A_long checkout_id, PF_EffectWorld**);
    PF_Err (*checkin_layer_pixels)(PF_ProgPtr, A_long checkout_id);
    PF_Err (*checkout_output)(PF_ProgPtr, PF_EffectWorld**);
};
NIMBREL_SLOTS(PF_SmartRenderCallbacks, 3);
NIMBREL_SLOT(PF_SmartRenderCallbacks, 2, checkout_output);

struct PF_SmartRenderExtra {
    PF_SmartRenderInput* input;
    PF_SmartRenderCallbacks* cb;
};
NIMBREL_LAYOUT(PF_SmartRenderExtra, 16, 8);
NIMBREL_OFFSET(PF_SmartRenderExtra, cb, 8);

enum : A_long {
    PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1,
    PF_RenderOutputFlag_GPU_RENDER_POSSIBLE = 2,
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
