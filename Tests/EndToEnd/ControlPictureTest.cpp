// What the controls show is what their values are: curve and bar are sampled from the picture and held against the
// values' own evaluation.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "ControlSession.h"
#include "NimbrelHost/Drawing/Theme.h"
#include "NimbrelHost/Panel/DrawingPicture.h"
#include "NimbrelHost/Panel/Panel.h"
#include "Panel/PanelLayout.h"
#include "PluginBase/Parameters/Custom/Gradient.h"
#include "PluginBase/Parameters/Custom/Ramp.h"

namespace nimbrel::endtoend {
namespace {

constexpr int kInset = 6;  // of the plot, points
constexpr int kPlotWidth = 138;

/// Red, green or blue of a pixel, 0 to 255.
int GetChannel(const host::Frame& frame, int x, int y, int channel) {
    const std::size_t pixel = static_cast<std::size_t>(y) * frame.RowSize() + static_cast<std::size_t>(x) * 4;
    return frame.mPixels[pixel + 1 + static_cast<std::size_t>(channel)];
}

/// Where the curve's line has its middle in a column of pixels, from the top: it is bluer than the area below it.
double FindLine(const host::Frame& frame, int x) {
    const int area = static_cast<int>(host::FindAppColor(PF_App_Color_TEXT).value() & 0xff);
    double sum = 0, weights = 0;
    for (int y = 0; y < frame.mHeight; ++y) {
        const double weight = std::max(0, GetChannel(frame, x, y, 2) - area - 12);
        sum += weight * (y + 0.5);
        weights += weight;
    }
    return weights == 0 ? -1000 : sum / weights;
}

TEST(ControlPicture, CurvesAreDrawnAsTheyAreEvaluated) {
    for (const int scale : {1, 2}) {
        host::PointerSession::View view;
        view.mPixelScale = scale;
        ControlSession user(kRamp, view);
        for (const int interpolation : {0, 1, 2, 3}) {
            zeb::Ramp ramp;
            ramp.interpolation = interpolation;
            ramp.keys = {{0.15F, 0.2F}, {0.4F, 0.9F}, {0.6F, 0.35F}, {0.85F, 0.7F}};
            user.Set(host::Json::parse(ramp.ToJSON()));
            const host::Frame picture = host::PaintDrawing(user.Draw(), scale);
            ASSERT_EQ(picture.mWidth, 150 * scale);
            ASSERT_EQ(picture.mHeight, 140 * scale);
            const int top = kInset * scale, bottom = (140 - kInset) * scale;
            int compared = 0;
            for (int x = (kInset + 2) * scale; x < (150 - kInset - 2) * scale; ++x) {
                const float t = (static_cast<float>(x) + 0.5F) / static_cast<float>(scale * kPlotWidth) -
                                static_cast<float>(kInset) / kPlotWidth;
                // Keys cover the curve, and at a step it is everywhere at once.
                bool isClear = true;
                for (const auto& key : ramp.keys) isClear = isClear && std::fabs(key.first - t) * kPlotWidth > 7;
                if (!isClear) continue;
                ++compared;
                const double expected = top + (1 - static_cast<double>(ramp.Evaluate(t))) * (bottom - top);
                EXPECT_NEAR(FindLine(picture, x), expected, 1.25)
                    << "interpolation " << interpolation << ", scale " << scale << ", t " << t;
            }
            EXPECT_GT(compared, 70 * scale);
        }
    }
}

TEST(ControlPicture, BarsHaveTheGradientsColours) {
    zeb::Gradient gradient;
    gradient.keys = {{0.1F, {zeb::Gradient::kLinear, {1, 0.5F, 0}}},
                     {0.4F, {zeb::Gradient::kSmooth, {0, 0.25F, 1}}},
                     {0.75F, {zeb::Gradient::kStep, {0.5F, 1, 0.5F}}},
                     {0.9F, {zeb::Gradient::kLinear, {0, 0, 0}}}};
    for (const bool argb : {false, true}) {
        host::PointerSession::View view;
        view.mPrefersArgb = argb;
        ControlSession user(kGradient, view);
        user.Set(host::Json::parse(gradient.ToJSON()));
        const host::Frame picture = host::PaintDrawing(user.Draw());
        for (int i = 1; i < kPlotWidth - 1; ++i) {
            const float t = (static_cast<float>(i) + 0.5F) / kPlotWidth;
            if (std::fabs(t - 0.9F) * kPlotWidth < 1.5F) continue;  // where it jumps
            for (int c = 0; c < 3; ++c) {
                const double expected = static_cast<double>(gradient.GetColor(t)[c]) * 255;
                EXPECT_NEAR(GetChannel(picture, kInset + i, 10, c), expected, 3) << "column " << i << ", channel " << c;
            }
        }
    }
}

TEST(ControlPicture, ThePanelHasTheControlsInTheirPlaces) {
    ControlSession user(kRamp, {});
    user.DoubleClick(75, 38);
    user.Hover(40, 100);  // off the keys
    host::PanelOptions options;
    options.mGroups = {"Model1_effects_splatOpacity"};
    const host::Frame panel = host::DrawPanel(*user.mStudio.mHost, options);
    const host::Frame control = host::PaintDrawing(user.Draw());
    int found = 0;
    const auto columns = host::panel::FlowColumns(host::panel::ListRows(*user.mStudio.mHost, options));
    for (const auto& row : columns.at(0).mRows) {
        if (row.mParameter != &user.mControl) continue;
        ++found;
        const int left = host::panel::kPadding + host::panel::kValueLeft;
        const int top = host::panel::kHeaderHeight + 2 * host::panel::kControlMargin + row.mTop;
        // Edges are smoothed by sixteenths from rounded coordinates; a point aside would differ by a hundred.
        int largest = 0;
        for (int y = 0; y < control.mHeight; ++y) {
            for (int x = 0; x < control.mWidth * 3; ++x) {
                const int inPanel = GetChannel(panel, left + x / 3, top + y, x % 3);
                largest = std::max(largest, std::abs(inPanel - GetChannel(control, x / 3, y, x % 3)));
            }
        }
        EXPECT_LE(largest, 16);
    }
    EXPECT_EQ(found, 1);
}

}  // namespace
}  // namespace nimbrel::endtoend
