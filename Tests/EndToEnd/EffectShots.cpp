#include <functional>

#include "EffectSettings.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

struct Case {
    const char* mName;
    std::function<void(ShotModel&)> mSet;
};

void Turn(ShotModel& model, const glm::dvec3& degrees) {
    Displacement turn;
    turn.mRotation = degrees;
    Displace(model, Uneven(Sphere(120)), turn);
}

/// Seed -11 is the one whose part in the noise's coordinates, (seed + 11) * 123987, is zero: the pattern itself.
Noise ModerateNoise() {
    Noise noise;
    noise.mSeed = -11;
    noise.mAmplitude = 8;
    noise.mScale = 100;
    noise.mEvolution = 30;
    noise.mOffset = {20, -10, 5};
    noise.mAmplitudeScale = {100, 60, 150};
    noise.mAxisScale = {80, 100, 120};
    return noise;
}

/// Noise along one axis alone, which is the one that the seed is added to: a scale of this axis in millions brings
/// the seed's part down to a few cells.
void DisturbAlong(ShotModel& model, int axis, int seed) {
    Noise noise = ModerateNoise();
    noise.mSeed = seed;
    noise.mAmplitudeScale = glm::dvec3(0);
    noise.mAmplitudeScale[axis] = 150;
    noise.mAxisScale[axis] = 1e6;
    Disturb(model, Sphere(130), noise);
}

const glm::dvec3 kRed{1.0, 0.1, 0.0};
const glm::dvec3 kBlue{0.0, 0.2, 1.0};

const std::vector<Case> kEffects = {
    {"CropSphere", [](ShotModel& m) { CropShape(m, Sphere(70)); }},
    {"CropBox", [](ShotModel& m) { CropShape(m, Box(60)); }},
    {"CropUnevenSphereInverted", [](ShotModel& m) { CropShape(m, Uneven(Sphere(80)), true); }},
    {"CropUnevenBoxInverted", [](ShotModel& m) { CropShape(m, Uneven(Box(80)), true); }},
    {"CropAltitude", [](ShotModel& m) { CropAltitude(m, 20); }},
    {"CropAltitudeNegative", [](ShotModel& m) { CropAltitude(m, -8.5); }},
    {"ColorNormal",
     [](ShotModel& m) {
         Recolor(m, Sphere(110), Blending::Normal, kRed, kBlue, {1, 0.5});
     }},
    {"ColorAdd",
     [](ShotModel& m) {
         Recolor(m, Uneven(Sphere(110)), Blending::Add, kRed, kBlue, {1, 0});
     }},
    {"ColorMultiply",
     [](ShotModel& m) {
         Recolor(m, Box(90), Blending::Multiply, kRed, kBlue, {0.8, 1});
     }},
    {"ColorFeather0",
     [](ShotModel& m) {
         Recolor(m, Sphere(80, 0), Blending::Normal, kRed, kBlue, {1, 0});
     }},
    {"ColorFeather100",
     [](ShotModel& m) {
         Recolor(m, Uneven(Box(110, 100)), Blending::Normal, kRed, kBlue, {1, 0.2});
     }},
    {"Opacity",
     [](ShotModel& m) {
         Fade(m, Sphere(100), 10, 90, {1, 0});
     }},
    {"OpacityBoxFeather0",
     [](ShotModel& m) {
         Fade(m, Uneven(Box(80, 0)), 0, 100, {0, 1});
     }},
    {"OpacityFeather100",
     [](ShotModel& m) {
         Fade(m, Uneven(Sphere(120, 100)), 0, 100, {0, 1});
     }},
    {"OpacityUpsideDown",
     [](ShotModel& m) {
         Fade(m, Sphere(100), 60, 20, {1, 0});
     }},
    {"Scale",
     [](ShotModel& m) {
         Resize(m, Sphere(100), 180, {1, 0.3});
     }},
    {"ScaleBoxFeather0",
     [](ShotModel& m) {
         Resize(m, Uneven(Box(80, 0)), 60, {0.5, 1});
     }},
    {"ScaleFeather100",
     [](ShotModel& m) {
         Resize(m, Box(110, 100), 100, {0.2, 1});
     }},
    {"DisplaceOffset",
     [](ShotModel& m) {
         Displacement d;
         d.mOffset = {15, -20, 30};
         Displace(m, Sphere(110), d);
     }},
    {"DisplaceOffsetFeather0Outside",
     [](ShotModel& m) {
         Displacement d;
         d.mOffset = {0, -12, 0};
         d.mOffsetAmount = {0, 1};
         Displace(m, Uneven(Box(70, 0)), d);
     }},
    {"DisplaceScale",
     [](ShotModel& m) {
         Displacement d;
         d.mScale = 150;
         Displace(m, Uneven(Sphere(100, 100)), d);
     }},
    {"DisplaceScaleByAxis",
     [](ShotModel& m) {
         Displacement d;
         d.mScale = 120;
         d.mAxisScale = glm::dvec3(150, 50, 100);
         d.mScaleAmount = {1, 1};
         Displace(m, Sphere(100), d);
     }},
    {"DisplaceTurnX",
     [](ShotModel& m) {
         Turn(m, {50, 0, 0});
     }},
    {"DisplaceTurnY",
     [](ShotModel& m) {
         Turn(m, {0, 70, 0});
     }},
    {"DisplaceTurnZ",
     [](ShotModel& m) {
         Turn(m, {0, 0, -60});
     }},
    {"DisplaceTurnAll",
     [](ShotModel& m) {
         Turn(m, {40, -100, 75});
     }},
    {"Noise", [](ShotModel& m) { Disturb(m, Uneven(Sphere(130)), ModerateNoise()); }},
    {"NoiseBoxFeather0",
     [](ShotModel& m) {
         Noise noise = ModerateNoise();
         noise.mAmount = {1, 0};
         Disturb(m, Box(70, 0), noise);
     }},
    {"NoiseOfSeed7",
     [](ShotModel& m) {
         Noise noise = ModerateNoise();
         noise.mSeed = 7;
         noise.mScale = 5;
         Disturb(m, Sphere(120), noise);
     }},
    {"NoiseAlongX", [](ShotModel& m) { DisturbAlong(m, 0, 3); }},
    {"NoiseAlongY", [](ShotModel& m) { DisturbAlong(m, 1, 40); }},
    {"NoiseAlongZ", [](ShotModel& m) { DisturbAlong(m, 2, 0); }},
    {"CropThenDisplace",
     [](ShotModel& m) {
         // What is cropped is told before anything moves.
         CropShape(m, Uneven(Sphere(90)));
         Turn(m, {30, 60, 90});
     }},
    {"DisplaceThenNoiseThenColor",
     [](ShotModel& m) {
         Turn(m, {0, 80, 20});
         Noise noise = ModerateNoise();
         noise.mAmount = {1, 0.2};
         Disturb(m, Uneven(Sphere(110)), noise);
         Recolor(m, Uneven(Sphere(90)), Blending::Multiply, kBlue, kRed, {1, 1});
     }},
    {"ScaleAndAltitude",
     [](ShotModel& m) {
         // The plane looks at the splats' own sizes.
         Resize(m, Sphere(120), 220, {1, 1});
         CropAltitude(m, 10);
     }},
    {"AllInATurnedModel",
     [](ShotModel& m) {
         m.mAlignRotation = {20, 30, -10};
         m.mRotation = {-15, 40, 25};
         m.mScale = 110;
         m.mAnchor = {200, -100, 50};
         CropShape(m, Uneven(Sphere(140)));
         CropAltitude(m, 30);
         Turn(m, {10, 20, 30});
         Disturb(m, Uneven(Box(120)), ModerateNoise());
         Resize(m, Uneven(Sphere(100)), 130, {1, 0.7});
         Recolor(m, Box(100), Blending::Add, kBlue, kRed, {0.6, 0.1});
         Fade(m, Uneven(Box(140)), 30, 100, {1, 0});
     }},
};

}  // namespace

std::vector<Shot> MakeEffectShots() {
    std::vector<Shot> shots;
    for (const Case& effect : kEffects) {
        shots.push_back(MakeEffectShot(effect.mName));
        effect.mSet(shots.back().mModels[0]);
    }
    shots.push_back(MakeEffectShot("EffectsOrthographic"));
    shots.back().mCamera->mOrthographic = true;
    kEffects.back().mSet(shots.back().mModels[0]);

    // One file in two slots shares its data, but no setting.
    shots.push_back(MakeEffectShot("TwoSlotsOfOneFile"));
    shots.back().mModels.push_back(MakeEffectModel());
    Recolor(shots.back().mModels[0], Sphere(100), Blending::Normal, kRed, kRed, {1, 0});
    CropAltitude(shots.back().mModels[0], 5);
    shots.back().mModels[1].mPosition = {100, 40, -25};
    Turn(shots.back().mModels[1], {0, 90, 0});
    Fade(shots.back().mModels[1], Sphere(90), 0, 70, {1, 0.4});

    const auto depth = [&](std::string name, double nearEnd, double farEnd) {
        shots.push_back(MakeEffectShot(std::move(name)));
        Shot& shot = shots.back();
        shot.mModels.push_back(MakeEffectModel(2000));
        shot.mModels[0].mPosition = {50, 45, -40};
        shot.mModels[1].mPosition = {110, 50, 60};
        shot.mDrawZDepth = true;
        shot.mZDepthNear = nearEnd;
        shot.mZDepthFar = farEnd;
    };
    depth("ZDepth", 300, 550);
    depth("ZDepthReversed", 550, 300);
    depth("ZDepthNarrow", 400, 420);
    depth("ZDepthOrthographic", 320, 500);
    shots.back().mCamera->mOrthographic = true;
    // Depth takes colour's place; what moves splats or fades them is seen in it.
    depth("ZDepthWithEffects", 300, 550);
    Turn(shots.back().mModels[0], {0, 90, 0});
    Recolor(shots.back().mModels[0], Sphere(100), Blending::Normal, kRed, kBlue, {1, 1});
    Fade(shots.back().mModels[1], Sphere(90), 0, 70, {1, 0.4});
    return shots;
}

}  // namespace nimbrel::endtoend
