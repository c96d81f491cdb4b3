#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Nimbrel/ShaderConstants.h"
#include "Shot.h"

/// A shot drawn by the renderer alone, in this process, so that tests reach the inside of a frame.
namespace nimbrel::endtoend {

struct RenderedShot {
    std::vector<std::uint32_t> mKeys;          ///< depths of all splats, sorted
    std::vector<std::uint32_t> mOrder;         ///< places in mRecords, near ones first
    std::vector<gpu::SplatViewData> mRecords;  ///< in the frame's order
    std::vector<std::byte> mTexels;            ///< of the target
};

/// `device` as for --gpu. Throws when there is none.
RenderedShot RenderInProcess(const Shot& shot, const std::string& device);

}  // namespace nimbrel::endtoend
