#include <algorithm>
#include <cmath>

#include <glm/geometric.hpp>

#include "KnotScene.h"

namespace nimbrel::maker {
namespace {

constexpr double kTileRadius = 0.118;  // From the centre of a hexagon to its corner.
constexpr double kHexHeight = 0.86602540378443865;
constexpr double kGoldenAngle = 2.3999632297286533;

struct Tile {
    glm::dvec2 mCentre;
    double mRing;        ///< Distance from the middle of the floor, 1 at its rim.
    double mShade;       ///< Even random number of the tile.
    double mShrink;      ///< Towards the rim tiles grow smaller,
    double mLift;        ///< rise from the floor,
    glm::dvec3 mNormal;  ///< and tilt.
};

// Of the hexagons with a corner towards z that cover the plane.
Tile FindTile(const glm::dvec2& p, std::uint64_t seed) {
    const double column = p.x / (2.0 * kHexHeight * kTileRadius), row = p.y / (1.5 * kTileRadius);
    // The centre nearest to the point is in one of the two rows around it.
    Tile tile{};
    double best = 1e9;
    std::int64_t bestRow = 0, bestColumn = 0;
    for (int k = 0; k < 2; ++k) {
        const double r = std::floor(row) + k;
        const double shift = r - 2.0 * std::floor(0.5 * r) > 0.5 ? 0.5 : 0.0;
        const double q = std::floor(column - shift + 0.5);
        const glm::dvec2 centre((q + shift) * 2.0 * kHexHeight * kTileRadius, r * 1.5 * kTileRadius);
        const glm::dvec2 off = p - centre;
        if (const double d = glm::dot(off, off); d < best) {
            best = d;
            tile.mCentre = centre;
            bestRow = static_cast<std::int64_t>(r);
            bestColumn = static_cast<std::int64_t>(q);
        }
    }
    Random random(seed + 77, static_cast<std::uint64_t>((bestRow + 4096) * 8192 + bestColumn + 4096));
    tile.mRing = glm::length(tile.mCentre) / kFloorRadius;
    tile.mShade = random.Uniform();
    const double loose = SmoothStep(0.62, 1.02, tile.mRing);
    tile.mShrink = 1.0 - loose * random.Between(0.25, 0.85);
    tile.mLift = loose * loose * random.Uniform() * 0.34;
    tile.mNormal = glm::normalize(glm::dvec3(0.0, -1.0, 0.0) + random.NormalVector() * (0.22 * loose));
    return tile;
}

// The tiles of the floor, by the point that FindTile finds them from.
const std::vector<glm::dvec2>& GetTileCentres() {
    static const std::vector<glm::dvec2> centres = [] {
        std::vector<glm::dvec2> found;
        const int reach = static_cast<int>(kFloorRadius / kTileRadius) + 1;
        for (int row = -reach; row <= reach; ++row) {
            for (int column = -reach; column <= reach; ++column) {
                const double shift = row % 2 != 0 ? 0.5 : 0.0;
                const glm::dvec2 centre((column + shift) * 2.0 * kHexHeight * kTileRadius, row * 1.5 * kTileRadius);
                if (glm::length(centre) < kFloorRadius) found.push_back(centre);
            }
        }
        return found;
    }();
    return centres;
}

// Distance from the tile's edge, 0 there and 1 at the centre.
double GetInset(const glm::dvec2& off) {
    const glm::dvec2 a = glm::abs(off) / (kTileRadius * kHexHeight);
    return 1.0 - std::max(a.x, 0.5 * a.x + kHexHeight * a.y);
}

glm::dvec3 PlaceOnTile(const Tile& tile, const glm::dvec2& off) {
    const glm::dvec2 flat = tile.mCentre + off * tile.mShrink;
    const double x = flat.x - tile.mCentre.x, z = flat.y - tile.mCentre.y;
    const double slope = (tile.mNormal.x * x + tile.mNormal.z * z) / -tile.mNormal.y;
    return {flat.x, kFloorHeight - tile.mLift + slope, flat.y};
}

// Coloured light and shade that the orbs give to the floor.
glm::dvec3 GetOrbLight(const glm::dvec3& position, double& shade) {
    glm::dvec3 light(0.0);
    const glm::dvec3 key = GetKeyDirection();
    for (const Orb& orb : GetOrbs()) {
        const glm::dvec3 to = orb.mCentre - position;
        const double distance2 = glm::dot(to, to);
        light += orb.mColor * (0.55 * orb.mRadius * orb.mRadius / (distance2 + 0.006));
        const glm::dvec3 aside = to - key * glm::dot(to, key);
        const double near = glm::length(aside) / orb.mRadius;
        shade = std::min(shade, 0.45 + 0.55 * SmoothStep(0.5, 1.25, near));
        // A ball of glass gathers the light that its shadow lacks.
        light += (orb.mColor + 0.25) * (0.9 * Exp(-near * near * 9.0));
    }
    return light;
}

void AddGloss(Splat& splat, const Tile& tile, const Knot::Light& light, double amount) {
    // At grazing angles the tiles mirror what stands behind them, blurred.
    const glm::dvec3 glow = light.mBounce * 1.4 + glm::dvec3(0.035, 0.045, 0.085);
    splat.mColor.AddFacing(tile.mNormal, [&](double c) { return glow * (amount * (1.0 - c) * (1.0 - c)); });
    const glm::dvec3 key = GetKeyDirection();
    const glm::dvec3 mirrored = tile.mNormal * (2.0 * glm::dot(tile.mNormal, key)) - key;
    splat.mColor.AddHighlight(mirrored, glm::dvec3(0.34, 0.31, 0.28) * (amount * light.mKey), 6.0);
}

}  // namespace

Splat MakeFloorSplat(const Knot& knot, const Turn& turn) {
    Random random(turn.mSeed, turn.mIndex * 8 + 1);
    // A sunflower's spiral covers a disc evenly.
    const double radius = kFloorRadius * std::sqrt((static_cast<double>(turn.mIndex) + 0.5) / turn.mCount);
    const double angle = static_cast<double>(turn.mIndex) * kGoldenAngle;
    glm::dvec2 spot(radius * Cos(angle), radius * Sin(angle));
    Tile tile = FindTile(spot, turn.mSeed);
    // Tiles cut by the rim are left out: their splats double the ones further in.
    while (tile.mRing >= 1.0) {
        spot *= 1.0 - kTileRadius / kFloorRadius;
        tile = FindTile(spot, turn.mSeed);
    }
    const double inset = GetInset(spot - tile.mCentre);

    Splat splat(turn.mDegree);
    splat.mPosition = PlaceOnTile(tile, spot - tile.mCentre);
    splat.Orient(tile.mNormal, glm::dvec3(Cos(angle), 0.0, Sin(angle)));
    const double spacing = std::sqrt(kPi * kFloorRadius * kFloorRadius / turn.mCount) * tile.mShrink;
    splat.mSize = glm::dvec3(0.62, 0.62, 0.06) * spacing;
    splat.mOpacity = 0.93;

    Knot::Light light = knot.GetLight(splat.mPosition, tile.mNormal, -1.0);
    const glm::dvec3 orbLight = GetOrbLight(splat.mPosition, light.mKey);
    const double bevel = 0.55 + 0.45 * SmoothStep(0.02, 0.22, inset);
    const double grain = bevel * (0.94 + 0.06 * random.Normal());
    const bool pale = tile.mShade > 0.82;
    const glm::dvec3 base =
        pale ? glm::dvec3(0.17, 0.20, 0.29) : glm::dvec3(0.050, 0.062, 0.115) * (0.8 + 0.7 * tile.mShade);
    const glm::dvec3 irradiance = GetIrradiance(tile.mNormal, light);
    splat.mColor.Add((base * irradiance + (base + 0.12) * (orbLight * 0.62 + light.mBounce * 0.55)) * grain);
    AddGloss(splat, tile, light, pale ? 1.0 : 0.75);
    return splat;
}

Splat MakeSeamSplat(const Knot& knot, const Turn& turn) {
    // Round after round over all tiles, an edge of each at a time, until every edge has its share.
    const std::vector<glm::dvec2>& centres = GetTileCentres();
    const std::uint64_t round = turn.mIndex / centres.size();
    const double perEdge = std::max(1.0, std::ceil(turn.mCount / (6.0 * static_cast<double>(centres.size()))));
    const Tile tile = FindTile(centres[turn.mIndex % centres.size()], turn.mSeed);
    const double angle = static_cast<double>(round % 6) * (kPi / 3.0);
    const double along = 2.0 * (static_cast<double>(round / 6) + 0.5) / perEdge - 1.0;
    const glm::dvec2 outward(Cos(angle), Sin(angle));
    const glm::dvec2 sideways(-outward.y, outward.x);
    const glm::dvec2 off = (outward * (0.965 * kHexHeight) + sideways * (0.5 * 0.965 * along)) * kTileRadius;

    Splat splat(turn.mDegree);
    splat.mPosition = PlaceOnTile(tile, off) + tile.mNormal * 0.003;
    splat.Orient(tile.mNormal, glm::dvec3(sideways.x, 0.0, sideways.y));
    splat.mSize = glm::dvec3(0.42 * kTileRadius / perEdge, 0.0019, 0.0010);
    splat.mSize *= glm::dvec3(tile.mShrink, tile.mShrink, 1.0);
    splat.mOpacity = 0.9;
    Knot::Light light = knot.GetLight(splat.mPosition, tile.mNormal, -1.0);
    const glm::dvec3 orbLight = GetOrbLight(splat.mPosition, light.mKey);
    const glm::dvec3 gold(0.98, 0.66, 0.26);
    splat.mColor.Add(gold * (GetIrradiance(tile.mNormal, light) * 0.46 + orbLight * 0.5 + 0.06));
    AddGloss(splat, tile, light, 1.4);
    return splat;
}

}  // namespace nimbrel::maker
