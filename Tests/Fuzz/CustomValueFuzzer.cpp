#include <cmath>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "Panel.h"
#include "PluginBase/UI/GradientInteract.h"
#include "PluginBase/UI/RampInteract.h"

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

template <class T>
void CheckCommon(const T& value) {
    T read;
    read.FromJSON(value.ToJSON());
    Check(read.IsEqual(value) && value.Clone()->IsEqual(value));
    for (const float t : {0.0F, 0.3F, 1.0F}) value.MakeInterpolated(T(), t);
}

/// Draws a value and edits it. What is drawn lies in the control, however far away the keys are.
template <class T>
void UseControl(zeb::InteractBase& interact, const T& value) {
    static test::Panel panel;
    panel.Set(value);
    test::PointsGraphics graphics;
    Check(interact.Draw(panel.mGetter, panel.mContext, graphics));
    for (const auto& points : graphics.mCalls) {
        Check(points.size() <= 200 + 75 * value.keys.size());
        for (const zeb::ui::Point& point : points)
            Check(point.mX >= 20.0F && point.mX <= 132.0F && point.mY >= 30.0F && point.mY <= 142.0F);
    }
    panel.Run(interact, "move 0 .5; double .5 .5; click; drag 1 .1; double 1 .1; double .3 .3; drag .9 -.5");
}

void CheckRamp(const zeb::Ramp& ramp) {
    CheckCommon(ramp);
    std::string bytes(ramp.ToBin(nullptr), '\0');
    ramp.ToBin(bytes.data());
    zeb::Ramp read;
    read.FromBin(bytes.size(), bytes.data());
    Check(read.IsEqual(ramp));
    for (const float t : {-1.0F, 0.0F, 0.37F, 1.0F, 3.0F}) Check(ramp.Evaluate(t) >= 0.0F && ramp.Evaluate(t) <= 1.0F);
    zeb::RampInteract interact(test::panel::kRamp, -1);
    UseControl(interact, ramp);
}

void CheckGradient(const zeb::Gradient& gradient) {
    CheckCommon(gradient);
    float samples[4 * 16];
    gradient.Fill(samples, 16);
    for (const float sample : samples) Check(!std::isnan(sample));
    zeb::GradientInteract interact({.mIndex = test::panel::kGradient});
    UseControl(interact, gradient);
}

}  // namespace

/// The first byte picks the form, the rest is what the host or a user gives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    try {
        zeb::Ramp ramp;
        zeb::Gradient gradient;
        switch (bytes[0] % 3) {
            case 0:
                ramp.FromBin(text.size(), text.data());
                CheckRamp(ramp);
                break;
            case 1:
                ramp.FromJSON(text);
                CheckRamp(ramp);
                break;
            default:
                gradient.FromJSON(text);
                CheckGradient(gradient);
                break;
        }
    } catch (const std::exception&) {
        // Every failure has its message; a crash has none.
    }
    return 0;
}
