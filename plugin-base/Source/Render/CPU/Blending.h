#pragma once

#include <cstdint>

#include <glm/vec4.hpp>

#include "PluginBase/Render/Types.h"
#include "Render/CPU/Arithmetic.h"

namespace zeb::render::cpu {

/// Fixed-function blending: the same members as a graphics pipeline has.
struct BlendState {
    bool mEnabled = false;
    BlendFactor mSourceColor = BlendFactor::One;
    BlendFactor mDestinationColor = BlendFactor::Zero;
    BlendOperation mColorOperation = BlendOperation::Add;
    BlendFactor mSourceAlpha = BlendFactor::One;
    BlendFactor mDestinationAlpha = BlendFactor::Zero;
    BlendOperation mAlphaOperation = BlendOperation::Add;
};

/// The factor of channel `channel`. In the alpha equation a colour factor stands for its alpha.
inline float GetBlendFactor(BlendFactor factor, const glm::vec4& source, const glm::vec4& destination, int channel) {
    switch (factor) {
        case BlendFactor::Zero: return 0.0F;
        case BlendFactor::One: return 1.0F;
        case BlendFactor::SourceColor: return source[channel];
        case BlendFactor::InverseSourceColor: return 1.0F - source[channel];
        case BlendFactor::SourceAlpha: return source.w;
        case BlendFactor::InverseSourceAlpha: return 1.0F - source.w;
        case BlendFactor::DestinationAlpha: return destination.w;
        case BlendFactor::InverseDestinationAlpha: return 1.0F - destination.w;
        case BlendFactor::DestinationColor: return destination[channel];
        case BlendFactor::InverseDestinationColor: return 1.0F - destination[channel];
    }
    return 0.0F;
}

/// Combines the weighted operands; minimum and maximum take no weights.
inline float CombineChannel(BlendOperation operation, float source, float sourceFactor, float destination,
                            float destinationFactor) {
    switch (operation) {
        case BlendOperation::Add: return source * sourceFactor + destination * destinationFactor;
        case BlendOperation::Subtract: return source * sourceFactor - destination * destinationFactor;
        case BlendOperation::ReverseSubtract: return destination * destinationFactor - source * sourceFactor;
        case BlendOperation::Minimum: return Min(source, destination);
        case BlendOperation::Maximum: return Max(source, destination);
    }
    return source;
}

/// The new colour of a texel of `format`, before it is rounded to that format, which is the only rounding. Targets of a
/// normalised format clamp the source to 0..1 first, as graphics interfaces have it.
inline glm::vec4 Blend(const BlendState& state, Format format, const glm::vec4& pixel, const glm::vec4& destination) {
    glm::vec4 source = pixel;
    if (format == Format::RGBA8Unorm || format == Format::RGBA16Unorm) {
        for (int channel = 0; channel < 4; ++channel) source[channel] = Saturate(pixel[channel]);
    }
    if (!state.mEnabled) return source;
    glm::vec4 result(0.0F);
    for (int channel = 0; channel < 4; ++channel) {
        const bool alpha = channel == 3;
        const BlendFactor sourceFactor = alpha ? state.mSourceAlpha : state.mSourceColor;
        const BlendFactor destinationFactor = alpha ? state.mDestinationAlpha : state.mDestinationColor;
        result[channel] =
            CombineChannel(alpha ? state.mAlphaOperation : state.mColorOperation, source[channel],
                           GetBlendFactor(sourceFactor, source, destination, channel), destination[channel],
                           GetBlendFactor(destinationFactor, source, destination, channel));
    }
    return result;
}

}  // namespace zeb::render::cpu
