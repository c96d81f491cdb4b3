#pragma once

#include <cstdint>

#include <glm/vec4.hpp>

/// Where primitives fall on the pixel grid. Coordinates are fixed point with 8 fractional bits, as GPUs
/// snap them; pixel (x, y) has its centre at (x + 0.5, y + 0.5), y runs down.
namespace zeb::render::cpu {

inline constexpr std::int64_t kSubpixels = 256;

/// Target pixels from the origin that clip space maps to; clip y runs up. Depth runs from 0 to 1.
struct Viewport {
    float mX = 0.0F;
    float mY = 0.0F;
    float mWidth = 0.0F;
    float mHeight = 0.0F;
};

/// Pixels [mLeft, mRight) x [mTop, mBottom) may be written.
struct Scissor {
    std::int32_t mLeft = 0;
    std::int32_t mTop = 0;
    std::int32_t mRight = 0;
    std::int32_t mBottom = 0;
};

/// A clip position on the grid.
struct GridPoint {
    std::int64_t mX = 0;
    std::int64_t mY = 0;
    float mInverseW = 1.0F;
};

/// Divides by w, maps to the viewport and snaps to the nearest 1/256 pixel. The position must be inside the guard
/// band (`kGuardBand`).
GridPoint ToGrid(const glm::vec4& position, const Viewport& viewport);

/// Primitives are cut at this multiple of the viewport's half size, so that products of grid coordinates
/// fit 64 bits for viewports of up to 16384 pixels.
inline constexpr float kGuardBand = 64.0F;

/// Coverage of one triangle by the top-left rule, either winding. Pixels on an edge that two triangles
/// share belong to exactly one of them.
class TriangleSetup {
public:
    TriangleSetup(const GridPoint& a, const GridPoint& b, const GridPoint& c, const Scissor& scissor);

    /// No area, or nothing inside the scissor.
    bool IsEmpty() const { return mArea == 0 || mTop >= mBottom; }
    std::int32_t Top() const { return mTop; }
    std::int32_t Bottom() const { return mBottom; }

    /// Columns [begin, end) that row `y` covers; begin >= end if none.
    void GetSpan(std::int32_t y, std::int32_t& begin, std::int32_t& end) const;

    /// Share of vertices b and c at a pixel's centre, linear on the screen; a has the rest.
    void GetWeights(std::int32_t x, std::int32_t y, float& weightB, float& weightC) const;

private:
    /// mAtOrigin + x * mStepX + y * mStepY, in squares of subpixels, is positive inside.
    struct Edge {
        std::int64_t mAtOrigin = 0;
        std::int64_t mStepX = 0;
        std::int64_t mStepY = 0;
        std::int64_t mBias = 0;  ///< -1 where a pixel on the edge is outside
    };

    static Edge MakeEdge(const GridPoint& from, const GridPoint& to);

    Edge mEdges[3];  ///< opposite to a, b, c
    std::int64_t mArea = 0;
    double mInverseArea = 0.0;
    bool mSwapped = false;
    std::int32_t mLeft = 0;
    std::int32_t mRight = 0;
    std::int32_t mTop = 0;
    std::int32_t mBottom = 0;
};

/// Pixels of one aliased line by the diamond-exit rule: one pixel per step along the longer axis, the first point's
/// pixel included, the last point's not.
class LineSetup {
public:
    LineSetup(const GridPoint& a, const GridPoint& b);

    /// Steps along the longer axis, from the first pixel on.
    std::int64_t GetCount() const { return mLast >= mFirst ? mLast - mFirst + 1 : 0; }

    /// Pixel of a step, and how far along the line its centre lies, 0 at a and 1 at b.
    void GetPixel(std::int64_t step, std::int64_t& x, std::int64_t& y, float& t) const;

private:
    std::int64_t MinorPixelAt(std::int64_t major) const;

    std::int64_t mMajor[2] = {};  ///< along the longer axis, mirrored so that it ascends
    std::int64_t mMinor[2] = {};
    bool mSteep = false;
    bool mMirrored = false;
    std::int64_t mFirst = 0;  ///< pixels along the major axis, inclusive
    std::int64_t mLast = -1;
};

}  // namespace zeb::render::cpu
