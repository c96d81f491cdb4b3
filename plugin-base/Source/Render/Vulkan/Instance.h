#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "PluginBase/Render/Render.h"
#include "VulkanApi.h"

namespace zeb::render {

/// The Vulkan instance, with the validation layer and its messenger when they are wanted.
class InstanceVulkan {
public:
    explicit InstanceVulkan(const RenderOptions& options);
    ~InstanceVulkan();
    InstanceVulkan(const InstanceVulkan&) = delete;
    InstanceVulkan& operator=(const InstanceVulkan&) = delete;

    VkInstance Get() const { return mInstance; }
    std::uint32_t GetApiVersion() const { return mApiVersion; }
    bool IsValidating() const { return mValidation; }
    /// Thread: any. Without a receiver the text is dropped.
    void Report(const std::string& text) const;

private:
    std::vector<const char*> FindLayers() const;
    void CreateMessenger();
    void Destroy();

    bool mValidation;
    std::function<void(const std::string&)> mReport;
    std::uint32_t mApiVersion = 0;
    VkInstance mInstance = VK_NULL_HANDLE;
    VkDebugUtilsMessengerEXT mMessenger = VK_NULL_HANDLE;
};

/// One physical device with what the choice among several rests on.
struct PhysicalDevice {
    VkPhysicalDevice mDevice = VK_NULL_HANDLE;
    std::string mName;
    std::string mDriver;  ///< name and version
    bool mIsSoftware = false;
    std::uint32_t mRank = 0;         ///< 0 discrete, 1 integrated, 2 virtual, 3 other, 4 the processor's cores
    std::uint64_t mMemory = 0;       ///< bytes of the largest device-local heap
    std::uint32_t mApiVersion = 0;   ///< what device and instance both offer
    std::uint32_t mQueueFamily = 0;  ///< takes graphics, compute and copies
    std::uint32_t mQueueCount = 0;
    std::vector<const char*> mExtensions;  ///< to be enabled
    std::string mProblem;                  ///< what it lacks, empty for a usable device

    bool Has(std::string_view extension) const;
};

/// All physical devices, best first, the software ones last.
std::vector<PhysicalDevice> FindPhysicalDevices(const InstanceVulkan& instance);

}  // namespace zeb::render
