#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "CheckAE.h"
#include "PluginBase/AE/ImageInfoUtilAE.h"
#include "PluginBase/AE/ParameterAccessAE.h"
#include "PluginBase/AE/PluginBaseAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "StateDump.h"

// The two commands of a frame. They bring no parameter array: values are checked out at the frame's time.
namespace zeb {
namespace {

// Frames smaller than this are previews; they leave debug requests to a larger one.
constexpr float kMinDebugScale = 0.1F;

/// The command's parameters at its own time.
struct FrameValues {
    explicit FrameValues(const ParametersManagerBase& manager)
        : mTemporal(manager), mCurrent(manager, mTemporal, GetCurrentTime(*InData())) {}
    ParameterTemporalValueGetterAE mTemporal;
    ParameterCurrentValueGetterFromTemporal mCurrent;
};

nlohmann::json ParsePart(const PluginState& state, PluginStatePart part) {
    const PluginStatePartView view = state.GetPart(part);
    if (view.mSize == 0) return nullptr;
    const auto* text = reinterpret_cast<const char*>(view.mData);
    return nlohmann::json::parse(text, text + view.mSize);
}

std::int32_t ScaleSize(A_long size, const PF_RationalScale& scale) {
    const std::int64_t scaled = static_cast<std::int64_t>(size) * scale.num / scale.den;
    return static_cast<std::int32_t>(std::min<std::int64_t>(scaled, std::numeric_limits<std::int32_t>::max()));
}

PF_LRect ToLRect(const ClipRect& rect) {
    return {rect.mLeft, rect.mTop, rect.mLeft + rect.mWidth, rect.mTop + rect.mHeight};
}

PF_LRect Intersect(const PF_LRect& a, const PF_LRect& b) {
    const PF_LRect result{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                          std::min(a.bottom, b.bottom)};
    return result.right < result.left || result.bottom < result.top ? PF_LRect{} : result;
}

ImageInfo CheckoutOutput() {
    PF_EffectWorld* world = nullptr;
    NeedFromHost(NeedFromHost(zeb::SmartRenderExtra()->cb, "callbacks")->checkout_output, "callbacks");
    ZEB_CHECK_TEXT(zeb::SmartRenderExtra()->cb->checkout_output(zeb::InData()->effect_ref, &world),
                   "Failed to call zeb::SmartRenderExtra()->cb->checkout_output( zeb::InData()->effect_ref, &mWorld)");
    if (world == nullptr) ZEB_THROW(kInternalError, "The host gave no output world");
    return GetImageInfoByEffectWorld(*world);
}

DrawInfo MakeDrawInfo(const PF_InData& inData, const ImageInfo& image, const PluginState& state) {
    DrawInfo info;
    const DownsampleAE downsample = GetDownsample(inData);
    info.mFullWidth = static_cast<std::uint32_t>(std::max(inData.width, 0));
    info.mFullHeight = static_cast<std::uint32_t>(std::max(inData.height, 0));
    info.mScaleX = static_cast<float>(downsample.GetX());
    info.mScaleY = static_cast<float>(downsample.GetY());
    info.mPivotX = image.mOriginX;
    info.mPivotY = image.mOriginY;
    info.mOutputWidth = static_cast<std::uint32_t>(image.mWidth);
    info.mOutputHeight = static_cast<std::uint32_t>(image.mHeight);
    info.mNativeOrigin = NativeOrigin::VerticalFlip;
    if (state.NeedsCamera()) {
        info.mCamera = state.GetCamera();
        info.mFocalLength = state.GetFocalLength();
        info.mCameraType = state.GetCameraType();
    }
    return info;
}

/// Takes a request that was armed from the interface, so that one frame serves it.
bool TakeRequest(std::atomic<std::uint8_t>& request) {
    std::uint8_t armed = 1;
    return request.compare_exchange_strong(armed, 0);
}

/// Captures the device's calls for as long as it lives.
class CaptureScope {
public:
    explicit CaptureScope(render::Device& device) : mDevice(device) { mDevice.BeginCapture(); }
    ~CaptureScope() { mDevice.EndCapture(); }
    CaptureScope(const CaptureScope&) = delete;
    CaptureScope& operator=(const CaptureScope&) = delete;

private:
    render::Device& mDevice;
};

}  // namespace

void PluginBaseAE::SmartPreRender(PF_PreRenderExtra* extra) {
    const PF_InData& inData = *InData();
    const FrameValues values(GetParametersManager());
    const PluginState state = MakeState(values.mCurrent, {PluginStatePart::PreDraw});
    const DrawExtent extent = GetDrawExtent(ParsePart(state, PluginStatePart::PreDraw));

    ClipRect rect = extent.mRect;
    if (extent.mMode == DrawExtent::Mode::SourceClip) {
        std::int32_t requestId = 0;
        rect = ClipInfoGetterAE(GetParametersManager(), extra, requestId).GetSourceRect();
    } else if (extent.mMode == DrawExtent::Mode::FullLayer) {
        const DownsampleAE downsample = GetDownsample(inData);
        rect = {0, 0, ScaleSize(inData.width, downsample.mX), ScaleSize(inData.height, downsample.mY)};
    }
    PF_PreRenderOutput& output = *NeedFromHost(extra->output, "place for the result");
    NeedFromHost(extra->input, "request");
    output.max_result_rect = ToLRect(rect);
    output.result_rect = Intersect(output.max_result_rect, extra->input->output_request.rect);
}

void PluginBaseAE::SmartRender(PF_SmartRenderExtra*) {
    const ImageInfo image = CheckoutOutput();
    // Nothing to write, and no target of size zero.
    if (image.mWidth <= 0 || image.mHeight <= 0) return;
    NeedFromHost(image.mData, "pixels of the output world");

    const FrameValues values(GetParametersManager());
    const PluginState state =
        MakeState(values.mCurrent, {PluginStatePart::Camera, PluginStatePart::PackedParameters,
                                    PluginStatePart::PreDraw, PluginStatePart::Draw, PluginStatePart::DrawBinary});
    DrawInfo drawInfo = MakeDrawInfo(*InData(), image, state);
    const PluginStatePartView packedView = state.GetPart(PluginStatePart::PackedParameters);
    const PackedParameters packed(packedView.mData, packedView.mSize);
    const nlohmann::json drawState = ParsePart(state, PluginStatePart::Draw);
    drawInfo.mPackedParameters = &packed;
    drawInfo.mDrawState = &drawState;
    drawInfo.mDrawBinary = state.GetPart(PluginStatePart::DrawBinary);

    if (!mRender) ZEB_THROW(kInternalError, "Failed to get a render");
    mRender->DrawFrame([&](render::Device& device) { DrawFrame(device, drawInfo, image, state); });
}

void PluginBaseAE::DrawFrame(render::Device& device, const DrawInfo& drawInfo, const ImageInfo& image,
                             const PluginState& state) {
    if (drawInfo.mScaleX < kMinDebugScale) {
        DrawTiledToOutput(device, drawInfo, image);
        return;
    }
    const bool capture = device.CanCapture() && TakeRequest(mCaptureGAPICallsRequested);
    if (TakeRequest(mCaptureRenderStateRequested))
        WriteStateDump(drawInfo, image, state, GetParametersManager().GetPacker());
    if (!capture) {
        DrawTiledToOutput(device, drawInfo, image);
        return;
    }
    // The capture then shows how every resource is made.
    render::ThreadData& threadData = device.GetThreadData();
    threadData.mEffectCache.reset();
    threadData.mFrameworkCache.reset();
    const CaptureScope scope(device);
    DrawTiledToOutput(device, drawInfo, image);
}

}  // namespace zeb
