#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>
#include <nlohmann/json_fwd.hpp>

#include "PluginBase/DrawInfo.h"
#include "PluginBase/ImageInfo.h"
#include "PluginBase/Misc/MakeUnique.h"
#include "PluginBase/Misc/TextFilesLoader.h"
#include "PluginBase/Parameters/ParametersManagerBase.h"
#include "PluginBase/Parameters/Values/ParameterAccess.h"
#include "PluginBase/PluginState.h"
#include "PluginBase/Render/DeviceKeeper.h"

namespace zeb {

struct CameraInfo {
    glm::mat4 mWorldToCamera{1.0F};  ///< as DrawInfo::mCamera
    float mFocalLength = 0.0F;
    CameraType mType = CameraType::None;
};

/// How much a frame draws, in pixels of the render.
struct DrawExtent {
    enum class Mode : std::int32_t { SourceClip = 0, FullLayer = 1, Rect = 2 };
    Mode mMode = Mode::FullLayer;
    ClipRect mRect;
};

/// The frame without a host: state, tiled drawing, conversion and read-back. One object for the whole
/// effect, shared by all render threads; what a render changes is atomic or per thread.
class PluginBaseCommon {
public:
    PluginBaseCommon();
    virtual ~PluginBaseCommon();
    PluginBaseCommon(const PluginBaseCommon&) = delete;
    PluginBaseCommon& operator=(const PluginBaseCommon&) = delete;

    virtual void Init();
    virtual void Deinit();

    // What the effect draws.
    virtual bool NeedCamera() const = 0;
    virtual render::Format GetPluginRenderFormat(PixelChannels channels, ChannelFormat format) const = 0;
    /// Draws one tile into `target`, whose part from (0, 0) of the tile's size is used. Leaves the
    /// recorded list in `result`, or leaves it empty for a cleared tile.
    virtual void Draw(UniquePtr<render::CommandList>& result, render::Device& device, const DrawInfo& drawInfo,
                      render::Texture& target) = 0;
    virtual DrawExtent GetDrawExtent(const nlohmann::json& preDrawState) = 0;
    virtual nlohmann::json MakePreDrawState(const ParameterCurrentValueGetter& getter) = 0;
    virtual nlohmann::json MakeDrawState(const ParameterCurrentValueGetter& getter) = 0;
    virtual void MakeDrawBinaryState(const ParameterCurrentValueGetter& getter, std::vector<std::byte>& bytes);
    virtual render::RenderOptions GetRenderOptions() = 0;

    // What the host supplies.
    virtual void GetRenderInfo(std::string& text) const = 0;
    virtual CameraInfo GetCamera() = 0;
    virtual nlohmann::json GetParameterValues(std::int32_t groupIndex) = 0;
    virtual void ResetValues(std::int32_t groupIndex) = 0;
    virtual void LoadValues(const nlohmann::json& values) = 0;
    virtual void ShowMessage(const std::string& text, std::int32_t severity) = 0;
    virtual bool ShowTextDialog(const std::string& text, const std::string& title) = 0;
    virtual void StartUndoGroup(const std::string& name) = 0;
    virtual void EndUndoGroup() = 0;
    virtual void ProgressBegin(const std::string& title, const std::string& id);
    virtual void ProgressUpdate(std::int32_t current, std::int32_t total) = 0;
    virtual void ProgressEnd();
    virtual void RedrawRequest() = 0;
    /// Components red, green, blue, alpha. The given colour comes back when the user cancels.
    virtual glm::vec4 ColorPickerDialog(const std::string& title, const glm::vec4& color) = 0;

    virtual void RequestCaptureGAPICalls();
    virtual void RequestCaptureRenderState();
    virtual bool UsesInteractColorPicker() const { return true; }
    virtual bool DisablesOverlay() const { return true; }
    virtual bool HasOverlay() const { return true; }

    /// Gathers the listed parts of a frame's state, in ascending order whatever the list's.
    PluginState MakeState(const ParameterCurrentValueGetter& getter, std::vector<PluginStatePart> parts);

    /// Draws the frame tile by tile and copies it into the image. Nothing is written on failure.
    void DrawTiledToOutput(render::Device& device, const DrawInfo& drawInfo, const ImageInfo& image);

    static render::Format GetRGBARenderFormat(ChannelFormat format);

    ParametersManagerBase& GetParametersManager() { return *mParametersManager; }
    const TextFileLoader& GetTextFileLoader() const { return *mTextFileLoader; }

protected:
    virtual UniquePtr<ParametersManagerBase> CreateParametersManager() = 0;
    /// The program's stored texts.
    virtual UniquePtr<TextFileLoader> CreateTextFileLoader() = 0;

    /// Records one tile into a list: the effect's drawing and the conversion into `output`.
    UniquePtr<render::CommandList> DefaultMainDraw(render::Device& device, const DrawInfo& drawInfo,
                                                   render::Texture& output, render::Format pluginFormat,
                                                   bool unmultiply);

    UniquePtr<ParametersManagerBase> mParametersManager;
    std::atomic<std::uint8_t> mCaptureGAPICallsRequested{0};
    std::atomic<std::uint8_t> mCaptureRenderStateRequested{0};
    UniquePtr<TextFileLoader> mTextFileLoader;
    std::unique_ptr<render::DeviceKeeper> mRender;
};

}  // namespace zeb
