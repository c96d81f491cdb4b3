#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Shot.h"

/// Frames from the cross-built programs under Wine. Both throw std::runtime_error with a program's exit status and what
/// it said if it fails.
namespace nimbrel::endtoend {

/// The shot's frame from nimbrel-render; `device` as for --gpu.
host::Frame RenderOnWindows(const Shot& shot, const std::string& device = "dx12");

/// The importer's picture of a model from nimbrel-render.
host::Frame DrawThumbnailOnWindows(const std::filesystem::path& model);

/// As of CapturedFrame.
struct SortedSplats {
    std::vector<std::uint32_t> mKeys, mOrder;
};
/// Of each shot, as Direct3D sorts them.
std::vector<SortedSplats> SortOnWindows(const std::vector<Shot>& shots);

}  // namespace nimbrel::endtoend
