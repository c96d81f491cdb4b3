#pragma once

#include <cstdint>

#include "PluginBase/Parameters/ParameterPacker.h"

/// The structure "CommonCpp" of a frame: settings of the whole picture, read by the CPU.
struct CommonCpp {
    std::uint32_t _drawZDepthEnabled = 0;  ///< not 0: depth is drawn in the place of colour
    float _zDepthNear = 0.0F;
    float _zDepthFar = 0.0F;
    std::int32_t debug_startSplatIndex = 0;
    std::int32_t debug_splatsCount = 0;  ///< -1: all

    static CommonCpp Read(const zeb::PackedParameters& packed) { return packed.Read<CommonCpp>("CommonCpp", 0); }
};
static_assert(sizeof(CommonCpp) == 20);
