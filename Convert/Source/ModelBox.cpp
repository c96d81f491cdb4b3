#include "NimbrelConvert/ModelBox.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <utility>

namespace nimbrel::convert {
namespace {

/// A splat on one axis.
struct Place {
    float mPosition = 0;
    float mWeight = 0;
};

// The largest splats of a capture are mostly its sky: from the 99th percentile on, area counts no more.
float FindLargestArea(const std::vector<FramedSplat>& splats) {
    std::vector<float> areas(splats.size());
    std::transform(splats.begin(), splats.end(), areas.begin(), [](const FramedSplat& splat) { return splat.mArea; });
    const auto place = areas.begin() + std::llround(0.99 * static_cast<double>(areas.size() - 1));
    std::nth_element(areas.begin(), place, areas.end());
    return *place;
}

/// Of places in order: the first up to which a share of the weight lies.
double FindShare(const std::vector<Place>& places, double share) {
    double total = 0, passed = 0;
    for (const Place& place : places) total += static_cast<double>(place.mWeight);
    for (const Place& place : places) {
        passed += static_cast<double>(place.mWeight);
        if (passed >= share * total) return place.mPosition;
    }
    return places.back().mPosition;
}

std::pair<double, double> MeasureAxis(std::vector<Place>& places) {
    constexpr double kCore = 0.01, kShown = 0.002, kReach = 0.3;
    std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) { return a.mPosition < b.mPosition; });
    const auto at = [&](double share) {
        return static_cast<double>(
            places[static_cast<std::size_t>(std::llround(share * static_cast<double>(places.size() - 1)))].mPosition);
    };
    const double low = at(kCore), high = at(1 - kCore), reach = kReach * (high - low);
    return {std::clamp(FindShare(places, kShown), low - reach, low),
            std::clamp(FindShare(places, 1 - kShown), high, high + reach)};
}

bool IsFinite(const FramedSplat& splat) {
    const glm::vec3& p = splat.mPosition;
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z) && std::isfinite(splat.mOpacity) &&
           std::isfinite(splat.mArea);
}

}  // namespace

FramedSplat MakeFramedSplat(const glm::vec3& position, const glm::vec3& scales, float opacity) {
    const float shortest = std::min({scales.x, scales.y, scales.z});
    return {position, 1 / (1 + std::exp(-opacity)), std::exp(scales.x + scales.y + scales.z - shortest)};
}

std::optional<ModelBox> MeasureModel(std::vector<FramedSplat> splats) {
    std::erase_if(splats, [](const FramedSplat& splat) { return !IsFinite(splat); });
    if (splats.empty()) return std::nullopt;
    const float largest = FindLargestArea(splats);
    ModelBox box;
    std::vector<Place> places(splats.size());
    for (int axis = 0; axis < 3; ++axis) {
        std::transform(splats.begin(), splats.end(), places.begin(), [&](const FramedSplat& splat) {
            return Place{splat.mPosition[axis], splat.mOpacity * std::min(splat.mArea, largest)};
        });
        std::tie(box.mMin[axis], box.mMax[axis]) = MeasureAxis(places);
    }
    return box;
}

}  // namespace nimbrel::convert
