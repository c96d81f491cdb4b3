#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

/// The procedural model is about 4 units wide: 8 % of it fill 320 pixels.
ShotModel PlacedModel(int degree = 3) {
    ShotModel model;
    model.mFile = GetModelFile(6000, degree);
    model.mAlignScale = 6.0;
    model.mPosition = {160, 90, 0};
    return model;
}

ShotCamera SideCamera() { return {false, 300.0, {360, -40, -260}, {160, 95, 10}}; }

Shot MakeShot(std::string name) {
    Shot shot;
    shot.mName = std::move(name);
    shot.mModels = {PlacedModel()};
    return shot;
}

}  // namespace

std::vector<Shot> MakeFrameShots() {
    std::vector<Shot> shots;
    shots.push_back(MakeShot("NoCamera"));
    shots.push_back(MakeShot("Perspective"));
    shots.back().mCamera = SideCamera();
    shots.push_back(MakeShot("Orthographic"));
    shots.back().mCamera = SideCamera();
    shots.back().mCamera->mOrthographic = true;
    shots.push_back(MakeShot("HalfResolution"));
    shots.back().mDownsample = 2;
    shots.back().mCamera = SideCamera();
    shots.push_back(MakeShot("TwoSlotsOneFile"));
    shots.back().mModels.push_back(PlacedModel());
    shots.back().mModels[0].mPosition = {110, 90, -30};
    shots.back().mModels[0].mRotation = {20, 50, -10};
    shots.back().mModels[1].mPosition = {200, 80, 40};
    shots.back().mModels[1].mAlignRotation = {0, 90, 15};
    shots.back().mModels[1].mScale = 130.0;
    shots.push_back(MakeShot("TwoFiles"));
    shots.back().mModels.push_back(PlacedModel(1));
    shots.back().mModels[1].mPosition = {190, 100, 20};
    shots.back().mModels[1].mAnchor = {300, -200, 100};
    for (int degree = 0; degree < 3; ++degree) {
        shots.push_back(MakeShot("Degree" + std::to_string(degree)));
        shots.back().mModels = {PlacedModel(degree)};
        shots.back().mCamera = SideCamera();
    }
    return shots;
}

}  // namespace nimbrel::endtoend
