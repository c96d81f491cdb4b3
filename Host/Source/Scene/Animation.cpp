#include "NimbrelHost/Scene/AnimationJson.h"

namespace nimbrel::host {

bool IsAnimated(const JsonView& view) { return view.Value().is_object() && view.Has("keyframes"); }

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
