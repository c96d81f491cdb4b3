#include <algorithm>
#include <cmath>

#include <glm/geometric.hpp>

#include "KnotScene.h"

namespace nimbrel::maker {
namespace {

Orb OnFloor(double x, double z, double radius, const glm::dvec3& color) {
    return {{x, kFloorHeight - radius, z}, radius, color};
}

glm::dvec3 SphereDirection(const glm::dvec2& even) {
    const double z = 1.0 - 2.0 * even.x;
    const double ring = std::sqrt(std::max(0.0, 1.0 - z * z));
    return {ring * Cos(2.0 * kPi * even.y), z, ring * Sin(2.0 * kPi * even.y)};
}

// The skin of glass: hardly there where it is looked at squarely, bright where it turns away.
Splat MakeSkin(const Orb& orb, const glm::dvec2& even, double spacing, int degree) {
    const glm::dvec3 normal = SphereDirection(even);
    Splat splat(degree);
    splat.mPosition = orb.mCentre + normal * orb.mRadius;
    splat.Orient(normal, glm::dvec3(0.0, 1.0, 0.0));
    splat.mSize = glm::dvec3(0.75, 0.75, 0.05) * spacing;
    splat.mOpacity = 0.10;
    const double lit = 0.55 - 0.45 * normal.y;
    splat.mColor.AddFacing(normal, [&](double c) {
        const double edge = 1.0 - c * c;  // Even: the far side is seen through the near one.
        return orb.mColor * (0.18 * lit + 0.10) + (orb.mColor * 0.6 + 0.4) * (0.85 * edge * lit);
    });
    const glm::dvec3 key = GetKeyDirection();
    splat.mColor.AddHighlight(normal * (2.0 * glm::dot(normal, key)) - key, glm::dvec3(1.1, 1.05, 1.0), 7.0);
    return splat;
}

// The lamp's image on the glass: where a viewer in front sees it.
Splat MakeLampImage(const Orb& orb, const glm::dvec2& even, double spacing, int degree) {
    const glm::dvec3 middle = glm::normalize(GetKeyDirection() + glm::dvec3(0.0, 0.0, -1.0));
    const glm::dvec3 u = Across(middle), v = glm::cross(middle, u);
    const double r = 0.20 * std::sqrt(even.x), angle = 2.0 * kPi * even.y;
    const glm::dvec3 normal = glm::normalize(middle + u * (r * Cos(angle)) + v * (r * Sin(angle)));
    Splat splat(degree);
    splat.mPosition = orb.mCentre + normal * (orb.mRadius * 1.005);
    splat.Orient(normal, u);
    splat.mSize = glm::dvec3(0.45, 0.45, 0.05) * spacing;
    splat.mOpacity = 0.03 + 0.42 * (1.0 - SmoothStep(0.05, 0.20, r));
    splat.mColor.Add(glm::dvec3(1.0, 0.98, 0.94));
    return splat;
}

// A small galaxy within the glass: two arms of grains, and a bright heart.
Splat MakeGalaxy(const Orb& orb, const glm::dvec2& even, Random& random, double spacing, int degree) {
    const glm::dvec3 pole = glm::normalize(glm::dvec3(orb.mCentre.z, -1.4, -orb.mCentre.x));
    const glm::dvec3 u = Across(pole), v = glm::cross(pole, u);
    const double r = std::sqrt(even.x);
    const double arm = even.y < 0.5 ? 0.0 : kPi;
    const double angle = arm + 4.2 * r + random.Normal() * (0.14 + 0.16 * r);
    const double height = random.Normal() * 0.07 * (1.0 - 0.6 * r);
    const glm::dvec3 radial = u * Cos(angle) + v * Sin(angle);
    Splat splat(degree);
    splat.mPosition = orb.mCentre + (radial * (0.72 * r) + pole * height) * orb.mRadius;
    splat.Orient(pole, glm::cross(pole, radial));
    splat.mSize = glm::dvec3(1.3, 0.35, 0.3) * (spacing * random.Between(0.3, 0.7));
    splat.mOpacity = 0.75;
    const double heart = Exp(-5.0 * r * r);
    splat.mColor.Add((orb.mColor * (1.0 - heart) + glm::dvec3(1.0, 0.93, 0.78) * heart) *
                     (random.Between(0.5, 1.1) + 0.5 * heart));
    splat.mColor.AddHighlight(glm::cross(pole, radial), orb.mColor * 0.5, 3.0);
    return splat;
}

}  // namespace

const std::vector<Orb>& GetOrbs() {
    static const std::vector<Orb> orbs = {
        OnFloor(-1.22, -0.42, 0.235, {0.10, 0.62, 0.86}), OnFloor(1.10, -0.66, 0.200, {0.95, 0.30, 0.52}),
        OnFloor(-0.56, -1.06, 0.130, {0.98, 0.66, 0.20}), OnFloor(0.42, -1.20, 0.100, {0.36, 0.86, 0.56}),
        OnFloor(1.36, 0.42, 0.260, {0.52, 0.40, 0.98}),   OnFloor(-1.02, 0.86, 0.200, {0.98, 0.46, 0.26}),
        OnFloor(0.10, 1.30, 0.180, {0.28, 0.80, 0.82}),
    };
    return orbs;
}

Splat MakeOrbSplat(const Knot&, const Turn& turn) {
    Random random(turn.mSeed, turn.mIndex * 8 + 2);
    double total = 0.0;
    for (const Orb& orb : GetOrbs()) total += orb.mRadius * orb.mRadius;
    // An orb's share goes by its surface.
    const glm::dvec2 even = EvenPoint(turn.mIndex);
    double pick = even.x * total;
    std::size_t index = 0;
    while (index + 1 < GetOrbs().size() && pick >= GetOrbs()[index].mRadius * GetOrbs()[index].mRadius) {
        pick -= GetOrbs()[index].mRadius * GetOrbs()[index].mRadius;
        ++index;
    }
    const Orb& orb = GetOrbs()[index];
    const double spacing = std::sqrt(4.0 * kPi * total / (0.6 * turn.mCount));
    // What is left of the pick is as even as the pick was.
    const glm::dvec2 spread(pick / (orb.mRadius * orb.mRadius), even.y);
    const glm::dvec2 loose{random.Uniform(), random.Uniform()};  // Braces: evaluated in this order.
    switch (turn.mIndex % 20) {
        case 0: return MakeLampImage(orb, loose, spacing, turn.mDegree);
        case 1:
        case 4:
        case 7:
        case 10:
        case 13:
        case 16:
        case 18: return MakeGalaxy(orb, loose, random, std::min(spacing, 0.1 * orb.mRadius), turn.mDegree);
        default: return MakeSkin(orb, spread, spacing, turn.mDegree);
    }
}

}  // namespace nimbrel::maker
