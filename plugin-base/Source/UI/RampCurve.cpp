#include "RampCurve.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "PluginBase/Parameters/Custom/Ramp.h"

namespace zeb {
namespace {

constexpr float kUnitsPerPoint = 3.0F;
constexpr float kMaxPoints = 4096.0F;  // of a span, however large the control is

bool IsInside(float t) { return t >= 0.0F && t <= 1.0F; }

/// Points of the span between two keys, without its end. What lies outside 0 to 1 is left away, so that a foreign
/// ramp's far keys cost nothing.
void AppendSampledSpan(std::vector<ui::Point>& points, const Ramp& ramp, float from, float to, const PlotArea& area) {
    from = std::clamp(from, 0.0F, 1.0F);
    to = std::clamp(to, 0.0F, 1.0F);
    if (!(to > from)) return;
    const float dx = (to - from) * area.GetPlot().mWidth / area.GetScaleX();
    const float dy = std::fabs(ramp.Evaluate(to) - ramp.Evaluate(from)) * area.GetPlot().mHeight / area.GetScaleY();
    const int n = static_cast<int>(std::clamp((dx + dy) / kUnitsPerPoint, 1.0F, kMaxPoints));
    for (int i = 0; i < n; ++i) {
        const float t = from + (to - from) * static_cast<float>(i) / static_cast<float>(n);
        points.push_back({t, ramp.Evaluate(t)});
    }
}

}  // namespace

std::vector<ui::Point> MakeRampCurve(const Ramp& ramp, const PlotArea& area) {
    const auto& keys = ramp.keys;
    std::vector<ui::Point> points;
    const auto addEvaluated = [&](float t) { points.push_back({t, ramp.Evaluate(t)}); };
    if (keys.empty()) {
        addEvaluated(0.0F);
        addEvaluated(1.0F);
        return points;
    }
    const float first = keys.begin()->first;
    const float last = keys.rbegin()->first;
    if (first > 0.001F || first < 0.0F) addEvaluated(0.0F);
    for (auto key = keys.begin(); key != keys.end(); ++key) {
        const auto next = std::next(key);
        const float value = std::clamp(key->second, 0.0F, 1.0F);
        const bool sampled = ramp.interpolation != Ramp::kLinear && ramp.interpolation != Ramp::kStep;
        if (sampled && next != keys.end()) {
            AppendSampledSpan(points, ramp, key->first, next->first, area);
            continue;
        }
        if (IsInside(key->first)) points.push_back({key->first, value});
        // A step's tread ends where the next one begins.
        if (ramp.interpolation == Ramp::kStep && next != keys.end() && IsInside(next->first))
            points.push_back({next->first, value});
    }
    if (last < 0.999F || last > 1.0F) addEvaluated(1.0F);
    return points;
}

}  // namespace zeb
