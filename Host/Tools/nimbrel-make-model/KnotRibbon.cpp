#include <algorithm>
#include <cmath>

#include <glm/geometric.hpp>

#include "KnotScene.h"

namespace nimbrel::maker {
namespace {

// A trefoil: twice round the torus' axis, three times through its hole.
constexpr double kRing = 0.62, kTube = 0.30;
constexpr double kHalfWidth = 0.165, kHalfThickness = 0.052;
constexpr int kAlongSteps = 2048, kAroundSteps = 512, kSamples = 144;

glm::dvec3 GetCentre(double t) {
    const double radius = kRing + kTube * Cos(3.0 * t);
    return {radius * Cos(2.0 * t), radius * Sin(2.0 * t), kTube * Sin(3.0 * t)};
}

glm::dvec3 GetRibbonPosition(double t, double s) {
    const glm::dvec3 centre = GetCentre(t);
    const glm::dvec3 tangent = glm::normalize(GetCentre(t + 1e-4) - GetCentre(t - 1e-4));
    const glm::dvec3 outward(Cos(3.0 * t) * Cos(2.0 * t), Cos(3.0 * t) * Sin(2.0 * t), Sin(3.0 * t));
    const glm::dvec3 sideways = glm::cross(tangent, outward);
    // The ribbon rolls to and fro on its way, so that it shows both its face and its edge.
    const double roll = 0.9 * Sin(3.0 * t + 0.6);
    const glm::dvec3 wide = sideways * Cos(roll) + outward * Sin(roll);
    const glm::dvec3 thin = outward * Cos(roll) - sideways * Sin(roll);
    return centre + wide * (kHalfWidth * Cos(s)) + thin * (kHalfThickness * Sin(s));
}

// Running length of a closed line at even steps of its parameter.
template <class Curve>
std::vector<double> MeasureLine(int steps, const Curve& curve) {
    std::vector<double> lengths(static_cast<std::size_t>(steps) + 1, 0.0);
    glm::dvec3 last = curve(0.0);
    for (int i = 1; i <= steps; ++i) {
        const glm::dvec3 point = curve(2.0 * kPi * i / steps);
        lengths[static_cast<std::size_t>(i)] = lengths[static_cast<std::size_t>(i) - 1] + glm::length(point - last);
        last = point;
    }
    return lengths;
}

double FindParameter(const std::vector<double>& lengths, double fraction) {
    const double target = fraction * lengths.back();
    const auto above = std::upper_bound(lengths.begin() + 1, lengths.end() - 1, target);
    const double low = *(above - 1);
    const double step = static_cast<double>(above - lengths.begin() - 1) + (target - low) / (*above - low);
    return 2.0 * kPi * step / static_cast<double>(lengths.size() - 1);
}

}  // namespace

glm::dvec3 GetKeyDirection() { return glm::normalize(glm::dvec3(-0.55, -0.95, -0.65)); }

glm::dvec3 GetIridescence(double phase) {
    // Peacock: teal, blue, violet, rose and a touch of gold.
    return {0.46 + 0.44 * Cos(2.0 * kPi * (phase + 0.02)), 0.36 + 0.32 * Cos(2.0 * kPi * (phase + 0.42)),
            0.58 + 0.38 * Cos(2.0 * kPi * (phase + 0.68))};
}

glm::dvec3 GetIrradiance(const glm::dvec3& normal, const Knot::Light& light) {
    const double key = std::max(0.0, glm::dot(normal, GetKeyDirection()));
    const double rim = std::max(0.0, glm::dot(normal, glm::normalize(glm::dvec3(0.8, -0.25, 0.7))));
    const double sky = (0.5 - 0.5 * normal.y) * light.mOpen;
    return glm::dvec3(1.55, 1.42, 1.22) * (key * light.mKey) + glm::dvec3(0.42, 0.55, 0.95) * rim +
           glm::dvec3(0.34, 0.38, 0.50) * sky + glm::dvec3(0.10, 0.09, 0.12) * light.mOpen + light.mBounce;
}

Knot::Knot()
    : mAlongTable(MeasureLine(kAlongSteps, GetCentre)),
      mAroundTable(MeasureLine(kAroundSteps,
                               [](double s) { return glm::dvec3(kHalfWidth * Cos(s), kHalfThickness * Sin(s), 0.0); })),
      mLength(mAlongTable.back()),
      mPerimeter(mAroundTable.back()) {
    for (int i = 0; i < kSamples; ++i) {
        const double turn = (i + 0.5) / kSamples;
        mSamples.push_back({GetCentre(AlongFromFraction(turn)), GetIridescence(2.0 * turn), turn});
    }
}

double Knot::AlongFromFraction(double fraction) const { return FindParameter(mAlongTable, fraction); }

double Knot::AroundFromFraction(double fraction) const { return FindParameter(mAroundTable, fraction); }

RibbonPoint Knot::GetPoint(double t, double s) const {
    constexpr double kStep = 1e-4;
    RibbonPoint point;
    point.mPosition = GetRibbonPosition(t, s);
    point.mAlong = glm::normalize(GetRibbonPosition(t + kStep, s) - GetRibbonPosition(t - kStep, s));
    const glm::dvec3 around = GetRibbonPosition(t, s + kStep) - GetRibbonPosition(t, s - kStep);
    point.mNormal = glm::normalize(glm::cross(around, point.mAlong));
    if (glm::dot(point.mNormal, point.mPosition - GetCentre(t)) < 0.0) point.mNormal = -point.mNormal;
    point.mTurn = 0.0;
    point.mAcross = Cos(s);
    return point;
}

Knot::Light Knot::GetLight(const glm::dvec3& position, const glm::dvec3& normal, double ownTurn) const {
    const glm::dvec3 key = GetKeyDirection();
    const double step = mLength / kSamples;
    Light light{1.0, 1.0, glm::dvec3(0.0)};
    double covered = 0.0;
    for (const Sample& sample : mSamples) {
        if (ownTurn >= 0.0) {
            const double apart = std::abs(sample.mTurn - ownTurn);
            if (std::min(apart, 1.0 - apart) < 0.045) continue;
        }
        const glm::dvec3 to = sample.mPosition - position;
        const double distance2 = glm::dot(to, to) + 0.01;
        const double facing = glm::dot(to, normal) / std::sqrt(distance2);
        if (facing > 0.0) {
            const double weight = facing * step * kHalfWidth / distance2;
            covered += weight;
            light.mBounce += sample.mColor * (0.16 * weight);
        }
        const double ahead = glm::dot(to, key);
        if (ahead < 0.05) continue;
        const double aside = std::sqrt(std::max(0.0, glm::dot(to, to) - ahead * ahead));
        // The half-shadow widens with the way to what casts it.
        light.mKey = std::min(light.mKey, SmoothStep(0.6 * kHalfWidth, kHalfWidth + 0.12 * ahead, aside));
    }
    light.mOpen = Exp(-0.55 * covered);
    return light;
}

Splat MakeRibbonSplat(const Knot& knot, const Turn& turn) {
    Random random(turn.mSeed, turn.mIndex * 8);
    const glm::dvec2 even = EvenPoint(turn.mIndex);
    RibbonPoint point = knot.GetPoint(knot.AlongFromFraction(even.x), knot.AroundFromFraction(even.y));
    point.mTurn = even.x;

    const bool trim = std::abs(point.mAcross) > 0.93;
    // Chevrons of fine gold lines, and a brushed grain along the ribbon.
    const double chevron = point.mTurn * 72.0 + 0.85 * std::abs(point.mAcross);
    const double line = std::abs(chevron - std::floor(chevron) - 0.5);
    const bool inlay = !trim && line < 0.055;
    const double grain =
        0.86 + 0.14 * Cos(40.0 * point.mAcross + 3.0 * Cos(2.0 * kPi * 9.0 * point.mTurn)) + 0.05 * random.Normal();
    const double phase = 2.0 * point.mTurn + 0.10 * (std::floor(chevron) - 2.0 * std::floor(0.5 * chevron));

    const glm::dvec3 irradiance = GetIrradiance(point.mNormal, knot.GetLight(point.mPosition, point.mNormal, even.x));
    const glm::dvec3 gold(0.95, 0.66, 0.26);

    const double spacing = std::sqrt(knot.GetArea() / turn.mCount);
    Splat splat(turn.mDegree);
    splat.mPosition = point.mPosition - point.mNormal * (0.1 * spacing);
    splat.Orient(point.mNormal, point.mAlong);
    const bool fine = trim || inlay;
    splat.mSize = fine ? glm::dvec3(1.25, 0.42, 0.10) * spacing : glm::dvec3(1.3, 0.58, 0.10) * spacing;
    splat.mOpacity = fine ? 0.97 : 0.90;
    splat.mColor.AddFacing(point.mNormal, [&](double c) {
        const double edge = (1.0 - c) * (1.0 - c);
        if (fine) return gold * irradiance * (0.72 + 0.2 * c) * grain + glm::dvec3(0.55, 0.38, 0.2) * edge;
        const glm::dvec3 film = GetIridescence(phase + 0.55 * (1.0 - c));
        return film * irradiance * (0.80 * grain) + film * (0.10 + 0.55 * edge * (1.0 - 0.3 * grain));
    });
    const glm::dvec3 key = GetKeyDirection();
    const glm::dvec3 mirrored = point.mNormal * (2.0 * glm::dot(point.mNormal, key)) - key;
    const double shine = std::max(0.0, glm::dot(irradiance, glm::dvec3(0.33)) - 0.25);
    splat.mColor.AddHighlight(mirrored, (fine ? gold : glm::dvec3(1.0, 0.96, 0.9)) * (0.75 * std::min(shine, 1.2)),
                              5.0);
    return splat;
}

}  // namespace nimbrel::maker
