#pragma once

#include <filesystem>
#include <functional>

#include "NimbrelConvert/SplatReader.h"

namespace nimbrel::convert {

struct ConvertOptions {
    ReadOptions mRead;
    /// Called before each block of splats; what it throws ends the work, and nothing is left of the output.
    std::function<void()> mCheck;
};

/// Writes a model as a binary PLY file that the effect reads as it is. Answers what was read. Throws ConvertError.
ModelFacts ConvertModel(const std::filesystem::path& in, const std::filesystem::path& out,
                        const ConvertOptions& options = {});

}  // namespace nimbrel::convert
