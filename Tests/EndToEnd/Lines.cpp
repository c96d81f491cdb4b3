#include "Lines.h"

#include <gtest/gtest.h>

#include <cstring>

#include <glm/geometric.hpp>

namespace nimbrel::endtoend {
namespace {

/// A frame's pixels: alpha, red, green, blue.
std::vector<glm::vec4> ToColors(const host::Frame& frame) {
    std::vector<glm::vec4> colors(frame.mPixels.size() / sizeof(glm::vec4));
    std::memcpy(colors.data(), frame.mPixels.data(), frame.mPixels.size());
    return colors;
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
    const std::vector<glm::vec4> pictures[] = {ToColors(drawn.mWith), ToColors(drawn.mWithout),
                                               ToColors(expected.mWith), ToColors(expected.mWithout)};
    GizmoFrames rest = {drawn.mWith, expected.mWith};
    int lines = 0;
    int strays = 0;
    for (std::size_t i = 0; i < pictures[0].size(); ++i) {
        const bool isLine = pictures[0][i] != pictures[1][i];
        const bool shouldBe = pictures[2][i] != pictures[3][i];
        if (!isLine && !shouldBe) continue;
        lines += shouldBe ? 1 : 0;
        if (isLine != shouldBe || glm::length(pictures[0][i] - pictures[2][i]) > 0.01F) ++strays;
        for (host::Frame* frame : {&rest.mWith, &rest.mWithout})
            std::memset(frame->mPixels.data() + i * sizeof(glm::vec4), 0, sizeof(glm::vec4));
    }
    EXPECT_GT(lines, 20);
    // Where the last bit of a corner's place decides: a pixel here and its neighbour there.
    EXPECT_LE(strays, 4) << "of " << lines << " pixels";
    return ComparePsnr(rest.mWith, rest.mWithout);
}

}  // namespace nimbrel::endtoend
