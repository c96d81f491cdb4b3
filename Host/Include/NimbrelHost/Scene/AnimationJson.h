#pragma once

#include <nlohmann/json.hpp>

#include "NimbrelHost/Scene/Animation.h"
#include "NimbrelHost/Support/JsonView.h"

/// Values over time as scene files have them.
namespace nimbrel::host {

/// Whether the JSON value is of the animated form, { "keyframes": [...] }. Throws UsageError for one that almost is.
bool IsAnimated(const JsonView& view);

/// Checks the outer form of an animated value and gives the keyframe array; `hold` answers its "interpolation".
JsonView ReadKeyframes(const JsonView& view, bool& hold);

/// Reads a constant or animated value; `read` turns one JSON value into a T. Throws UsageError.
template <class T, class Read>
Animation<T> ReadAnimation(const JsonView& view, Read read) {
    if (!IsAnimated(view)) return Animation<T>::Constant(read(view));
    Animation<T> animation;
    const JsonView keys = ReadKeyframes(view, animation.mHold);
    for (std::size_t i = 0; i < keys.Value().size(); ++i) {
        const JsonView key = keys.Element(i);
        const double seconds = key.Element(0).Number("a time in seconds");
        if (i > 0 && seconds <= animation.mKeys.back().mSeconds) {
            key.Element(0).Fail("a time later than the keyframe before");
        }
        animation.mKeys.push_back({seconds, read(key.Element(1))});
    }
    return animation;
}

/// The JSON form that ReadAnimation reads; `write` turns one T into a JSON value.
template <class T, class Write>
Json WriteAnimation(const Animation<T>& animation, Write write) {
    if (animation.IsConstant()) return write(animation.mKeys.front().mValue);
    Json keys = Json::array();
    for (const auto& key : animation.mKeys) keys.push_back(Json::array({key.mSeconds, write(key.mValue)}));
    Json value = {{"keyframes", std::move(keys)}};
    if (animation.mHold) value["interpolation"] = "hold";
    return value;
}

}  // namespace nimbrel::host
