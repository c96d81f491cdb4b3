#include "Render/CPU/PrimitiveSetup.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zeb::render::cpu {
namespace {

constexpr std::int64_t kHalfPixel = kSubpixels / 2;

std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor) {
    const std::int64_t quotient = value / divisor;
    return quotient - static_cast<std::int64_t>(value % divisor != 0 && (value < 0) != (divisor < 0));
}

std::int64_t CeilDivide(std::int64_t value, std::int64_t divisor) { return -FloorDivide(-value, divisor); }

}  // namespace

GridPoint ToGrid(const glm::vec4& position, const Viewport& viewport) {
    const float inverseW = 1.0F / position.w;
    const float halfWidth = viewport.mWidth * 0.5F;
    const float halfHeight = viewport.mHeight * 0.5F;
    const float x = position.x * inverseW * halfWidth + (viewport.mX + halfWidth);
    const float y = position.y * inverseW * -halfHeight + (viewport.mY + halfHeight);
    const auto snap = [](float pixels) { return std::llrint(pixels * static_cast<float>(kSubpixels)); };
    return {snap(x), snap(y), inverseW};
}

TriangleSetup::Edge TriangleSetup::MakeEdge(const GridPoint& from, const GridPoint& to) {
    const std::int64_t dx = to.mX - from.mX;
    const std::int64_t dy = to.mY - from.mY;
    Edge edge;
    edge.mStepX = -dy * kSubpixels;
    edge.mStepY = dx * kSubpixels;
    edge.mAtOrigin = dx * (kHalfPixel - from.mY) - dy * (kHalfPixel - from.mX);
    // Inside lies to the right of the edge: a top edge runs to the right, a left edge runs up.
    edge.mBias = (dy == 0 && dx > 0) || dy < 0 ? 0 : -1;
    return edge;
}

TriangleSetup::TriangleSetup(const GridPoint& a, const GridPoint& b, const GridPoint& c, const Scissor& scissor) {
    mArea = (b.mX - a.mX) * (c.mY - a.mY) - (b.mY - a.mY) * (c.mX - a.mX);
    if (mArea == 0) return;
    mSwapped = mArea < 0;
    const GridPoint& second = mSwapped ? c : b;
    const GridPoint& third = mSwapped ? b : c;
    mArea = std::abs(mArea);
    mInverseArea = 1.0 / static_cast<double>(mArea);
    mEdges[0] = MakeEdge(second, third);
    mEdges[1] = MakeEdge(third, a);
    mEdges[2] = MakeEdge(a, second);

    const auto [minX, maxX] = std::minmax({a.mX, b.mX, c.mX});
    const auto [minY, maxY] = std::minmax({a.mY, b.mY, c.mY});
    const auto clampPixel = [](std::int64_t pixel, std::int32_t low, std::int32_t high) {
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(pixel, low, std::max(low, high)));
    };
    mLeft = clampPixel(FloorDivide(minX, kSubpixels), scissor.mLeft, scissor.mRight);
    mRight = clampPixel(FloorDivide(maxX, kSubpixels) + 1, scissor.mLeft, scissor.mRight);
    mTop = clampPixel(FloorDivide(minY, kSubpixels), scissor.mTop, scissor.mBottom);
    mBottom = clampPixel(FloorDivide(maxY, kSubpixels) + 1, scissor.mTop, scissor.mBottom);
}

void TriangleSetup::GetSpan(std::int32_t y, std::int32_t& begin, std::int32_t& end) const {
    std::int64_t low = mLeft;
    std::int64_t high = mRight;
    for (const Edge& edge : mEdges) {
        const std::int64_t value = edge.mAtOrigin + edge.mStepY * y + edge.mBias;
        if (edge.mStepX > 0)
            low = std::max(low, CeilDivide(-value, edge.mStepX));
        else if (edge.mStepX < 0)
            high = std::min(high, FloorDivide(value, -edge.mStepX) + 1);
        else if (value < 0)
            high = low;
    }
    begin = static_cast<std::int32_t>(low <= high ? low : high);
    end = static_cast<std::int32_t>(high);
    if (low > high) begin = end;
}

void TriangleSetup::GetWeights(std::int32_t x, std::int32_t y, float& weightB, float& weightC) const {
    const auto weight = [&](const Edge& edge) {
        const std::int64_t value = edge.mAtOrigin + edge.mStepX * x + edge.mStepY * y;
        return static_cast<float>(static_cast<double>(value) * mInverseArea);
    };
    weightB = weight(mEdges[1]);
    weightC = weight(mEdges[2]);
    if (mSwapped) std::swap(weightB, weightC);
}

LineSetup::LineSetup(const GridPoint& a, const GridPoint& b) {
    mSteep = std::abs(b.mY - a.mY) > std::abs(b.mX - a.mX);
    mMajor[0] = mSteep ? a.mY : a.mX;
    mMajor[1] = mSteep ? b.mY : b.mX;
    mMinor[0] = mSteep ? a.mX : a.mY;
    mMinor[1] = mSteep ? b.mX : b.mY;
    mMirrored = mMajor[1] < mMajor[0];
    if (mMirrored) {
        mMajor[0] = -mMajor[0];
        mMajor[1] = -mMajor[1];
    }
    if (mMajor[0] == mMajor[1]) return;

    const auto insideDiamond = [&](int point, std::int64_t pixel) {
        const std::int64_t centreMajor = pixel * kSubpixels + kHalfPixel;
        const std::int64_t centreMinor = MinorPixelAt(pixel) * kSubpixels + kHalfPixel;
        return std::abs(mMajor[point] - centreMajor) + std::abs(mMinor[point] - centreMinor) < kHalfPixel;
    };
    mFirst = FloorDivide(mMajor[0], kSubpixels);
    mLast = FloorDivide(mMajor[1], kSubpixels);
    const std::int64_t first = mFirst;
    const std::int64_t last = mLast;
    // A line leaves a diamond that it starts in, and does not leave the one that it ends in.
    if (mMajor[0] > first * kSubpixels + kHalfPixel && !insideDiamond(0, first)) ++mFirst;
    if (mMajor[1] <= last * kSubpixels + kHalfPixel || insideDiamond(1, last)) --mLast;
}

/// Where the line crosses the centre of a pixel along the major axis. The lower and the right corner belong to a
/// pixel's diamond: a line just between two pixels takes the upper or left one.
std::int64_t LineSetup::MinorPixelAt(std::int64_t major) const {
    const std::int64_t along = major * kSubpixels + kHalfPixel - mMajor[0];
    const std::int64_t minor = mMinor[0] + CeilDivide((mMinor[1] - mMinor[0]) * along, mMajor[1] - mMajor[0]);
    return FloorDivide(minor - 1, kSubpixels);
}

void LineSetup::GetPixel(std::int64_t step, std::int64_t& x, std::int64_t& y, float& t) const {
    const std::int64_t pixel = mFirst + step;
    const std::int64_t major = mMirrored ? -pixel - 1 : pixel;
    const std::int64_t minor = MinorPixelAt(pixel);
    x = mSteep ? minor : major;
    y = mSteep ? major : minor;
    const double along = static_cast<double>(pixel * kSubpixels + kHalfPixel - mMajor[0]);
    t = static_cast<float>(std::clamp(along / static_cast<double>(mMajor[1] - mMajor[0]), 0.0, 1.0));
}

}  // namespace zeb::render::cpu
