#pragma once

#include <string>

#include "NimbrelHost/Scene/Animation.h"

/// What a scene is made of but for its settings.
namespace nimbrel::host {

struct Composition {
    int mWidth = 1920;
    int mHeight = 1080;
    double mFrameRate = 24;
    double mDuration = 1;  ///< seconds
    int mBitsPerChannel = 8;
    int mDownsample = 1;  ///< every Nth pixel is rendered

    /// Size of the written frame: ceil(size / downsample).
    int OutputWidth() const { return (mWidth + mDownsample - 1) / mDownsample; }
    int OutputHeight() const { return (mHeight + mDownsample - 1) / mDownsample; }
};

/// The host's clock: frame n is at n * mStep / mScale seconds, exactly.
struct TimeBase {
    int mStep = 1;
    int mScale = 24;

    double Seconds(int frame) const { return static_cast<double>(frame) * mStep / mScale; }
};

/// 24 gives 1/24, 23.976 gives 1001/24000 (rates of television), others the nearest fraction.
TimeBase MakeTimeBase(double frameRate);

/// Frames of the composition, at least 1.
int CountFrames(const Composition& composition);

/// Where a null object is, each in its own time: pixels, degrees about x, y, z, percent.
struct NullTransform {
    Animation<glm::dvec3> mPosition = Animation<glm::dvec3>::Constant(glm::dvec3(0));
    Animation<glm::dvec3> mOrientation = mPosition;
    Animation<glm::dvec3> mRotation = mPosition;
    Animation<glm::dvec3> mScale = Animation<glm::dvec3>::Constant(glm::dvec3(100));
};

/// A null object of a scene.
struct NullSetting {
    std::string mName;
    NullTransform mTransform;
    std::string mParent;  ///< another layer's name; empty for none
    std::string mWhere;   ///< for messages: file and key
};

}  // namespace nimbrel::host
