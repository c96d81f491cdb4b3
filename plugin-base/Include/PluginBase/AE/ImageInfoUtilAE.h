#pragma once

#include "HostInterface/HostInterface.h"
#include "PluginBase/ImageInfo.h"

namespace zeb {

/// Describes a world of the host. The pixels stay the host's. Throws for formats that cannot be written.
ImageInfo GetImageInfoByEffectWorld(const PF_EffectWorld& world);

/// Pixels of the render per pixel of the layer, as the command has it.
struct DownsampleAE {
    PF_RationalScale mX{1, 1};
    PF_RationalScale mY{1, 1};
    double GetX() const { return static_cast<double>(mX.num) / mX.den; }
    double GetY() const { return static_cast<double>(mY.num) / mY.den; }
};

/// The command's factors; a zero or negative one, which some hosts give, counts as 1.
DownsampleAE GetDownsample(const PF_InData& inData);

}  // namespace zeb
