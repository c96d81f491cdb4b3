#include "PluginBase/AE/ImageInfoUtilAE.h"

#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace zeb {
namespace {

ChannelFormat GetChannelFormat(PF_PixelFormat format) {
    switch (format) {
        case PF_PixelFormat_ARGB32: return ChannelFormat::U8;
        case PF_PixelFormat_ARGB64: return ChannelFormat::I16;
        case PF_PixelFormat_ARGB128: return ChannelFormat::F32;
        case 0x61726762:  // "bgra"
        case 0x61797576:  // "vuya"
        case 0x61444340:  // "@CDa"
        case 0x41444340:  // "@CDA"
        case 0x326e7664:  // "dvn2"
        case 0x32707664:  // "dvp2"
        case 0x66646162:  // "badf", the host's invalid format
            // The text carries its marker as it stands, with no number put in.
            ZEB_THROW(kInternalError, "Unsupported image format %d");
        default: ZEB_THROW(kInternalError, "Unknown image format %d");
    }
}

PF_RationalScale Sanitize(const PF_RationalScale& scale) {
    // A denominator beyond int32 is as meaningless as none.
    const bool valid = scale.num > 0 && static_cast<A_long>(scale.den) > 0;
    return valid ? scale : PF_RationalScale{1, 1};
}

}  // namespace

ImageInfo GetImageInfoByEffectWorld(const PF_EffectWorld& world) {
    ImageInfo info;
    info.mOriginX = world.origin_x;
    info.mOriginY = world.origin_y;
    info.mWidth = world.width;
    info.mHeight = world.height;
    info.mRowBytes = world.rowbytes;
    info.mPixelChannels = PixelChannels::ARGB;
    info.mChannelFormat = GetChannelFormat(WorldSuite().GetPixelFormat(&world));
    info.mPreMultiplication = PreMultiplication::UnPreMultiplied;
    info.mData = world.data;
    return info;
}

DownsampleAE GetDownsample(const PF_InData& inData) {
    return {Sanitize(inData.downsample_x), Sanitize(inData.downsample_y)};
}

}  // namespace zeb
