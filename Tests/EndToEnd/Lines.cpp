#include "Lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <glm/geometric.hpp>

namespace nimbrel::endtoend {
namespace {

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

}  // namespace

Shot WithoutGizmos(Shot shot) {
    for (ShotModel& model : shot.mModels) {
        model.mEffects.mGizmos = {};
        for (auto& [id, value] : model.mSettings.items()) {
            if (id == "showPivot" || id.ends_with("_preview")) value = false;
        }
    }
    return shot;
}

double CompareLines(const GizmoFrames& drawn, const GizmoFrames& expected) {
    const LinePicture lines(drawn.mWith, drawn.mWithout);
    const LinePicture expectedLines(expected.mWith, expected.mWithout);
    EXPECT_GT(lines.Count(), 20);
    EXPECT_LT(std::abs(std::log(static_cast<double>(lines.Count()) / static_cast<double>(expectedLines.Count()))),
              std::log(1.4));
    EXPECT_EQ(CountStrays(lines, expectedLines, false), 0);
    EXPECT_EQ(CountStrays(expectedLines, lines, false), 0);
    // Where lines cross, which of them covers a pixel may differ.
    EXPECT_LE(CountStrays(lines, expectedLines, true), 0.03 * static_cast<double>(lines.Count()));
    EXPECT_LE(CountStrays(expectedLines, lines, true), 0.03 * static_cast<double>(lines.Count()));
    GizmoFrames rest = {drawn.mWith, expected.mWith};
    for (std::size_t i = 0; i < lines.mIsLine.size(); ++i) {
        if (!lines.mIsLine[i] && !expectedLines.mIsLine[i]) continue;
        for (host::Frame* frame : {&rest.mWith, &rest.mWithout})
            std::memset(frame->mPixels.data() + i * sizeof(glm::vec4), 0, sizeof(glm::vec4));
    }
    return ComparePsnr(rest.mWith, rest.mWithout);
}

}  // namespace nimbrel::endtoend
