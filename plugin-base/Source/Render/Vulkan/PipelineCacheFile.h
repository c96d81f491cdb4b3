#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "VulkanApi.h"

namespace zeb::render {

/// The compiled pipelines of one device and driver, kept on disk between processes. A gain and not a need: whatever
/// cannot be read is as good as absent, and a file that cannot be written is not written. Thread: any.
///
/// The file: "NPLC", the format's version, the size of what follows and its FNV-1a hash, each as stored in memory;
/// then the driver's data, which begin with a header of its own (Vulkan specification,
/// VkPipelineCacheHeaderVersionOne).
class PipelineCacheFile {
public:
    /// With an empty folder there is no file.
    PipelineCacheFile(const std::filesystem::path& folder, const VkPhysicalDeviceProperties& properties);

    /// Empty unless the file is whole and of this very device and driver.
    std::vector<std::byte> Read() const;
    /// Takes the place of an earlier file in one step.
    void Write(const std::vector<std::byte>& data) const;

private:
    bool IsOfDevice(const std::vector<std::byte>& data) const;

    std::filesystem::path mFile;
    VkPhysicalDeviceProperties mProperties;
};

}  // namespace zeb::render
