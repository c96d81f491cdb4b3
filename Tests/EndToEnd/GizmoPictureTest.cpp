// Wireframe aids, from the panel's switches to pixels, against the reference renderer's lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

#include "EffectSettings.h"
#include "Shot.h"

namespace nimbrel::endtoend {
namespace {

constexpr glm::dvec3 kRed{1.0, 0.1, 0.0};
constexpr glm::dvec3 kBlue{0.0, 0.2, 1.0};

struct Case {
    const char* mName;
    std::function<void(ShotModel&)> mSet;
};

/// Pixels that the wireframes changed, with their colours: alpha, red, green, blue.
struct LinePicture {
    int mWidth;
    int mHeight;
    std::vector<glm::vec4> mColors;
    std::vector<bool> mIsLine;

    LinePicture(const host::Frame& with, const host::Frame& without)
        : mWidth(with.mWidth), mHeight(with.mHeight), mColors(with.mPixels.size() / sizeof(glm::vec4)) {
        std::vector<glm::vec4> before(mColors.size());
        std::memcpy(mColors.data(), with.mPixels.data(), with.mPixels.size());
        std::memcpy(before.data(), without.mPixels.data(), without.mPixels.size());
        for (std::size_t i = 0; i < mColors.size(); ++i) mIsLine.push_back(mColors[i] != before[i]);
    }

    std::size_t At(int x, int y) const { return static_cast<std::size_t>(y * mWidth + x); }
    std::ptrdiff_t Count() const { return std::count(mIsLine.begin(), mIsLine.end(), true); }

    /// Whether a pixel of the lines within one pixel of (x, y) has about this colour, or any if there is none given.
    bool IsNear(int x, int y, const glm::vec4* color) const {
        for (int j = std::max(y - 1, 0); j <= std::min(y + 1, mHeight - 1); ++j) {
            for (int i = std::max(x - 1, 0); i <= std::min(x + 1, mWidth - 1); ++i) {
                if (!mIsLine[At(i, j)]) continue;
                if (color == nullptr || glm::length(*color - mColors[At(i, j)]) < 0.01F) return true;
            }
        }
        return false;
    }
};

/// Line pixels of `a` that have no partner in `b`, by place alone or also by colour.
int CountStrays(const LinePicture& a, const LinePicture& b, bool byColor) {
    int strays = 0;
    for (int y = 0; y < a.mHeight; ++y) {
        for (int x = 0; x < a.mWidth; ++x) {
            const std::size_t at = a.At(x, y);
            if (a.mIsLine[at] && !b.IsNear(x, y, byColor ? &a.mColors[at] : nullptr)) ++strays;
        }
    }
    return strays;
}

std::vector<Shot> MakeGizmoShots() {
    Noise still;
    still.mAmplitude = 0;
    const Case cases[] = {
        {"Pivot", [](ShotModel& m) { Show(m, Preview::Pivot); }},
        {"CropSphere",
         [](ShotModel& m) {
             CropShape(m, Uneven(Sphere(80)));
             Show(m, Preview::Crop);
         }},
        {"CropBox",
         [](ShotModel& m) {
             CropShape(m, Uneven(Box(60)), true);
             Show(m, Preview::Crop);
         }},
        {"Color",
         [](ShotModel& m) {
             Recolor(m, Uneven(Sphere(70, 50)), Blending::Normal, kRed, kBlue, {0, 0});
             Show(m, Preview::Color);
         }},
        {"OpacityHardBox",
         [](ShotModel& m) {
             Fade(m, Box(50, 0), 50, 100, {1, 1});
             Show(m, Preview::Opacity);
         }},
        {"ScaleSoftSphere",
         [](ShotModel& m) {
             Resize(m, Uneven(Sphere(60, 100)), 100, {1, 1});
             Show(m, Preview::Scale);
         }},
        {"Displacement",
         [](ShotModel& m) {
             Displace(m, Uneven(Box(70, 30)), {});
             Show(m, Preview::Displacement);
         }},
        {"Noise",
         [still](ShotModel& m) {
             Disturb(m, Sphere(64, 60), still);
             Show(m, Preview::Noise);
         }},
        {"AllInATurnedModel",
         [still](ShotModel& m) {
             m.mRotation = {-15, 40, 25};
             m.mScale = 120;
             CropShape(m, Uneven(Sphere(90)));
             Recolor(m, Uneven(Box(70, 50)), Blending::Normal, kRed, kBlue, {0, 0});
             Fade(m, Sphere(40, 20), 50, 100, {1, 1});
             Resize(m, Box(30, 0), 100, {1, 1});
             Displace(m, Uneven(Box(50, 75)), {});
             Disturb(m, Uneven(Sphere(64, 60)), still);
             for (const Preview preview : {Preview::Pivot, Preview::Crop, Preview::Color, Preview::Opacity,
                                           Preview::Displacement, Preview::Scale, Preview::Noise})
                 Show(m, preview);
         }},
    };
    std::vector<Shot> shots;
    for (const Case& gizmo : cases) {
        for (const bool orthographic : {false, true}) {
            shots.push_back(MakeEffectShot(std::string(gizmo.mName) + (orthographic ? "Orthographic" : "Perspective")));
            shots.back().mCamera->mOrthographic = orthographic;
            gizmo.mSet(shots.back().mModels[0]);
        }
    }
    shots.push_back(MakeEffectShot("TwoModelsOverZDepth"));
    shots.back().mDrawZDepth = true;
    shots.back().mZDepthNear = 300;
    shots.back().mZDepthFar = 550;
    shots.back().mModels.push_back(MakeEffectModel(2000));
    shots.back().mModels[1].mPosition = {120, 30, 50};
    Show(shots.back().mModels[0], Preview::Pivot);
    CropShape(shots.back().mModels[1], Box(50));
    Show(shots.back().mModels[1], Preview::Crop);
    shots.push_back(MakeEffectShot("HalfResolution"));
    shots.back().mDownsample = 2;
    Show(shots.back().mModels[0], Preview::Pivot);
    return shots;
}

Shot WithoutGizmos(Shot shot) {
    for (ShotModel& model : shot.mModels) {
        model.mEffects.mGizmos = {};
        for (auto& [id, value] : model.mSettings.items()) {
            if (id == "showPivot" || id.ends_with("_preview")) value = false;
        }
    }
    return shot;
}

class GizmoPicture : public testing::TestWithParam<Shot> {};

TEST_P(GizmoPicture, HasTheReferencesLines) {
    const Shot& shot = GetParam();
    const Shot plain = WithoutGizmos(shot);
    host::Frame frame = RenderWithEffect(shot);
    host::Frame expected = RenderReference(shot);
    const LinePicture lines(frame, RenderWithEffect(plain));
    const LinePicture expectedLines(expected, RenderReference(plain));
    // Devices round line ends and ties differently, so a pixel may be off by one. They also differ in what a line of
    // one pixel's width covers where it is slanted.
    EXPECT_GT(lines.Count(), 20);
    EXPECT_LT(std::abs(std::log(static_cast<double>(lines.Count()) / static_cast<double>(expectedLines.Count()))),
              std::log(1.4));
    EXPECT_EQ(CountStrays(lines, expectedLines, false), 0);
    EXPECT_EQ(CountStrays(expectedLines, lines, false), 0);
    // Where lines cross, which of them covers a pixel may differ.
    EXPECT_LE(CountStrays(lines, expectedLines, true), 0.03 * static_cast<double>(lines.Count()));
    EXPECT_LE(CountStrays(expectedLines, lines, true), 0.03 * static_cast<double>(lines.Count()));
    // Between the lines nothing changes.
    for (std::size_t i = 0; i < lines.mIsLine.size(); ++i) {
        if (!lines.mIsLine[i] && !expectedLines.mIsLine[i]) continue;
        std::memset(frame.mPixels.data() + i * sizeof(glm::vec4), 0, sizeof(glm::vec4));
        std::memset(expected.mPixels.data() + i * sizeof(glm::vec4), 0, sizeof(glm::vec4));
    }
    EXPECT_GE(ComparePsnr(frame, expected), 60.0);
}

INSTANTIATE_TEST_SUITE_P(Shots, GizmoPicture, testing::ValuesIn(MakeGizmoShots()),
                         [](const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; });

}  // namespace
}  // namespace nimbrel::endtoend
