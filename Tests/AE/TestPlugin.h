#pragma once

#include <functional>
#include <string>
#include <vector>

#include "NullDevice.h"
#include "PluginBase/AE/PluginBaseAE.h"

/// An effect without a picture: its commands do what a test sets.
namespace test {

/// One parameter of every kind. Before the skipped one, catalogue and host indices are the same.
enum CatalogueIndex : std::int32_t {
    kSource,
    kGroup,
    kPercent,
    kLength,
    kCount,
    kAngle,
    kColor,
    kRelativePoint,
    kAbsolutePoint,
    kCheckbox,
    kPopup,
    kFile,
    kButton,
    kRamp,
    kGradient,
    kGroupEnd,
    kSkipped,
    kClip,
    kCatalogueSize
};

/// A manager of the catalogue above.
zeb::UniquePtr<zeb::ParametersManagerBase> MakeManager();

/// The only device, for the whole process.
NullDevice& GetDevice();

/// Frames drawn by all of them.
int& CountDrawnFrames();

/// What the render interface was made with.
zeb::render::RenderOptions& GetRenderOptionsSeen();

class TestPlugin : public zeb::PluginBaseAE {
public:
    TestPlugin() {
        ++sAlive;
        sCurrent = this;
    }
    ~TestPlugin() override { --sAlive; }

    static int sAlive;
    static TestPlugin* sCurrent;  ///< the newest
    static std::function<void()> sOnAbout;
    static std::vector<std::string> sCommands;
    static zeb::DrawExtent sExtent;

    void About() override {
        if (sOnAbout)
            sOnAbout();
        else
            PluginBaseAE::About();
    }

    bool NeedCamera() const override { return false; }
    zeb::render::Format GetPluginRenderFormat(zeb::PixelChannels, zeb::ChannelFormat) const override;
    void Draw(zeb::UniquePtr<zeb::render::CommandList>&, zeb::render::Device&, const zeb::DrawInfo&,
              zeb::render::Texture&) override {}
    zeb::DrawExtent GetDrawExtent(const nlohmann::json&) override { return sExtent; }
    nlohmann::json MakePreDrawState(const zeb::ParameterCurrentValueGetter&) override;
    nlohmann::json MakeDrawState(const zeb::ParameterCurrentValueGetter& getter) override;
    zeb::render::RenderOptions GetRenderOptions() override { return {}; }
    PF_OutFlags GetOutFlags() const override { return PF_OutFlag_PIX_INDEPENDENT; }
    PF_OutFlags2 GetOutFlags2() const override { return PF_OutFlag2_SUPPORTS_SMART_RENDER; }
    std::u16string GetImportFolderName(const std::u16string&) const override { return u"Imported"; }
    bool IsBeta() const override { return false; }
    void SequenceSetup() override { sCommands.emplace_back("setup"); }
    void SequenceSetdown() override { sCommands.emplace_back("setdown"); }
    void GetFlattenedSequenceData() override { sCommands.emplace_back("flattened"); }
    void SequenceFlatten() override { sCommands.emplace_back("flatten"); }
    void SequenceResetup() override { sCommands.emplace_back("resetup"); }

protected:
    zeb::UniquePtr<zeb::ParametersManagerBase> CreateParametersManager() override { return MakeManager(); }
    zeb::UniquePtr<zeb::TextFileLoader> CreateTextFileLoader() override;
};

}  // namespace test
