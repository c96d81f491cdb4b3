#include "TestPlugin.h"

#include <nlohmann/json.hpp>

#include "PluginBase/AE/ArbHandlerAE.h"

namespace test {
namespace {

constexpr const char* kCatalogue = R"({"packs": [], "packJSFilenames": [], "parameters": [
{"control": "SourceClip", "uniqueID": 100, "fullName": "Source", "hint": "", "scriptName": ""},
{"control": "GroupBegin", "uniqueID": 101, "fullName": "Group", "hint": "", "scriptName": "", "flags": ["ExpandedAtStart"]},
{"control": "FloatSlider", "uniqueID": 102, "fullName": "Percent", "hint": "", "scriptName": "percent",
 "flags": ["DisplayPercent", "NotAnimatable"], "default": {"value": 50}, "validMin": {"value": 0},
 "displayMin": {"value": 0}, "displayMax": {"value": 200}, "precision": {"value": 2}},
{"control": "FloatSlider", "uniqueID": 103, "fullName": "Length", "hint": "", "scriptName": "length",
 "default": {"value": 12.5}, "validMin": {"value": -10}, "validMax": {"value": 10000},
 "displayMin": {"value": 1}, "displayMax": {"value": 100}},
{"control": "IntSlider", "uniqueID": 104, "fullName": "Count", "hint": "", "scriptName": "count",
 "flags": ["ReceiveOnChangeEvent"], "default": {"value": 3}, "validMin": {"value": 1}, "validMax": {"value": 9},
 "displayMin": {"value": 2}, "displayMax": {"value": 8}},
{"control": "Angle", "uniqueID": 105, "fullName": "Angle", "hint": "", "scriptName": "angle"},
{"control": "Color", "uniqueID": 106, "fullName": "Color", "hint": "", "scriptName": "color",
 "defaultRed": {"value": 1}, "defaultGreen": {"value": 0.5}, "defaultBlue": {"value": 2}},
{"control": "Point3", "uniqueID": 107, "fullName": "Relative", "hint": "", "scriptName": "relative",
 "defaultX": {"value": 0.5}, "defaultY": {"value": 0.25}, "defaultZ": {"value": -1}},
{"control": "Point3", "uniqueID": 108, "fullName": "Absolute", "hint": "", "scriptName": "absolute",
 "absolutePosition": {"value": true}},
{"control": "Checkbox", "uniqueID": 109, "fullName": "A check box whose name is longer than the host's", "hint": "",
 "scriptName": "check", "label": {"value": "beside"}, "default": {"value": true}},
{"control": "Popup", "uniqueID": 110, "fullName": "Popup", "hint": "", "scriptName": "popup", "default": {"value": 1},
 "enum": {"value": ["One", "Two", "Three"]}},
{"control": "FilePath", "uniqueID": 111, "fullName": "File", "hint": "", "scriptName": "file"},
{"control": "Button", "uniqueID": 112, "fullName": "Press", "hint": "", "scriptName": "button", "flags": ["NotAnimatable"]},
{"control": "Custom", "uniqueID": 113, "fullName": "Ramp", "hint": "", "scriptName": "ramp", "valueType": "Ramp",
 "showControlIndex": 9, "default": {"type": 1, "interpolation": 1, "keys": [[0.0, 0.25], [1.0, 0.75]]}},
{"control": "Custom", "uniqueID": 114, "fullName": "Gradient", "hint": "", "scriptName": "gradient",
 "valueType": "Gradient", "showControlIndex": 9, "colorIndex": 6,
 "default": {"keys": [[0.0, {"color": [1.0, 0.0, 0.0], "type": 0}]]}},
{"control": "GroupEnd", "uniqueID": 115, "fullName": "Group", "hint": "", "scriptName": ""},
{"control": "Checkbox", "uniqueID": 116, "fullName": "Skipped", "hint": "", "scriptName": "skipped", "skipAPI": ["AE"]},
{"control": "Clip", "uniqueID": 117, "fullName": "Clip", "hint": "", "scriptName": ""}
]})";

class TestManager final : public zeb::ParametersManagerBase {
public:
    using ParametersManagerBase::ParametersManagerBase;
    std::string_view GetDescriptionText() const override { return kCatalogue; }
};

class NoRender final : public zeb::render::Render {
public:
    std::string GetDescription() const override { return "no device"; }
    zeb::render::Device& GetAnyDevice() override { return GetDevice(); }
};

}  // namespace

int TestPlugin::sAlive = 0;
TestPlugin* TestPlugin::sCurrent = nullptr;
std::function<void()> TestPlugin::sOnAbout;
std::vector<std::string> TestPlugin::sCommands;
zeb::DrawExtent TestPlugin::sExtent;

zeb::UniquePtr<zeb::ParametersManagerBase> MakeManager() {
    zeb::ParametersManagerOptions options;
    options.mCompleteCustomSettings = zeb::CompleteCustomSettingsAE;
    zeb::UniquePtr<zeb::ParametersManagerBase> manager = zeb::MakeUnique<TestManager>(options);
    manager->Init();
    return manager;
}

NullDevice& GetDevice() {
    static NullDevice device;
    return device;
}

int& CountDrawnFrames() {
    static int count = 0;
    return count;
}

zeb::render::RenderOptions& GetRenderOptionsSeen() {
    static zeb::render::RenderOptions options;
    return options;
}

zeb::render::Format TestPlugin::GetPluginRenderFormat(zeb::PixelChannels, zeb::ChannelFormat) const {
    return zeb::render::Format::RGBA32Float;
}

nlohmann::json TestPlugin::MakePreDrawState(const zeb::ParameterCurrentValueGetter&) { return nullptr; }

nlohmann::json TestPlugin::MakeDrawState(const zeb::ParameterCurrentValueGetter& getter) {
    return {{"percent", getter.GetDouble(kPercent)}};
}

zeb::UniquePtr<zeb::TextFileLoader> TestPlugin::CreateTextFileLoader() {
    return zeb::MakeUnique<zeb::TextFileLoader>(nullptr, 0);
}

}  // namespace test

// What lies behind the host boundary is replaced: no device is needed to see what reaches it.
zeb::UniquePtr<zeb::render::Render> zeb::render::Render::Create(std::int32_t, const RenderOptions& options) {
    test::GetRenderOptionsSeen() = options;
    return MakeUnique<test::NoRender>();
}

void zeb::PluginBaseCommon::DrawTiledToOutput(render::Device&, const DrawInfo&, const ImageInfo&) {
    ++test::CountDrawnFrames();
}

zeb::UniquePtr<zeb::PluginBaseAE> zeb::CreatePlugin() { return MakeUnique<test::TestPlugin>(); }
