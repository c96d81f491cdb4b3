#include "NimbrelHost/Scene/AnimationJson.h"

#include "NimbrelHost/Support/Similar.h"

namespace nimbrel::host {

bool IsAnimated(const JsonView& view) {
    if (!view.Value().is_object() || view.Has("keyframes")) return view.Value().is_object();
    // An object that is no value of its own, most often: its word is mistyped.
    for (const auto& [key, value] : view.Value().items()) {
        if (!FindSimilar(key, {"keyframes"}).empty()) view.RequireObject({"keyframes", "interpolation"});
    }
    return false;
}

JsonView ReadKeyframes(const JsonView& view, bool& hold) {
    view.RequireObject({"keyframes", "interpolation"});
    hold = false;
    if (view.Has("interpolation")) {
        const JsonView word = view.Member("interpolation");
        constexpr std::string_view expected = "\"linear\" or \"hold\"";
        const std::string text = word.String(expected);
        if (text != "linear" && text != "hold") word.Fail(expected);
        hold = text == "hold";
    }
    const JsonView keys = view.Member("keyframes");
    constexpr std::string_view expected = "keyframes [[seconds, value], ...]";
    if (keys.RequireArray(expected) == 0) keys.Fail(expected);
    for (std::size_t i = 0; i < keys.Value().size(); ++i) {
        const JsonView key = keys.Element(i);
        if (key.RequireArray("a keyframe [seconds, value]") != 2) key.Fail("a keyframe [seconds, value]");
    }
    return keys;
}

}  // namespace nimbrel::host
