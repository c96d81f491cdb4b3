// The importer's pictures: into worlds of all kinds, from several threads, and against the effect's own.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

#include "ImporterFixture.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/User/Settings.h"
#include "Studio.h"

namespace nimbrel::host {
namespace {

constexpr std::uint8_t kPattern = 0x5C;

struct Drawing {
    int mWidth, mHeight;
    int mBits = 8;
    A_Ratio mScale = {1, 1};
    A_LRect mRegion = {0, 0, 0, 0};
    int mPadding = 16;
};

class ImporterDrawTest : public ImporterTest {
protected:
    ImporterDrawTest() : mFootage(GetImporters().Import(Write("ball.ply", MakeBall(2000)))) {}

    Frame Draw(const Drawing& drawing) {
        World::Layout layout;
        layout.mWidth = drawing.mWidth;
        layout.mHeight = drawing.mHeight;
        layout.mBitsPerChannel = drawing.mBits;
        layout.mPaddingBytes = drawing.mPadding;
        layout.mInitialByte = kPattern;
        World world(layout);
        AEIO_DrawSparseFramePB request{};
        request.rs = {drawing.mScale, drawing.mScale};
        request.required_region = drawing.mRegion;
        EXPECT_EQ(mFootage->mSource->Draw(request, world), A_Err_NONE);
        EXPECT_TRUE(world.IsPaddingUntouched());
        Frame frame(drawing.mWidth, drawing.mHeight, drawing.mBits);
        world.CopyInto(frame);
        return frame;
    }

    std::unique_ptr<Footage> mFootage;
};

const std::uint8_t* At(const Frame& frame, int x, int y) {
    return frame.mPixels.data() + static_cast<std::size_t>(y) * frame.RowSize() +
           static_cast<std::size_t>(x) * frame.PixelSize();
}

/// Channel `c` (alpha, red, green, blue) as a share of white.
double Channel(const Frame& frame, int x, int y, int c) {
    const std::uint8_t* pixel = At(frame, x, y);
    std::uint16_t word = 0;
    float number = 0;
    switch (frame.mBitsPerChannel) {
        case 8: return pixel[c] / 255.0;
        case 16: std::memcpy(&word, pixel + 2 * c, 2); return word / 32768.0;
        default: std::memcpy(&number, pixel + 4 * c, 4); return number;
    }
}

TEST_F(ImporterDrawTest, ShowsTheModelUprightInTheMiddle) {
    const Frame frame = Draw({320, 180});
    // Red to the right, green below, dark blue behind.
    EXPECT_GT(Channel(frame, 190, 90, 1), Channel(frame, 130, 90, 1) + 0.2);
    EXPECT_GT(Channel(frame, 160, 120, 2), Channel(frame, 160, 60, 2) + 0.2);
    EXPECT_NEAR(Channel(frame, 5, 5, 1), 26 / 255.0, 1e-9);
    // The near face of the ball's box fills nine tenths of the height: rows beyond it are background.
    int rows = 0;
    for (int y = 0; y < 180; ++y) rows += Channel(frame, 160, y, 2) > 0.2 ? 1 : 0;
    EXPECT_GT(rows, 80);
    EXPECT_LT(rows, 150);
}

TEST_F(ImporterDrawTest, FillsWorldsOfEverySizeDepthAndPadding) {
    const Frame whole = Draw({320, 180});
    const Drawing drawings[] = {{320, 180, 16},       {320, 180, 32, {1, 1}, {0, 0, 0, 0}, 52}, {160, 90, 8, {1, 2}},
                                {107, 60, 8, {1, 3}}, {106, 60, 8, {1, 3}, {0, 0, 0, 0}, 0},    {249, 140, 16, {7, 9}},
                                {1, 1, 8, {1, 320}}};
    for (const Drawing& drawing : drawings) {
        SCOPED_TRACE(drawing.mWidth);
        const Frame frame = Draw(drawing);
        double sum = 0, expected = 0;
        for (int y = 0; y < drawing.mHeight; ++y) {
            for (int x = 0; x < drawing.mWidth; ++x) {
                ASSERT_EQ(Channel(frame, x, y, 0), 1.0);
                sum += Channel(frame, x, y, 1) / (drawing.mWidth * drawing.mHeight);
                if (drawing.mWidth == 320) {
                    ASSERT_NEAR(Channel(frame, x, y, 1), Channel(whole, x, y, 1), 1.6e-5);
                }
            }
        }
        for (int y = 0; y < 180; ++y) {
            for (int x = 0; x < 320; ++x) expected += Channel(whole, x, y, 1) / (320 * 180);
        }
        // Whatever the size, the picture's mean stays.
        EXPECT_NEAR(sum, expected, 0.003);
    }
}

TEST_F(ImporterDrawTest, WritesTheRegionAndNothingElse) {
    const Frame whole = Draw({320, 180});
    const Frame part = Draw({320, 180, 8, {1, 1}, {100, 50, 301, 177}});
    const Frame beyond = Draw({320, 180, 8, {1, 1}, {-50, -50, 5000, 5000}});
    const Frame window = Draw({201, 127, 8, {1, 1}, {100, 50, 301, 177}});
    EXPECT_EQ(beyond.mPixels, whole.mPixels);
    for (int y = 0; y < 180; ++y) {
        for (int x = 0; x < 320; ++x) {
            const bool isInside = x >= 100 && x < 301 && y >= 50 && y < 177;
            ASSERT_EQ(At(part, x, y)[1], isInside ? At(whole, x, y)[1] : kPattern) << x << ' ' << y;
            if (!isInside) continue;
            ASSERT_EQ(At(window, x - 100, y - 50)[1], At(whole, x, y)[1]) << x << ' ' << y;
        }
    }
    // A world that is neither the picture nor the region.
    const Frame odd = Draw({50, 40});
    EXPECT_EQ(At(odd, 25, 20)[1], At(whole, 0, 0)[1]);
}

TEST_F(ImporterDrawTest, ServesSeveralThreadsOnOneFile) {
    const Frame expected = Draw({320, 180});
    const std::filesystem::path fresh = Write("fresh.ply", MakeBall(2000));
    std::atomic<int> equal{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            InSpec copy(GetImporters(), mFootage->mSource->GetModule(), t % 2 == 0 ? fresh : mFootage->mPath);
            InSpec other(GetImporters(), mFootage->mSource->GetModule(), fresh);
            SourceTexts texts;
            if (copy.Init() != A_Err_NONE || copy.CopyOptionsTo(other) != A_Err_NONE) return;
            if (other.GetTexts(texts) != A_Err_NONE || texts.mSubType.find("2,000 splats") != 0) return;
            if (GetImporters().Draw(copy, {{1, 1}, {1, 1}}).mPixels == expected.mPixels) ++equal;
        });
    }
    SourceTexts texts;
    for (int i = 0; i < 20; ++i) EXPECT_EQ(mFootage->mSource->GetTexts(texts), A_Err_NONE);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(equal, 8);
}

TEST_F(ImporterDrawTest, StopsWhereTheHostWantsToAndRefusesWorldsItDoesNotKnow) {
    World world({320, 180});
    AEIO_DrawSparseFramePB request{};
    request.rs = {{1, 1}, {1, 1}};
    request.inter.abort0 = [](void*) -> A_Err { return AEIO_Err_USER_CANCEL; };
    EXPECT_EQ(mFootage->mSource->Draw(request, world), AEIO_Err_USER_CANCEL);
    request.inter.abort0 = nullptr;
    world.GetRecord()->data = nullptr;
    EXPECT_EQ(mFootage->mSource->Draw(request, world), AEIO_Err_BAD_BMWORLD);
}

}  // namespace
}  // namespace nimbrel::host

namespace nimbrel::endtoend {
namespace {

/// The thumbnail of a model that is drawn whole is what the effect draws with --fit, at a sixth of the size.
TEST(Thumbnail, IsThePictureThatTheEffectDrawsWhenItFits) {
    const std::filesystem::path model = GetModelFile(4000, 2);
    const host::Json document = {
        {"composition", {{"width", 1920}, {"height", 1080}, {"bitsPerChannel", 32}, {"downsample", 6}}},
        {"parameters", {{"Model1_model", model.string()}}}};
    Studio studio(document, "thumbnail");
    host::FitModels(*studio.mHost);
    const host::Frame effect = studio.Render();
    const auto footage = studio.mHost->GetImporters().Import(model);
    const host::Frame thumbnail = studio.mHost->GetImporters().Draw(*footage->mSource, {{1, 1}, {1, 1}});
    ASSERT_EQ(effect.mPixels.size(), 4 * thumbnail.mPixels.size());
    constexpr float background[] = {26, 29, 36};
    float error = 0, shown = 0;
    for (std::size_t i = 0; i < thumbnail.mPixels.size(); i += 4) {
        float pixel[4];  // alpha, red, green, blue
        std::memcpy(pixel, effect.mPixels.data() + 4 * i, sizeof(pixel));
        for (std::size_t c = 0; c < 3; ++c) {
            const float expected = std::min(pixel[0] * pixel[1 + c] * 255 + (1 - pixel[0]) * background[c], 255.0F);
            error += std::abs(expected - thumbnail.mPixels[i + 1 + c]) / (3 * 320 * 180);
        }
        shown += pixel[0] / (320 * 180);
    }
    EXPECT_GT(shown, 0.1);
    EXPECT_LT(error, 0.3);  // of 255: what rounding to bytes makes
}

}  // namespace
}  // namespace nimbrel::endtoend
