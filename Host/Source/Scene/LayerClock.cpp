#include "NimbrelHost/Scene/LayerClock.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::host {
namespace {

// A stretch counts in thousandths of a percent.
constexpr std::int64_t kWhole = 100'000;

/// The units in which each frame of the composition is at a whole number of layer time.
TimeBase MakeUnits(const TimeBase& composition, std::int64_t stretch) {
    std::int64_t step = composition.mStep * kWhole * (stretch < 0 ? -1 : 1);
    std::int64_t scale = composition.mScale * std::abs(stretch);
    const std::int64_t common = std::gcd(step, scale);
    step /= common;
    scale /= common;
    // Rare rates at rare stretches need more than the interface has: then the nearest.
    for (; scale > INT32_MAX; scale /= 2) step /= 2;
    return {static_cast<int>(step), static_cast<int>(scale)};
}

}  // namespace

LayerClock::LayerClock(const TimeBase& composition, const LayerPlacement& layer)
    : mComposition(composition),
      mUnits(MakeUnits(composition, std::llround(layer.mStretch * (kWhole / 100.0)))),
      mStartFrame(std::llround(layer.mStart * composition.mScale / composition.mStep)),
      mStretch(static_cast<double>(mUnits.mScale) * composition.mStep /
               (static_cast<double>(mUnits.mStep) * composition.mScale)) {}

int LayerClock::GetTime(int frame) const {
    const std::int64_t time = (frame - mStartFrame) * mUnits.mStep;
    if (std::abs(time) > INT32_MAX)
        throw UsageError(fmt::format("--frames: expected a frame within the host's time, not {}", frame));
    return static_cast<int>(time);
}

double LayerClock::ToComposition(double seconds) const {
    return mComposition.Seconds(static_cast<int>(mStartFrame)) + seconds * mStretch;
}

double LayerClock::ToLayer(double seconds) const {
    return (seconds - mComposition.Seconds(static_cast<int>(mStartFrame))) / mStretch;
}

Moment LayerClock::ToComposition(const Moment& layer) const {
    const bool isMoved = mStartFrame != 0 || mUnits.mStep != mComposition.mStep || mUnits.mScale != mComposition.mScale;
    if (!isMoved || layer.mScale == 0) return layer;
    const bool isFrame = layer.mScale == static_cast<std::uint32_t>(mUnits.mScale) && layer.mValue % mUnits.mStep == 0;
    if (isFrame) {
        const std::int64_t time = (layer.mValue / mUnits.mStep + mStartFrame) * mComposition.mStep;
        if (std::abs(time) <= INT32_MAX)
            return {static_cast<std::int32_t>(time), static_cast<std::uint32_t>(mComposition.mScale)};
    }
    // As fine as the value's 31 bits allow, at most a microsecond.
    constexpr double limit = INT32_MAX;
    const double seconds = ToComposition(static_cast<double>(layer.mValue) / layer.mScale);
    const double scale = std::floor(std::clamp(limit / std::max(std::abs(seconds), 1.0), 1.0, 1e6));
    return {static_cast<std::int32_t>(std::clamp(std::round(seconds * scale), -limit, limit)),
            static_cast<std::uint32_t>(scale)};
}

}  // namespace nimbrel::host
