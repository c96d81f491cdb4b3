#pragma once

#include <cstddef>

#include "PluginBase/Render/Render.h"

/// The table that the build writes from Programs.json.
namespace nimbrel::embedded {

/// Vertex, pixel and compute, in the order of the registry.
inline constexpr std::size_t kStageCount = 3;

struct Program {
    struct Stage {
        std::size_t mSize = 0;
        const void* mData = nullptr;
    };
    const char* mName;
    zeb::render::ShaderFormat mFormat;
    Stage mStages[kStageCount];
};

extern const std::size_t kProgramCount;
extern const Program kPrograms[];

}  // namespace nimbrel::embedded
