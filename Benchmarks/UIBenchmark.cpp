// Drawing one custom control, without what the host does to put it on the screen: reading the value, working out what
// is drawn, and the calls. The goal is 1 ms at 150 x 140, so that a drag is not felt.
#include <benchmark/benchmark.h>

#include "Parameters/TestSupport.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"
#include "PluginBase/UI/GradientInteract.h"
#include "PluginBase/UI/RampInteract.h"

namespace {

using zeb::ui::Color;
using zeb::ui::Point;
using zeb::ui::Rect;

/// Takes all calls and draws nothing.
class NoGraphics final : public zeb::ui::Graphics {
public:
    Color GetStandardColor(zeb::ui::StandardColor) override { return {}; }
    zeb::UniquePtr<zeb::ui::Brush> MakeBrush(const Color&) override { return zeb::MakeUnique<NoBrush>(); }
    zeb::UniquePtr<zeb::ui::Pen> MakePen(const Color&, float) override { return zeb::MakeUnique<NoPen>(); }
    zeb::UniquePtr<zeb::ui::Polygon> MakePolygon() override { return zeb::MakeUnique<NoPolygon>(); }
    void DrawLine(const zeb::ui::Pen&, const Point&, const Point&) override { ++mCalls; }
    void DrawLineStrip(const zeb::ui::Pen&, const std::vector<Point>& points) override { mCalls += points.size(); }
    void FillRect(const Rect&, const zeb::ui::Brush&) override { ++mCalls; }
    void DrawRect(const Rect&, const zeb::ui::Pen&) override { ++mCalls; }
    void FillPolygon(const zeb::ui::Polygon&, const zeb::ui::Brush&) override { ++mCalls; }
    void DrawPolygon(const zeb::ui::Polygon&, const zeb::ui::Pen&) override { ++mCalls; }
    void FillGradientRect(const Rect&, const std::vector<Color>& row) override { mCalls += row.size(); }

    std::size_t mCalls = 0;

private:
    struct NoBrush final : zeb::ui::Brush {};
    struct NoPen final : zeb::ui::Pen {};
    struct NoPolygon final : zeb::ui::Polygon {
        void AddPoint(const Point&) override {}
        void Close() override {}
    };
};

/// Draws `value`, the only custom parameter, with `interact`, over and over.
void Draw(benchmark::State& state, const zeb::CustomBase& value, zeb::InteractBase& interact, float height) {
    const test::TextManager manager(
        test::Catalogue({test::Entry("Checkbox", 1), test::Entry("Custom", 2,
                                                                 R"("valueType":"Ramp","showControlIndex":0,)"
                                                                 R"("default":{})")}));
    test::Values values;
    values.mCustoms[1] = value.ToJSON();
    const test::ValuesGetter getter(manager, values);
    zeb::DrawContext context;
    context.mWidth = 150.0F;
    context.mHeight = height;
    context.mScaleX = context.mScaleY = static_cast<float>(state.range(1));
    NoGraphics graphics;
    for (auto _ : state) {
        interact.Draw(getter, context, graphics);
        benchmark::DoNotOptimize(graphics.mCalls);
    }
}

/// Arguments: keys, pixels per unit, interpolation.
void DrawRamp(benchmark::State& state) {
    zeb::Ramp ramp(0, 1.0F, 0.0F);
    ramp.interpolation = static_cast<std::int32_t>(state.range(2));
    const auto count = static_cast<int>(state.range(0));
    for (int i = 1; i + 1 < count; ++i)
        ramp.keys[static_cast<float>(i) / static_cast<float>(count - 1)] = i % 2 == 0 ? 0.25F : 0.75F;
    zeb::RampInteract interact(1, -1);
    Draw(state, ramp, interact, 140.0F);
}
BENCHMARK(DrawRamp)
    ->ArgNames({"keys", "scale", "interpolation"})
    ->ArgsProduct({{2, 20}, {1, 2}, {zeb::Ramp::kCosine, zeb::Ramp::kBezier}})
    ->Unit(benchmark::kMicrosecond);

void DrawGradient(benchmark::State& state) {
    zeb::Gradient gradient;
    const auto count = static_cast<int>(state.range(0));
    for (int i = 1; i + 1 < count; ++i)
        gradient.keys[static_cast<float>(i) / static_cast<float>(count - 1)] = {i % 3, glm::vec3(0.125F)};
    zeb::GradientInteract interact({.mIndex = 1});
    Draw(state, gradient, interact, 50.0F);
}
BENCHMARK(DrawGradient)->ArgNames({"keys", "scale"})->ArgsProduct({{2, 20}, {1, 2}})->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
