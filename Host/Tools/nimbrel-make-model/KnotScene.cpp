#include "KnotScene.h"

#include <algorithm>
#include <cmath>

#include <glm/geometric.hpp>

namespace nimbrel::maker {
namespace {

struct Part {
    double mShare;
    Splat (*mMake)(const Knot&, const Turn&);
};

constexpr std::array<Part, 6> kParts = {{
    {0.480, MakeRibbonSplat},
    {0.260, MakeFloorSplat},
    {0.060, MakeSeamSplat},
    {0.160, MakeOrbSplat},
    {0.038, MakeSparkSplat},
    {0.002, MakeGlowSplat},
}};

}  // namespace

glm::dvec3 Across(const glm::dvec3& v) {
    const glm::dvec3 other = std::abs(v.x) < 0.6 ? glm::dvec3(1.0, 0.0, 0.0) : glm::dvec3(0.0, 0.0, 1.0);
    return glm::normalize(glm::cross(v, other));
}

void Splat::Orient(const glm::dvec3& normal, const glm::dvec3& along) {
    const glm::dvec3 inSurface = along - normal * glm::dot(normal, along);
    const double length2 = glm::dot(inSurface, inSurface);
    mAxes[0] = length2 > 1e-12 ? inSurface / std::sqrt(length2) : Across(normal);
    mAxes[1] = glm::cross(normal, mAxes[0]);
    mAxes[2] = normal;
}

// Streams of sparks that wind up around the knot, stretched along their way.
Splat MakeSparkSplat(const Knot&, const Turn& turn) {
    Random random(turn.mSeed, turn.mIndex * 8 + 3);
    const double stream = std::floor(random.Uniform() * 5.0);
    const double rise = random.Uniform();
    const auto path = [&](double h) {
        const double angle = 2.0 * kPi * (0.2 * stream + 0.85 * h) + 0.5 * stream;
        const double radius = 1.28 - 0.42 * h + 0.16 * Sin(2.0 * kPi * (1.5 * h + 0.37 * stream));
        return glm::dvec3(radius * Cos(angle), kFloorHeight - 0.12 - 2.55 * h, radius * Sin(angle));
    };
    const double closeness = random.Uniform();
    const double width = 0.012 + 0.10 * closeness * random.Uniform();
    const glm::dvec3 way = glm::normalize(path(rise + 1e-3) - path(rise));
    Splat splat(turn.mDegree);
    splat.mPosition = path(rise) + random.NormalVector() * width;
    splat.Orient(Across(way), way);
    const double size = std::min(0.00075 * std::sqrt(5700.0 / turn.mCount) * random.Between(1.6, 5.0), 0.02);
    splat.mSize = glm::dvec3(2.6, 0.8, 0.8) * size;
    splat.mOpacity = 0.15 + 0.8 * (1.0 - rise) * random.Uniform();
    const glm::dvec3 warm(1.0, 0.74, 0.34), cool(0.40, 0.85, 1.0);
    const glm::dvec3 color = warm * (1.0 - rise) + cool * rise;
    splat.mColor.Add(color * random.Between(0.7, 1.2));
    splat.mColor.AddHighlight(Across(way), color * 0.6, 2.0);
    return splat;
}

// A haze of light: few, large and almost clear.
Splat MakeGlowSplat(const Knot& knot, const Turn& turn) {
    Random random(turn.mSeed, turn.mIndex * 8 + 4);
    const double way = EvenPoint(turn.mIndex).x;
    const RibbonPoint point = knot.GetPoint(knot.AlongFromFraction(way), 0.0);
    Splat splat(turn.mDegree);
    const double depth = random.Between(0.5, 1.15);
    splat.mPosition = point.mPosition * depth + random.NormalVector() * 0.10;
    splat.Orient(Across(point.mAlong), point.mAlong);
    splat.mSize = glm::dvec3(0.22, 0.15, 0.15) * random.Between(0.8, 1.4);
    splat.mOpacity = std::min(0.02 * 300.0 / turn.mCount, 0.05);
    splat.mColor.Add(GetIridescence(2.0 * way + 0.2) * 0.9 + 0.1);
    return splat;
}

KnotScene::KnotScene(std::uint64_t count, std::uint64_t seed, int degree)
    : mCount(count), mSeed(seed), mDegree(degree) {}

Splat KnotScene::Next() {
    // The part whose made share lags furthest behind gets its turn: parts interleave and end together.
    std::size_t next = 0;
    double furthest = -1e300;
    const auto turn = static_cast<double>(++mMade);
    for (std::size_t i = 0; i < kParts.size(); ++i) {
        const double lag = kParts[i].mShare * turn - static_cast<double>(mMadeOfPart[i]);
        if (lag > furthest) {
            furthest = lag;
            next = i;
        }
    }
    const double partCount = std::max(1.0, kParts[next].mShare * static_cast<double>(mCount));
    return kParts[next].mMake(mKnot, {mMadeOfPart[next]++, partCount, mSeed, mDegree});
}

}  // namespace nimbrel::maker
