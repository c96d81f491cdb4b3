#include <fmt/format.h>

#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/PluginBaseAE.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

// What the user sees of the effect apart from its picture and its parameters.
namespace zeb {
namespace {

constexpr const char* kNotice = "3D Gaussian splat models, drawn through the composition's camera.";

constexpr const char* kWindowFormat = "var w = new Window(\"dialog\", \"{}\", undefined, {{ resizeable : true }})";

constexpr const char* kTextBox = R"(
w.orientation = "column"
var h = w.add('edittext {properties: {multiline: true, readonly: true}}')
h.minimumSize = [ 600, 400 ]
h.alignment = [ "fill", "fill" ]
)";

constexpr const char* kTextFormat = "h.text = \"{}\"";

constexpr const char* kShow = R"(
w.add("button", undefined, "OK")
w.layout.layout()

// onResize needed on Mac OS X
w.onResizing = w.onResize = function() { this.layout.resize(); }
w.show())";

}  // namespace

void PluginBaseAE::About() {
    SetMessage(OutData(), fmt::format("{}, v{}.{}.{}{}\r{}", GetPluginName(), kVersionMajor, kVersionMinor,
                                      kVersionBugFix, IsBeta() ? "beta" : "", kNotice));
}

void PluginBaseAE::ShowMessage(const std::string& text, std::int32_t) { SetMessage(OutData(), text); }

bool PluginBaseAE::ShowTextDialog(const std::string& text, const std::string& title) {
    const AEGP::Suites suites;
    if (!suites.IsScriptingAvailable()) return true;
    const std::string script = fmt::format(fmt::runtime(kWindowFormat), EscapeForScript(title)) + kTextBox +
                               fmt::format(fmt::runtime(kTextFormat), EscapeForScript(text)) + kShow;
    const std::string result = suites.ExecuteScript(script);
    return result.empty() || result.front() != '1';
}

glm::vec4 PluginBaseAE::ColorPickerDialog(const std::string& title, const glm::vec4& color) {
    // The host's record has alpha first.
    PF_PixelFloat sample{};
    sample.alpha = color.a;
    sample.red = color.r;
    sample.green = color.g;
    sample.blue = color.b;
    PF_PixelFloat picked{};
    constexpr PF_Boolean kUseMonitorTransform = 1;
    const PF_Err error =
        AEGPSuites().AppSuite6()->PF_AppColorPickerDialog(title.c_str(), &sample, kUseMonitorTransform, &picked);
    if (error == PF_Interrupt_CANCEL) return color;
    if (error != 0) ZEB_THROW(error, "Failed to show a color picker dialog.");
    return {picked.red, picked.green, picked.blue, picked.alpha};
}

}  // namespace zeb
