#pragma once

#include <string>

#include "NimbrelHost/Scene/Animation.h"

/// What a scene is made of but for its settings.
namespace nimbrel::host {

/// The layer that carries the effect: where it lies in time and how large it is. Its middle is the composition's.
struct LayerPlacement {
    double mStart = 0;      ///< composition time in seconds at which the layer's own time is 0; at the nearest frame
    double mStretch = 100;  ///< percent of its own length: 200 runs at half speed, below 0 backwards; never 0
    int mWidth = 0;         ///< pixels; 0 for the composition's
    int mHeight = 0;
};

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

    LayerPlacement mLayer;
    int LayerWidth() const { return mLayer.mWidth > 0 ? mLayer.mWidth : mWidth; }
    int LayerHeight() const { return mLayer.mHeight > 0 ? mLayer.mHeight : mHeight; }
    /// Size of what the effect draws, and where its first pixel lies in the written frame, perhaps outside it.
    int LayerOutputWidth() const { return (LayerWidth() + mDownsample - 1) / mDownsample; }
    int LayerOutputHeight() const { return (LayerHeight() + mDownsample - 1) / mDownsample; }
    int LayerOutputX() const { return Middle(mWidth - LayerWidth()); }
    int LayerOutputY() const { return Middle(mHeight - LayerHeight()); }

private:
    // Rounded down also below 0, so that a layer moves by whole pixels as it grows.
    int Middle(int difference) const {
        const int parts = 2 * mDownsample;
        return (difference >= 0 ? difference : difference - (parts - 1)) / parts;
    }
};

/// A clock: frames are mStep apart, in units of which mScale make a second.
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
