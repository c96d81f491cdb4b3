#include <functional>

#include "EffectSettings.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

constexpr glm::dvec3 kRed{1.0, 0.1, 0.0};
constexpr glm::dvec3 kBlue{0.0, 0.2, 1.0};

struct Case {
    const char* mName;
    std::function<void(ShotModel&)> mSet;
};

}  // namespace

std::vector<Shot> MakeGizmoShots() {
    Noise still;
    still.mAmplitude = 0;
    const Case cases[] = {
        {"Pivot", [](ShotModel& m) { Show(m, Preview::Pivot); }},
        {"CropSphere",
         [](ShotModel& m) {
             CropShape(m, Uneven(Sphere(80)));
             Show(m, Preview::Crop);
         }},
        {"CropBox",
         [](ShotModel& m) {
             CropShape(m, Uneven(Box(60)), true);
             Show(m, Preview::Crop);
         }},
        {"Color",
         [](ShotModel& m) {
             Recolor(m, Uneven(Sphere(70, 50)), Blending::Normal, kRed, kBlue, {0, 0});
             Show(m, Preview::Color);
         }},
        {"OpacityHardBox",
         [](ShotModel& m) {
             Fade(m, Box(50, 0), 50, 100, {1, 1});
             Show(m, Preview::Opacity);
         }},
        {"ScaleSoftSphere",
         [](ShotModel& m) {
             Resize(m, Uneven(Sphere(60, 100)), 100, {1, 1});
             Show(m, Preview::Scale);
         }},
        {"Displacement",
         [](ShotModel& m) {
             Displace(m, Uneven(Box(70, 30)), {});
             Show(m, Preview::Displacement);
         }},
        {"Noise",
         [still](ShotModel& m) {
             Disturb(m, Sphere(64, 60), still);
             Show(m, Preview::Noise);
         }},
        {"AllInATurnedModel",
         [still](ShotModel& m) {
             m.mRotation = {-15, 40, 25};
             m.mScale = 120;
             CropShape(m, Uneven(Sphere(90)));
             Recolor(m, Uneven(Box(70, 50)), Blending::Normal, kRed, kBlue, {0, 0});
             Fade(m, Sphere(40, 20), 50, 100, {1, 1});
             Resize(m, Box(30, 0), 100, {1, 1});
             Displace(m, Uneven(Box(50, 75)), {});
             Disturb(m, Uneven(Sphere(64, 60)), still);
             for (const Preview preview : {Preview::Pivot, Preview::Crop, Preview::Color, Preview::Opacity,
                                           Preview::Displacement, Preview::Scale, Preview::Noise})
                 Show(m, preview);
         }},
    };
    std::vector<Shot> shots;
    for (const Case& gizmo : cases) {
        for (const bool orthographic : {false, true}) {
            shots.push_back(MakeEffectShot(std::string(gizmo.mName) + (orthographic ? "Orthographic" : "Perspective")));
            shots.back().mCamera->mOrthographic = orthographic;
            gizmo.mSet(shots.back().mModels[0]);
        }
    }
    shots.push_back(MakeEffectShot("TwoModelsOverZDepth"));
    shots.back().mDrawZDepth = true;
    shots.back().mZDepthNear = 300;
    shots.back().mZDepthFar = 550;
    shots.back().mModels.push_back(MakeEffectModel(2000));
    shots.back().mModels[1].mPosition = {120, 30, 50};
    Show(shots.back().mModels[0], Preview::Pivot);
    CropShape(shots.back().mModels[1], Box(50));
    Show(shots.back().mModels[1], Preview::Crop);
    shots.push_back(MakeEffectShot("HalfResolution"));
    shots.back().mDownsample = 2;
    Show(shots.back().mModels[0], Preview::Pivot);
    return shots;
}

}  // namespace nimbrel::endtoend
