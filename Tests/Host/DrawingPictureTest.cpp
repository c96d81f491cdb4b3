// Drawing calls as pixels: each table row is a drawing and what one pixel of it must be.
#include <gmock/gmock.h>

#include "HostInterface/Drawbot.h"
#include "NimbrelHost/Drawing/CustomUI.h"
#include "NimbrelHost/Panel/DrawingPicture.h"

namespace nimbrel::host {
namespace {

constexpr glm::vec4 kRed{1, 0, 0, 1}, kBlue{0, 0, 1, 1};
constexpr Rgb kBlack = 0, kRedPixel = 0xff0000, kBluePixel = 0x0000ff;

using Verb = DrawingPath::Verb;

DrawingPath Rect(float x, float y, float width, float height) {
    return {{{Verb::Rect, {{{x, y}, {width, height}, {}}}}}};
}

FillCall Fill(const DrawingPath& path, const glm::vec4& color = kRed, bool winding = false) {
    return {path, color, winding};
}

Rgb GetPixel(const Frame& frame, int x, int y) {
    const std::size_t at = static_cast<std::size_t>(y) * frame.RowSize() + static_cast<std::size_t>(x) * 4;
    EXPECT_EQ(frame.mPixels[at], 255);
    return static_cast<Rgb>(frame.mPixels[at + 1] << 16 | frame.mPixels[at + 2] << 8 | frame.mPixels[at + 3]);
}

ImageCall Image(float alpha) {
    auto image = std::make_shared<DrawingImage>(DrawingImage{2, 1, 1, {0xffff0000, 0x80000080}});
    return {image, {14, 24}, alpha};
}

TransformCall Transform(const glm::mat3& matrix) { return {matrix}; }

TEST(DrawingPicture, PaintsEachCall) {
    // The frame begins at (10, 20) and has 20 x 10 points; pixels below are its own.
    const DrawingPath line{{{Verb::Move, {{{10, 25.5}, {}, {}}}}, {Verb::Line, {{{30, 25.5}, {}, {}}}}}};
    DrawingPath twice = Rect(12, 22, 10, 6);
    twice.mSteps.push_back(Rect(14, 24, 4, 2).mSteps[0]);
    const DrawingPath arc{
        {{Verb::Arc, {{{20, 25}, {4, 0}, {0, 90}}}}, {Verb::Line, {{{20, 25}, {}, {}}}}, {Verb::Close, {}}}};
    const DrawingPath bezier{
        {{Verb::Move, {{{12, 28}, {}, {}}}}, {Verb::Bezier, {{{12, 20}, {28, 20}, {28, 28}}}}, {Verb::Close, {}}}};
    const glm::mat3 moved(1, 0, 0, 0, 1, 0, 5, 2, 1);
    struct Case {
        const char* mName;
        std::vector<DrawingCall> mCalls;
        int mX, mY;
        Rgb mPixel;
    };
    const Case cases[] = {
        {"inside", {Fill(Rect(12, 22, 2, 2))}, 3, 3, kRedPixel},
        {"outside", {Fill(Rect(12, 22, 2, 2))}, 4, 3, kBlack},
        {"half transparent", {Fill(Rect(10, 20, 20, 10), {1, 0, 0, 0.5F})}, 1, 1, 0x800000},
        {"even-odd has a hole", {Fill(twice)}, 5, 5, kBlack},
        {"winding has none", {Fill(twice, kRed, true)}, 5, 5, kRedPixel},
        {"below and right of the centre: arcs run clockwise", {Fill(arc)}, 11, 6, kRedPixel},
        {"not above it", {Fill(arc)}, 11, 3, kBlack},
        {"under a curve", {Fill(bezier)}, 10, 4, kRedPixel},
        {"over it", {Fill(bezier)}, 10, 0, kBlack},
        {"a line", {StrokeCall{line, kBlue, 1, {}}}, 15, 5, kBluePixel},
        {"its width", {StrokeCall{line, kBlue, 1, {}}}, 15, 6, kBlack},
        {"dashes", {StrokeCall{line, kBlue, 1, {4, 4}}}, 5, 5, kBlack},
        {"an image", {Image(1)}, 4, 4, kRedPixel},
        {"its transparent pixel", {Image(1)}, 5, 4, 0x000080},
        {"an image let through", {Image(0.5F)}, 4, 4, 0x800000},
        {"a clip", {ClipCall{{10, 20, 5, 5}}, Fill(Rect(10, 20, 20, 10))}, 6, 2, kBlack},
        {"a clip undone",
         {PushCall{}, ClipCall{{10, 20, 5, 5}}, PopCall{}, Fill(Rect(10, 20, 20, 10))},
         6,
         2,
         kRedPixel},
        {"a transform", {Transform(moved), Fill(Rect(12, 22, 2, 2))}, 8, 5, kRedPixel},
        {"two transforms", {Transform(moved), Transform(moved), Fill(Rect(12, 22, 2, 2))}, 13, 7, kRedPixel},
        {"a state left behind", {PushCall{}, PushCall{}, Fill(Rect(12, 22, 2, 2))}, 3, 3, kRedPixel},
        {"a pop too many", {PopCall{}, Fill(Rect(12, 22, 2, 2))}, 3, 3, kRedPixel},
        {"later calls over earlier", {Fill(Rect(12, 22, 2, 2)), Fill(Rect(12, 22, 2, 2), kBlue)}, 3, 3, kBluePixel},
    };
    for (const Case& test : cases) {
        for (const int scale : {1, 2}) {
            const Frame frame = PaintDrawing({{10, 20, 20, 10}, test.mCalls}, scale, kBlack);
            ASSERT_EQ(frame.mWidth, 20 * scale);
            const Rgb pixel = GetPixel(frame, test.mX * scale, test.mY * scale);
            for (const int shift : {16, 8, 0})
                EXPECT_NEAR((pixel >> shift) & 0xff, (test.mPixel >> shift) & 0xff, 1) << test.mName << " x " << scale;
        }
    }
}

TEST(DrawingPicture, WritesText) {
    const auto measure = [](const TextCall& call) {
        const Frame frame = PaintDrawing({{0, 0, 200, 30}, {call}}, 1, kBlack);
        int left = 200, right = -1;
        for (int x = 0; x < 200; ++x) {
            for (int y = 0; y < 30; ++y) {
                if (GetPixel(frame, x, y) == kBlack) continue;
                left = std::min(left, x);
                right = x;
            }
        }
        return std::pair{left, right};
    };
    TextCall call{"Splats and ramps", {100, 20}, {1, 1, 1, 1}, 12, kDRAWBOT_TextAlignment_Left, 0, 0};
    const auto [left, right] = measure(call);
    EXPECT_NEAR(left, 100, 2);
    const int width = right - left;
    EXPECT_GT(width, 60);
    call.mAlignment = kDRAWBOT_TextAlignment_Right;
    EXPECT_NEAR(measure(call).second, 100, 2);
    call.mAlignment = kDRAWBOT_TextAlignment_Center;
    EXPECT_NEAR(measure(call).first, 100 - width / 2, 3);
    call.mAlignment = kDRAWBOT_TextAlignment_Left;
    call.mTruncation = kDRAWBOT_TextTruncation_EndEllipsis;
    call.mWidth = 40;
    EXPECT_LE(measure(call).second, 141);
    EXPECT_GT(measure(call).second, 120);
}

TEST(DrawingSurface, KnowsItsClipUnderTransforms) {
    DrawingSurface surface({10, 20, 20, 10}, 1, false);
    EXPECT_EQ(surface.GetClip(), (DrawingRect{10, 20, 20, 10}));
    surface.Push();
    surface.Transform(glm::mat3(2, 0, 0, 0, 2, 0, 10, 0, 1));
    EXPECT_EQ(surface.GetClip(), (DrawingRect{0, 10, 10, 5}));
    surface.Clip({4, 0, 100, 100});
    EXPECT_EQ(surface.GetClip(), (DrawingRect{4, 10, 6, 5}));
    surface.Clip({50, 50, 5, 5});
    EXPECT_EQ(surface.GetClip().mWidth, 0) << "nothing is left";
    EXPECT_TRUE(surface.Pop());
    EXPECT_EQ(surface.GetClip(), (DrawingRect{10, 20, 20, 10}));
    EXPECT_FALSE(surface.Pop());
}

}  // namespace
}  // namespace nimbrel::host
