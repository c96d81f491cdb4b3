#include "EffectSettings.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

constexpr glm::dvec3 kRed{1.0, 0.1, 0.0};
constexpr glm::dvec3 kBlue{0.0, 0.2, 1.0};

void TurnModel(ShotModel& model) {
    model.mRotation = {-15, 40, 25};
    model.mScale = 120;
}

std::vector<ShotCase> MakeCases() {
    const Noise still{.mAmplitude = 0};
    return {
        {"Pivot", {Show(Preview::Pivot)}},
        {"CropSphere", {CropShape(Uneven(Sphere(80))), Show(Preview::Crop)}},
        {"CropBox", {CropShape(Uneven(Box(60)), true), Show(Preview::Crop)}},
        {"Color", {Recolor(Uneven(Sphere(70, 50)), Blending::Normal, kRed, kBlue, {0, 0}), Show(Preview::Color)}},
        {"OpacityHardBox", {Fade(Box(50, 0), 50, 100, {1, 1}), Show(Preview::Opacity)}},
        {"ScaleSoftSphere", {Resize(Uneven(Sphere(60, 100)), 100, {1, 1}), Show(Preview::Scale)}},
        {"Displacement", {Displace(Uneven(Box(70, 30)), {}), Show(Preview::Displacement)}},
        {"Noise", {Disturb(Sphere(64, 60), still), Show(Preview::Noise)}},
        {"AllInATurnedModel",
         {TurnModel, CropShape(Uneven(Sphere(90))), Recolor(Uneven(Box(70, 50)), Blending::Normal, kRed, kBlue, {0, 0}),
          Fade(Sphere(40, 20), 50, 100, {1, 1}), Resize(Box(30, 0), 100, {1, 1}), Displace(Uneven(Box(50, 75)), {}),
          Disturb(Uneven(Sphere(64, 60)), still), Show(Preview::Pivot), Show(Preview::Crop), Show(Preview::Color),
          Show(Preview::Opacity), Show(Preview::Displacement), Show(Preview::Scale), Show(Preview::Noise)}},
    };
}

}  // namespace

std::vector<Shot> MakeGizmoShots() {
    std::vector<Shot> shots;
    for (const ShotCase& gizmo : MakeCases()) {
        for (const bool orthographic : {false, true}) {
            shots.push_back(MakeEffectShot(gizmo));
            shots.back().mName += orthographic ? "Orthographic" : "Perspective";
            shots.back().mCamera->mOrthographic = orthographic;
        }
    }
    shots.push_back(MakeEffectShot("TwoModelsOverZDepth"));
    shots.back().mDrawZDepth = true;
    shots.back().mZDepthNear = 300;
    shots.back().mZDepthFar = 550;
    shots.back().mModels.push_back(MakeEffectModel(2000));
    shots.back().mModels[1].mPosition = {120, 30, 50};
    Show(Preview::Pivot)(shots.back().mModels[0]);
    CropShape(Box(50))(shots.back().mModels[1]);
    Show(Preview::Crop)(shots.back().mModels[1]);
    shots.push_back(MakeEffectShot("HalfResolution"));
    shots.back().mDownsample = 2;
    Show(Preview::Pivot)(shots.back().mModels[0]);
    return shots;
}

}  // namespace nimbrel::endtoend
