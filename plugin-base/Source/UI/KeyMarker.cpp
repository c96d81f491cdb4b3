#include "KeyMarker.h"

#include <cmath>
#include <numbers>

#include "PluginBase/Parameters/Custom/Gradient.h"

namespace zeb {
namespace {

constexpr float kHalfWidth = 4.5F;  // with its halo, a marker at the bar's end just fits into the control
constexpr float kShoulder = 8.0F;   // from the tip down to where the body begins

/// The body around the points of the tip, which run from its left to its right.
std::vector<ui::Point> MakeMarker(const std::vector<ui::Point>& tip) {
    std::vector<ui::Point> outline = {{-kHalfWidth, kKeyMarkerHeight}, {-kHalfWidth, kShoulder}};
    outline.insert(outline.end(), tip.begin(), tip.end());
    outline.push_back({kHalfWidth, kShoulder});
    outline.push_back({kHalfWidth, kKeyMarkerHeight});
    return outline;
}

std::vector<ui::Point> MakeArch() {
    constexpr int kSteps = 10;
    std::vector<ui::Point> arch;
    for (int i = 1; i < kSteps; ++i) {
        const float angle = std::numbers::pi_v<float> * static_cast<float>(i) / kSteps;
        arch.push_back({-kHalfWidth * std::cos(angle), kShoulder * (1.0F - std::sin(angle))});
    }
    return arch;
}

}  // namespace

const std::vector<ui::Point>& GetKeyMarker(std::int32_t type) {
    static const std::vector<ui::Point> linear = MakeMarker({{0.0F, 0.0F}});
    static const std::vector<ui::Point> smooth = MakeMarker(MakeArch());
    static const std::vector<ui::Point> step = MakeMarker({{-kHalfWidth, 0.0F}, {kHalfWidth, 0.0F}});
    switch (type) {
        case Gradient::kSmooth: return smooth;
        case Gradient::kStep: return step;
        default: return linear;
    }
}

}  // namespace zeb
