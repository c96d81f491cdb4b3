#include "NimbrelHost/Scene/Fit.h"

#include <gmock/gmock.h>

#include <cmath>
#include <glm/vec2.hpp>
#include <limits>

#include "NimbrelHost/Scene/PlyBounds.h"
#include "TestSupport.h"

namespace nimbrel::host {
namespace {

TEST(PlyBounds, LeavesOutStraySplats) {
    const TestFolder folder;
    std::vector<float> positions;
    for (int i = 0; i <= 1000; ++i) {
        const auto t = static_cast<float>(i);
        positions.insert(positions.end(), {t, -2 * t, 5});
    }
    positions.insert(positions.end(),
                     {1e9F, 1e9F, 1e9F, std::nanf(""), 0, 0, std::numeric_limits<float>::infinity(), 0, 0});
    const auto file = folder.Write("a.ply", MakePly(positions));
    EXPECT_EQ(ReadPlyCount(file), 1004);
    const std::optional<convert::ModelBox> bounds = ReadPlyBounds(file);
    ASSERT_TRUE(bounds);
    // 1002 finite positions of one weight: what is beyond the 1st and 99th percentile counts down to 0.2 %.
    EXPECT_EQ(bounds->mMin, glm::dvec3(2, -1996, 5));
    EXPECT_EQ(bounds->mMax, glm::dvec3(999, -2, 5));
}

TEST(PlyBounds, RefusesWhatItCannotRead) {
    const TestFolder folder;
    const std::string head = "ply\nformat binary_little_endian 1.0\n";
    const char* const bodies[] = {
        "",
        "element vertex 5\nproperty double x\nproperty double y\nproperty double z\nend_header\n",
        "element vertex 5\nproperty float x\nproperty float y\nproperty float z\nend_header\n",  // no body
        "element vertex 5\nproperty float x\nproperty float y\nend_header\n",
        "element vertex 5\nelement face 5\nproperty float x\nend_header\n",
        "element vertex -1\nproperty float x\nproperty float y\nproperty float z\nend_header\n",
        "element vertex 99999999999999999999\nproperty float x\nend_header\n",
        "element vertex 5\nproperty list uchar int x\nend_header\n",
    };
    for (const char* body : bodies) EXPECT_FALSE(ReadPlyBounds(folder.Write("b.ply", head + body))) << body;
    EXPECT_FALSE(ReadPlyBounds(folder / "missing.ply"));
    // A count far beyond the file takes no memory for it.
    const std::string huge = head +
                             "element vertex 9000000000000000\nproperty float x\nproperty float y\nproperty float "
                             "z\nend_header\n" +
                             std::string(24, '\0');
    EXPECT_TRUE(ReadPlyBounds(folder.Write("c.ply", huge)));
}

/// Pixel extent of the nearest face, as the default camera sees it.
glm::dvec2 SeenHalfSize(const convert::ModelBox& bounds, const Fit& fit, int width) {
    const double scale = fit.mScalePercent / 100;
    const double depth = width + scale * (bounds.mMin.z * 1000 - fit.mAnchor.z);
    const glm::dvec3 half = (bounds.mMax - bounds.mMin) * 500.0 * scale;
    return {width * half.x / depth, width * half.y / depth};
}

TEST(Fit, FillsThePictureFromTheNearFace) {
    const struct {
        convert::ModelBox mBounds;
        int mWidth, mHeight;
    } cases[] = {
        {{{-1, -1, -1}, {1, 1, 1}}, 1920, 1080},
        {{{2, 3, 4}, {12, 4, 5}}, 1920, 1080},
        {{{-1, -9, -1}, {1, 9, 1}}, 1080, 1920},
        {{{0, 0, 0}, {0.5, 0.5, 8}}, 1280, 720},
        {{{-1, -1, -1}, {1, 1, 1}}, 64, 48},
        {{{-1e-5, -1e-5, 0}, {1e-5, 1e-5, 0}}, 640, 360},
        {{{-1e6, -1e6, -1e6}, {1e6, 1e6, 1e6}}, 640, 360},
    };
    for (const auto& [bounds, width, height] : cases) {
        const Fit fit = FitBox(bounds, width, height);
        const glm::dvec2 seen = SeenHalfSize(bounds, fit, width);
        const double fill = std::max(seen.x / (width / 2.0), seen.y / (height / 2.0));
        EXPECT_NEAR(fill, 0.9, 1e-6) << width << "x" << height << " " << bounds.mMax.x;
        EXPECT_DOUBLE_EQ(fit.mAnchor.x, (bounds.mMin.x + bounds.mMax.x) * 500);
        // What is nearer than 200 pixels would be clipped.
        EXPECT_GE(width + fit.mScalePercent / 100 * (bounds.mMin.z * 1000 - fit.mAnchor.z), 200);
    }
}

}  // namespace
}  // namespace nimbrel::host
