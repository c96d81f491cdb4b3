#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include "ExactMath.h"
#include "Splat.h"

/// The scene of the shape "knot", part by part. All parts share the lights and the knot that shades them.
namespace nimbrel::maker {

inline constexpr double kFloorHeight = 1.12;  ///< y points down: the floor is below the origin.
inline constexpr double kFloorRadius = 2.0;

/// What a maker of splats is told about its turn.
struct Turn {
    std::uint64_t mIndex;  ///< Number of this splat within its part.
    double mCount;         ///< Splats of the part.
    std::uint64_t mSeed;
    int mDegree;
};

/// A point on the ribbon of the knot.
struct RibbonPoint {
    glm::dvec3 mPosition, mNormal, mAlong;
    double mTurn;    ///< Way round the knot, 0 to 1.
    double mAcross;  ///< -1 at one edge of the ribbon, 1 at the other.
};

class Knot {
public:
    Knot();

    /// The ribbon at parameter t (0 to 2 pi along) and s (0 to 2 pi around its cross-section).
    RibbonPoint GetPoint(double t, double s) const;
    /// Parameters such that even numbers in 0..1 fall evenly on the surface.
    double AlongFromFraction(double fraction) const;
    double AroundFromFraction(double fraction) const;
    double GetArea() const { return mLength * mPerimeter; }

    struct Light {
        double mOpen;        ///< Part of the sky that the knot leaves open.
        double mKey;         ///< Part of the key light that reaches the point.
        glm::dvec3 mBounce;  ///< Light of the knot's own colours.
    };
    /// Light at a point of a surface. `ownTurn` in 0..1 leaves out the ribbon near to it, below 0 nothing.
    Light GetLight(const glm::dvec3& position, const glm::dvec3& normal, double ownTurn) const;

private:
    struct Sample {
        glm::dvec3 mPosition, mColor;
        double mTurn;
    };

    std::vector<double> mAlongTable, mAroundTable;
    double mLength = 0.0, mPerimeter = 0.0;
    std::vector<Sample> mSamples;
};

/// Unit vector towards the key light.
glm::dvec3 GetKeyDirection();

/// Light from the sky and the lamps on a surface of the given normal.
glm::dvec3 GetIrradiance(const glm::dvec3& normal, const Knot::Light& light);

/// The colours of the ribbon: `phase` runs through them with period 1.
glm::dvec3 GetIridescence(double phase);

Splat MakeRibbonSplat(const Knot& knot, const Turn& turn);
Splat MakeFloorSplat(const Knot& knot, const Turn& turn);
Splat MakeSeamSplat(const Knot& knot, const Turn& turn);
Splat MakeOrbSplat(const Knot& knot, const Turn& turn);
Splat MakeSparkSplat(const Knot& knot, const Turn& turn);
Splat MakeGlowSplat(const Knot& knot, const Turn& turn);

/// Spheres of glass on the floor, which light it too.
struct Orb {
    glm::dvec3 mCentre;
    double mRadius;
    glm::dvec3 mColor;
};
const std::vector<Orb>& GetOrbs();

/// The splats of the scene one after the other, parts interleaved.
class KnotScene {
public:
    KnotScene(std::uint64_t count, std::uint64_t seed, int degree);

    Splat Next();

private:
    static constexpr int kPartCount = 6;

    Knot mKnot;
    std::uint64_t mCount, mSeed;
    int mDegree;
    std::uint64_t mMade = 0;
    std::array<std::uint64_t, kPartCount> mMadeOfPart{};
};

/// The shape "box".
Splat MakeBoxSplat(const Turn& turn);

}  // namespace nimbrel::maker
