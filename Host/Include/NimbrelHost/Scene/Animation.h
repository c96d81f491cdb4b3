#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <glm/vec3.hpp>
#include <string>
#include <utility>
#include <vector>

namespace nimbrel::host {

/// Where a time falls between keyframes: the value is `left` mixed with `right` by `fraction` (0 to below 1).
struct KeySpan {
    std::size_t mLeft = 0;
    std::size_t mRight = 0;
    double mFraction = 0;
};

/// A script that gives a value anew at each time, from what keyframes say and from the project.
struct Expression {
    std::string mText;
    bool mEnabled = false;
};

/// A value over time: keyframes in ascending time, linear or held between them, held outside. One keyframe is a
/// constant.
template <class T>
struct Animation {
    struct Key {
        double mSeconds = 0;
        T mValue{};
    };

    std::vector<Key> mKeys;
    bool mHold = false;

    static Animation Constant(T value) {
        Animation animation;
        animation.mKeys.push_back({0, std::move(value)});
        return animation;
    }

    bool IsConstant() const { return mKeys.size() == 1; }

    /// The value of the one keyframe, or of one at the time, made as a copy of the value there if need be. What a copy
    /// shares with its neighbour is the caller's matter.
    T& GetOrAddKey(double seconds) {
        if (IsConstant()) return mKeys.front().mValue;
        const KeySpan span = Find(seconds);
        for (const std::size_t near : {span.mLeft, span.mRight}) {
            if (std::abs(mKeys[near].mSeconds - seconds) < 1e-9) return mKeys[near].mValue;
        }
        const bool isFirst = seconds < mKeys.front().mSeconds;
        const auto place = mKeys.begin() + static_cast<std::ptrdiff_t>(isFirst ? 0 : span.mLeft + 1);
        const Key key{seconds, mKeys[span.mLeft].mValue};
        return mKeys.insert(place, key)->mValue;
    }

    KeySpan Find(double seconds) const {
        const auto after = std::upper_bound(mKeys.begin(), mKeys.end(), seconds,
                                            [](double time, const Key& key) { return time < key.mSeconds; });
        const std::size_t right = static_cast<std::size_t>(after - mKeys.begin());
        if (right == 0) return {0, 0, 0};
        if (right == mKeys.size() || mHold) return {right - 1, right - 1, 0};
        const double start = mKeys[right - 1].mSeconds;
        return {right - 1, right, (seconds - start) / (mKeys[right].mSeconds - start)};
    }
};

inline double Evaluate(const Animation<double>& animation, double seconds) {
    const KeySpan span = animation.Find(seconds);
    const double left = animation.mKeys[span.mLeft].mValue;
    return left + (animation.mKeys[span.mRight].mValue - left) * span.mFraction;
}

inline glm::dvec3 Evaluate(const Animation<glm::dvec3>& animation, double seconds) {
    const KeySpan span = animation.Find(seconds);
    const glm::dvec3 left = animation.mKeys[span.mLeft].mValue;
    return left + (animation.mKeys[span.mRight].mValue - left) * span.mFraction;
}

}  // namespace nimbrel::host
