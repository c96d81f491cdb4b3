#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Instance.h"
#include "PipelineCacheFile.h"
#include "PluginBase/Render/Types.h"
#include "SharedObjects.h"
#include "VulkanApi.h"

namespace zeb::render {

class GraphicsPipelines;
struct PipelineResource;

/// A queue of the device and the lock around it: there are fewer queues than threads.
struct QueueSlot {
    VkQueue mQueue = VK_NULL_HANDLE;
    std::mutex mMutex;
};

/// A block of device memory, one for each resource.
struct MemoryBlock {
    VkDeviceMemory mMemory = VK_NULL_HANDLE;
    std::uint64_t mSize = 0;
    std::byte* mMapped = nullptr;  ///< set for memory that the CPU sees
    bool mIsCoherent = true;
};

/// The logical device with its functions and limits. All objects share it, so it lives as long as the last of
/// them. Thread: any.
class DeviceContext {
public:
    /// With a folder compiled pipelines are kept in it from one device to the next.
    DeviceContext(std::shared_ptr<const InstanceVulkan> instance, const PhysicalDevice& physicalDevice,
                  const std::filesystem::path& pipelineCacheFolder);
    ~DeviceContext();
    DeviceContext(const DeviceContext&) = delete;
    DeviceContext& operator=(const DeviceContext&) = delete;

    VkDevice Get() const { return mDevice; }
    const VolkDeviceTable& Api() const { return mApi; }
    const VkPhysicalDeviceLimits& Limits() const { return mProperties.limits; }
    const InstanceVulkan& GetInstance() const { return *mInstance; }
    VkPhysicalDevice GetPhysicalDevice() const { return mPhysicalDevice; }
    VkPipelineCache GetPipelineCache() const { return mPipelineCache; }
    /// Pipelines that threads have in common.
    SharedObjects<PipelineResource>& ComputePipelines() { return mComputePipelines; }
    SharedObjects<GraphicsPipelines>& DrawPipelines() { return mDrawPipelines; }
    std::uint32_t GetQueueFamily() const { return mQueueFamily; }
    /// Descriptors that a draw or dispatch can carry along; 0 where the driver has no such way.
    std::uint32_t GetMaxPushDescriptors() const { return mMaxPushDescriptors; }
    std::uint64_t GetMaxAllocationSize() const { return mMaxAllocationSize; }
    std::uint32_t GetWaveLaneCount() const { return mWaveLaneCount; }
    /// Whether compute programs with wave operations must state the wave's size to be sure of it.
    bool MustPinWaveSize() const { return mMustPinWaveSize; }
    bool HasWireframe() const { return mHasWireframe; }
    /// Whether lines can be asked for by the rule of diamonds, one pixel for each step along the longer axis.
    bool HasBresenhamLines() const { return mHasBresenhamLines; }
    bool IsSoftware() const { return mProperties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU; }

    /// One of the device's queues, in turn.
    QueueSlot& GetNextQueue();
    /// Memory of `kind` for the named owner; CPU-visible memory comes mapped.
    MemoryBlock Allocate(const VkMemoryRequirements& requirements, MemoryKind kind, std::string_view owner);
    void Free(MemoryBlock& block);
    /// Blocks of memory in use now.
    std::uint32_t GetLiveBlockCount() const { return mLiveBlocks; }

    /// Names a native object for the validation layer's messages.
    template <class Handle>
    void SetName(VkObjectType type, Handle handle, const std::string& name) const {
        if (mSetObjectName != nullptr) SetObjectName(type, (std::uint64_t)handle, name);
    }

private:
    void CreateDevice(const PhysicalDevice& physicalDevice);
    void CreatePipelineCache(const std::filesystem::path& folder);
    void SavePipelines() const;
    void QueryProperties(const PhysicalDevice& physicalDevice);
    std::vector<std::uint32_t> RankMemoryTypes(std::uint32_t allowed, MemoryKind kind) const;
    void SetObjectName(VkObjectType type, std::uint64_t handle, const std::string& name) const;

    std::shared_ptr<const InstanceVulkan> mInstance;
    VkPhysicalDevice mPhysicalDevice;
    VkPhysicalDeviceProperties mProperties = {};
    VkPhysicalDeviceMemoryProperties mMemoryProperties = {};
    std::uint32_t mQueueFamily;
    std::uint32_t mMaxPushDescriptors = 0;
    std::uint64_t mMaxAllocationSize = 0;
    std::uint32_t mWaveLaneCount = 0;
    bool mMustPinWaveSize = false;
    bool mHasWireframe = false;
    bool mHasBresenhamLines = false;
    VkDevice mDevice = VK_NULL_HANDLE;
    VolkDeviceTable mApi = {};
    VkPipelineCache mPipelineCache = VK_NULL_HANDLE;
    std::optional<PipelineCacheFile> mPipelineFile;
    std::size_t mKeptPipelineBytes = 0;  ///< of the file, as it was read
    SharedObjects<PipelineResource> mComputePipelines;
    SharedObjects<GraphicsPipelines> mDrawPipelines;
    PFN_vkSetDebugUtilsObjectNameEXT mSetObjectName = nullptr;
    std::vector<std::unique_ptr<QueueSlot>> mQueues;
    std::atomic<std::uint32_t> mNextQueue = 0;
    std::atomic<std::uint32_t> mLiveBlocks = 0;
};

}  // namespace zeb::render
