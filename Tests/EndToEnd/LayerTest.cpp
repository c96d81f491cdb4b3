// A layer that starts later, is stretched, or has another size than its composition.
#include <gtest/gtest.h>

#include <algorithm>

#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

/// Everything that may move moves: keys of the effect, an expression, the camera.
host::Json MakeMovingScene() {
    host::Json scene = MakeSceneDocument(MakeProjectShot());
    scene["composition"]["frameRate"] = 24;
    scene["composition"]["duration"] = 4;
    scene["camera"] = host::Json::parse(
        R"({"zoom": {"keyframes": [[0, 150], [4, 250]]}, "position": {"keyframes": [[0, [60, 40, -170]], [4, [110, 60, -150]]]}})");
    scene["parameters"]["Model1_transform_xRotation"] = {{"value", 0}, {"expression", "time * 40"}};
    return scene;
}

void SetKeys(host::Json& scene, double first, double last) {
    std::vector<std::vector<double>> keys = {{first, -30}, {last, 90}};
    std::sort(keys.begin(), keys.end());
    scene["parameters"]["Model1_transform_yRotation"] = {{"keyframes", keys}};
}

TEST(Layer, KeysCountInItsTimeCameraAndExpressionsInTheCompositions) {
    struct Row {
        double mStart, mStretch;    // seconds, percent
        double mFirst, mLast;       // composition times of layer times 0 and 1
        int mFrame;                 // between the keys
        std::optional<int> mEmpty;  // before the layer's time begins
    };
    const Row rows[] = {{0.5, 200, 0.5, 2.5, 40, 11}, {2, -50, 2, 1.5, 41, 49}, {-0.25, 37.5, -0.25, 0.125, 1, {}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.mStretch);
        host::Json placed = MakeMovingScene();
        SetKeys(placed, 0, 1);
        placed["layer"] = {{"start", row.mStart}, {"stretch", row.mStretch}};
        host::Json plain = MakeMovingScene();
        SetKeys(plain, row.mFirst, row.mLast);
        Studio studio(placed, "placed");
        EXPECT_EQ(studio.Save().at("layer"), placed["layer"]);
        const host::Frame frame = studio.Render(row.mFrame);
        if (row.mEmpty) {
            EXPECT_EQ(MeanAlpha(studio.Render(*row.mEmpty)), 0);
        }
        studio.Finish();
        const host::Frame expected = Studio(plain, "plain").Render(row.mFrame);
        EXPECT_GT(MeanAlpha(expected), 0.02);
        EXPECT_GE(ComparePsnr(frame, expected), 90.0);
    }
}

// The middles of layer and composition lie on each other, so that a camera shows the same at the same place.
TEST(Layer, OfAnotherSizeShowsItsPartOfTheComposition) {
    const host::Json plain = MakeMovingScene();
    const host::Frame whole = Studio(plain, "plain").Render(30);
    for (const auto& [width, height] : {std::pair{120, 60}, std::pair{200, 110}}) {
        host::Json placed = plain;
        placed["layer"] = {{"width", width}, {"height", height}};
        host::Frame expected = whole;
        const int x = std::max(0, (whole.mWidth - width) / 2), y = std::max(0, (whole.mHeight - height) / 2);
        for (int row = 0; row < whole.mHeight; ++row) {
            for (int column = 0; column < whole.mWidth; ++column) {
                const bool isInside = row >= y && row < whole.mHeight - y && column >= x && column < whole.mWidth - x;
                const auto pixel = expected.mPixels.begin() + row * static_cast<std::ptrdiff_t>(expected.RowSize()) +
                                   column * static_cast<std::ptrdiff_t>(expected.PixelSize());
                if (!isInside) std::fill_n(pixel, expected.PixelSize(), std::uint8_t{0});
            }
        }
        EXPECT_GT(MeanAlpha(expected), 0.02);
        EXPECT_GE(ComparePsnr(Studio(placed, "placed").Render(30), expected), 60.0) << width;
    }
}

}  // namespace
}  // namespace nimbrel::endtoend
