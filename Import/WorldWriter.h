#pragma once

#include "HostInterface/HostInterface.h"
#include "Picture.h"

namespace nimbrel::importer {

/// Where a world's pixels lie in the picture, at the world's scale.
struct WorldPlacement {
    int mWidth = 0;  ///< of the whole picture, in pixels of the world
    int mHeight = 0;
    int mLeft = 0;  ///< of the world's first pixel
    int mTop = 0;
};

/// Writes the pixels of `region` (clipped to the world) with full alpha, each the mean of what it covers of the
/// picture; without a picture the background. False for a format that is none of the three that hosts draw in.
bool WriteWorld(const Picture* picture, const WorldPlacement& placement, const A_LRect& region, PF_PixelFormat format,
                PF_EffectWorld& world);

}  // namespace nimbrel::importer
