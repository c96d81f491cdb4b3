#pragma once

#include <cstddef>

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
    Stage mStages[kStageCount];
};

extern const std::size_t kProgramCount;
extern const Program kPrograms[];

}  // namespace nimbrel::embedded
