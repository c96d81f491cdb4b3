#include "../CheckAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"

namespace zeb {
namespace {

ClipRect ToClipRect(const PF_LRect& rect) {
    return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

#define ZEB_CLIP_TEXT(index)                                                                        \
    "Failed to call mExtra->cb->checkout_layer(in_data->effect_ref, " index                         \
    ", static_cast<A_long>(mRequestId), &req, in_data->current_time, in_data->time_step, in_data->" \
    "time_scale, &result)"

}  // namespace

PF_CheckoutResult ClipInfoGetterAE::Checkout(std::int32_t index) {
    const PF_InData* in_data = InData();
    PF_RenderRequest req = mExtra->input->output_request;
    // An empty rectangle asks for the layer's size without rendering it.
    req.rect = {};
    PF_CheckoutResult result{};
    const PF_Err error = mExtra->cb->checkout_layer(in_data->effect_ref, index, mRequestId, &req, in_data->current_time,
                                                    in_data->time_step, in_data->time_scale, &result);
    if (error != 0) ZEB_THROW(error, index == 0 ? ZEB_CLIP_TEXT("0") : ZEB_CLIP_TEXT("desc.mParameterIndex"));
    ++mRequestId;
    return result;
}

bool ClipInfoGetterAE::IsSet(std::int32_t index) {
    const PF_CheckoutResult result = Checkout(mManager.GetTable().at(static_cast<std::size_t>(index)).mParameterIndex);
    return result.ref_width != 0 && result.ref_height != 0;
}

ClipRect ClipInfoGetterAE::GetRect(std::int32_t index) {
    return ToClipRect(
        Checkout(mManager.GetTable().at(static_cast<std::size_t>(index)).mParameterIndex).max_result_rect);
}

ClipRect ClipInfoGetterAE::GetSourceRect() { return ToClipRect(Checkout(0).max_result_rect); }

}  // namespace zeb
