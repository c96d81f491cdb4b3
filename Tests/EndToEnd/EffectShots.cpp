#include "EffectSettings.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

constexpr glm::dvec3 kRed{1.0, 0.1, 0.0};
constexpr glm::dvec3 kBlue{0.0, 0.2, 1.0};

Change Turn(const glm::dvec3& degrees) { return Displace(Uneven(Sphere(120)), {.mRotation = degrees}); }

/// Seed -11 is the one whose part in the noise's coordinates, (seed + 11) * 123987, is zero: the pattern itself.
Noise ModerateNoise(const Line& amount = {}) {
    return {.mAmplitude = 8,
            .mAmplitudeScale = {100, 60, 150},
            .mAmount = amount,
            .mOffset = {20, -10, 5},
            .mScale = 100,
            .mAxisScale = {80, 100, 120},
            .mEvolution = 30,
            .mSeed = -11};
}

Noise SeededNoise() {
    Noise noise = ModerateNoise();
    noise.mSeed = 7;
    noise.mScale = 5;
    return noise;
}

/// Noise along one axis alone, which is the one that the seed is added to: a scale of this axis in millions brings
/// the seed's part down to a few cells.
Change DisturbAlong(int axis, int seed) {
    Noise noise = ModerateNoise();
    noise.mSeed = seed;
    noise.mAmplitudeScale = glm::dvec3(0);
    noise.mAmplitudeScale[axis] = 150;
    noise.mAxisScale[axis] = 1e6;
    return Disturb(Sphere(130), noise);
}

void TurnModel(ShotModel& model) {
    model.mAlignRotation = {20, 30, -10};
    model.mRotation = {-15, 40, 25};
    model.mScale = 110;
    model.mAnchor = {200, -100, 50};
}

std::vector<ShotCase> MakeCases() {
    return {
        {"CropSphere", {CropShape(Sphere(70))}},
        {"CropBox", {CropShape(Box(60))}},
        {"CropUnevenSphereInverted", {CropShape(Uneven(Sphere(80)), true)}},
        {"CropUnevenBoxInverted", {CropShape(Uneven(Box(80)), true)}},
        {"CropAltitude", {CropAltitude(20)}},
        {"CropAltitudeNegative", {CropAltitude(-8.5)}},
        {"ColorNormal", {Recolor(Sphere(110), Blending::Normal, kRed, kBlue, {1, 0.5})}},
        {"ColorAdd", {Recolor(Uneven(Sphere(110)), Blending::Add, kRed, kBlue, {1, 0})}},
        {"ColorMultiply", {Recolor(Box(90), Blending::Multiply, kRed, kBlue, {0.8, 1})}},
        {"ColorFeather0", {Recolor(Sphere(80, 0), Blending::Normal, kRed, kBlue, {1, 0})}},
        {"ColorFeather100", {Recolor(Uneven(Box(110, 100)), Blending::Normal, kRed, kBlue, {1, 0.2})}},
        {"Opacity", {Fade(Sphere(100), 10, 90, {1, 0})}},
        {"OpacityBoxFeather0", {Fade(Uneven(Box(80, 0)), 0, 100, {0, 1})}},
        {"OpacityFeather100", {Fade(Uneven(Sphere(120, 100)), 0, 100, {0, 1})}},
        {"OpacityUpsideDown", {Fade(Sphere(100), 60, 20, {1, 0})}},
        {"Scale", {Resize(Sphere(100), 180, {1, 0.3})}},
        {"ScaleBoxFeather0", {Resize(Uneven(Box(80, 0)), 60, {0.5, 1})}},
        {"ScaleFeather100", {Resize(Box(110, 100), 100, {0.2, 1})}},
        {"DisplaceOffset", {Displace(Sphere(110), {.mOffset = {15, -20, 30}})}},
        {"DisplaceOffsetFeather0Outside",
         {Displace(Uneven(Box(70, 0)), {.mOffset = {0, -12, 0}, .mOffsetAmount = {0, 1}})}},
        {"DisplaceScale", {Displace(Uneven(Sphere(100, 100)), {.mScale = 150})}},
        {"DisplaceScaleByAxis",
         {Displace(Sphere(100), {.mScale = 120, .mAxisScale = glm::dvec3(150, 50, 100), .mScaleAmount = {1, 1}})}},
        {"DisplaceTurnX", {Turn({50, 0, 0})}},
        {"DisplaceTurnY", {Turn({0, 70, 0})}},
        {"DisplaceTurnZ", {Turn({0, 0, -60})}},
        {"DisplaceTurnAll", {Turn({40, -100, 75})}},
        {"Noise", {Disturb(Uneven(Sphere(130)), ModerateNoise())}},
        {"NoiseBoxFeather0", {Disturb(Box(70, 0), ModerateNoise({1, 0}))}},
        {"NoiseOfSeed7", {Disturb(Sphere(120), SeededNoise())}},
        {"NoiseAlongX", {DisturbAlong(0, 3)}},
        {"NoiseAlongY", {DisturbAlong(1, 40)}},
        {"NoiseAlongZ", {DisturbAlong(2, 0)}},
        // What is cropped is told before anything moves.
        {"CropThenDisplace", {CropShape(Uneven(Sphere(90))), Turn({30, 60, 90})}},
        {"DisplaceThenNoiseThenColor",
         {Turn({0, 80, 20}), Disturb(Uneven(Sphere(110)), ModerateNoise({1, 0.2})),
          Recolor(Uneven(Sphere(90)), Blending::Multiply, kBlue, kRed, {1, 1})}},
        // The plane looks at the splats' own sizes.
        {"ScaleAndAltitude", {Resize(Sphere(120), 220, {1, 1}), CropAltitude(10)}},
        {"AllInATurnedModel",
         {TurnModel, CropShape(Uneven(Sphere(140))), CropAltitude(30), Turn({10, 20, 30}),
          Disturb(Uneven(Box(120)), ModerateNoise()), Resize(Uneven(Sphere(100)), 130, {1, 0.7}),
          Recolor(Box(100), Blending::Add, kBlue, kRed, {0.6, 0.1}), Fade(Uneven(Box(140)), 30, 100, {1, 0})}},
    };
}

/// Two models, drawn as depths between two distances.
Shot MakeDepthShot(std::string name, double nearEnd, double farEnd) {
    Shot shot = MakeEffectShot(std::move(name));
    shot.mModels.push_back(MakeEffectModel(2000));
    shot.mModels[0].mPosition = {50, 45, -40};
    shot.mModels[1].mPosition = {110, 50, 60};
    shot.mDrawZDepth = true;
    shot.mZDepthNear = nearEnd;
    shot.mZDepthFar = farEnd;
    return shot;
}

}  // namespace

std::vector<Shot> MakeEffectShots() {
    std::vector<Shot> shots;
    for (const ShotCase& effect : MakeCases()) shots.push_back(MakeEffectShot(effect));
    shots.push_back(shots.back());
    shots.back().mName = "EffectsOrthographic";
    shots.back().mCamera->mOrthographic = true;

    // One file in two slots shares its data, but no setting.
    shots.push_back(MakeEffectShot("TwoSlotsOfOneFile"));
    ShotModel& first = shots.back().mModels[0];
    Recolor(Sphere(100), Blending::Normal, kRed, kRed, {1, 0})(first);
    CropAltitude(5)(first);
    ShotModel second = MakeEffectModel();
    second.mPosition = {100, 40, -25};
    Turn({0, 90, 0})(second);
    Fade(Sphere(90), 0, 70, {1, 0.4})(second);
    shots.back().mModels.push_back(second);

    shots.push_back(MakeDepthShot("ZDepth", 300, 550));
    shots.push_back(MakeDepthShot("ZDepthReversed", 550, 300));
    shots.push_back(MakeDepthShot("ZDepthNarrow", 400, 420));
    shots.push_back(MakeDepthShot("ZDepthOrthographic", 320, 500));
    shots.back().mCamera->mOrthographic = true;
    // Depth takes colour's place; what moves splats or fades them is seen in it.
    shots.push_back(MakeDepthShot("ZDepthWithEffects", 300, 550));
    Turn({0, 90, 0})(shots.back().mModels[0]);
    Recolor(Sphere(100), Blending::Normal, kRed, kBlue, {1, 1})(shots.back().mModels[0]);
    Fade(Sphere(90), 0, 70, {1, 0.4})(shots.back().mModels[1]);
    return shots;
}

}  // namespace nimbrel::endtoend
