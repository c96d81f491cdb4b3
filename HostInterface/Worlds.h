#pragma once

#include "HostInterface/Types.h"

// Images that the host and the effect hand to each other.

#ifdef _MSC_VER
#pragma pack(push, 8)
#endif
extern "C" {

using PF_WorldFlags = A_long;
using PF_PixelFormat = A_long;
using PF_PixelPtr = PF_Pixel*;

// One image. Rows run from top to bottom, rowbytes apart; origin is the layer coordinate of the first pixel.
struct PF_LayerDef {
    void* reserved0;
    void* reserved1;
    PF_WorldFlags world_flags;
    PF_PixelPtr data;
    A_long rowbytes;
    A_long width;
    A_long height;
    PF_UnionableRect extent_hint;
    void* platform_ref;
    A_long reserved_long1;
    void* reserved_long4;
    PF_RationalScale pix_aspect_ratio;
    void* reserved_long2;
    A_long origin_x;
    A_long origin_y;
    A_long reserved_long3;
    A_long dephault;
};
using PF_EffectWorld = PF_LayerDef;
NIMBREL_LAYOUT(PF_LayerDef, 120, 8);
NIMBREL_OFFSET(PF_LayerDef, world_flags, 16);
NIMBREL_OFFSET(PF_LayerDef, data, 24);
NIMBREL_OFFSET(PF_LayerDef, rowbytes, 32);
NIMBREL_OFFSET(PF_LayerDef, width, 36);
NIMBREL_OFFSET(PF_LayerDef, height, 40);
NIMBREL_OFFSET(PF_LayerDef, extent_hint, 44);
NIMBREL_OFFSET(PF_LayerDef, platform_ref, 64);
NIMBREL_OFFSET(PF_LayerDef, reserved_long1, 72);
NIMBREL_OFFSET(PF_LayerDef, reserved_long4, 80);
NIMBREL_OFFSET(PF_LayerDef, pix_aspect_ratio, 88);
NIMBREL_OFFSET(PF_LayerDef, reserved_long2, 96);
NIMBREL_OFFSET(PF_LayerDef, origin_x, 104);
NIMBREL_OFFSET(PF_LayerDef, origin_y, 108);
NIMBREL_OFFSET(PF_LayerDef, reserved_long3, 112);
NIMBREL_OFFSET(PF_LayerDef, dephault, 116);

enum : A_long {
    PF_WorldFlag_DEEP = 1,
    PF_WorldFlag_WRITEABLE = 2,
};

// Four characters, the first in the lowest byte.
enum : A_long {
    PF_PixelFormat_ARGB32 = 0x62677261,
    PF_PixelFormat_ARGB64 = 0x36316561,
    PF_PixelFormat_ARGB128 = 0x32336561,
    PF_PixelFormat_GPU_BGRA128 = 0x41444340,
    PF_PixelFormat_RESERVED = 0x61444340,
    PF_PixelFormat_BGRA32 = 0x61726762,
    PF_PixelFormat_VUYA32 = 0x61797576,
    PF_PixelFormat_NTSCDV25 = 0x326E7664,
    PF_PixelFormat_PALDV25 = 0x32707664,
    PF_PixelFormat_INVALID = 0x66646162,
};

enum : A_long {
    PF_Quality_LO = 0,
    PF_Quality_HI = 1,
};

using PF_Field = A_long;
enum : PF_Field {
    PF_Field_FRAME = 0,
    PF_Field_UPPER = 1,
    PF_Field_LOWER = 2,
};

using PF_ChannelMask = A_long;
enum : PF_ChannelMask {
    PF_ChannelMask_ALPHA = 1,
    PF_ChannelMask_RED = 2,
    PF_ChannelMask_GREEN = 4,
    PF_ChannelMask_BLUE = 8,
    PF_ChannelMask_ARGB = 15,
};

using PF_GPU_Framework = A_long;
enum : PF_GPU_Framework {
    PF_GPU_Framework_NONE = 0,
    PF_GPU_Framework_OPENCL = 1,
    PF_GPU_Framework_METAL = 2,
    PF_GPU_Framework_CUDA = 3,
};

}  // extern "C"
#ifdef _MSC_VER
#pragma pack(pop)
#endif
