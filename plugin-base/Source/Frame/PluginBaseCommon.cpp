#include "PluginBase/PluginBaseCommon.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "PluginBase/Exception.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/UI/OverlayComponentsManager.h"

namespace zeb {
namespace {

void WriteJson(PluginState& state, PluginStatePart part, const nlohmann::json& json) {
    PluginState::PartWriter writer(state, part);
    BlobWriter(writer.GetBytes()).Append(json.dump());
}

}  // namespace

PluginBaseCommon::PluginBaseCommon() = default;
PluginBaseCommon::~PluginBaseCommon() = default;

void PluginBaseCommon::Init() {
    mTextFileLoader = CreateTextFileLoader();
    mParametersManager = CreateParametersManager();
    mParametersManager->Init();
    if (DisablesOverlay() || !HasOverlay()) return;
    mParametersManager->AddInteractFactory([manager = mParametersManager.get()]() -> UniquePtr<InteractBase> {
        return MakeUnique<OverlayComponentsManager>(manager->GetTable());
    });
}

// The devices go first; nothing packs any more by now, so the texts may go before the manager that reads them.
void PluginBaseCommon::Deinit() {
    mRender.reset();
    mTextFileLoader.reset();
    mParametersManager.reset();
}

void PluginBaseCommon::MakeDrawBinaryState(const ParameterCurrentValueGetter&, std::vector<std::byte>&) {}
void PluginBaseCommon::ProgressBegin(const std::string&, const std::string&) {}
void PluginBaseCommon::ProgressEnd() {}

void PluginBaseCommon::RequestCaptureGAPICalls() {
    RedrawRequest();
    mCaptureGAPICallsRequested = 1;
}

void PluginBaseCommon::RequestCaptureRenderState() {
    RedrawRequest();
    mCaptureRenderStateRequested = 1;
}

PluginState PluginBaseCommon::MakeState(const ParameterCurrentValueGetter& getter, std::vector<PluginStatePart> parts) {
    PluginState state;
    std::sort(parts.begin(), parts.end());
    for (const PluginStatePart part : parts) {
        switch (part) {
            case PluginStatePart::Camera: {
                const bool needCamera = NeedCamera();
                state.SetNeedCamera(needCamera);
                if (!needCamera) break;
                const CameraInfo camera = GetCamera();
                state.SetCamera(camera.mWorldToCamera, camera.mFocalLength, camera.mType);
                break;
            }
            case PluginStatePart::PackedParameters: {
                PluginState::PartWriter writer(state, part);
                BlobWriter blob(writer.GetBytes());
                mParametersManager->GetPacker().PackFromGetter(blob, getter);
                break;
            }
            case PluginStatePart::PreDraw: WriteJson(state, part, MakePreDrawState(getter)); break;
            case PluginStatePart::Draw: WriteJson(state, part, MakeDrawState(getter)); break;
            case PluginStatePart::DrawBinary: {
                PluginState::PartWriter writer(state, part);
                MakeDrawBinaryState(getter, writer.GetBytes());
                break;
            }
            default:
                ZEB_THROW(kInternalError,
                          fmt::format("Unexpected plugin state part type {}", static_cast<std::uint32_t>(part)));
        }
    }
    return state;
}

render::Format PluginBaseCommon::GetRGBARenderFormat(ChannelFormat format) {
    switch (format) {
        case ChannelFormat::U8: return render::Format::RGBA8Unorm;
        case ChannelFormat::U16:
        case ChannelFormat::I16: return render::Format::RGBA16Unorm;
        case ChannelFormat::F16: return render::Format::RGBA16Float;
        case ChannelFormat::F32: return render::Format::RGBA32Float;
    }
    ZEB_THROW(kInternalError, fmt::format("Failed to get a render format for the channel format of {}",
                                          static_cast<std::uint32_t>(format)));
}

}  // namespace zeb
