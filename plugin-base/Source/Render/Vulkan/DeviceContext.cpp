#include "DeviceContext.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fmt/format.h>

namespace zeb::render {
namespace {

constexpr std::uint32_t kMaxQueues = 16;
// Memory that is both the device's and CPU-visible is used for uploads only where it is a real share of
// the device's memory, not the small window of older boards.
constexpr std::uint64_t kLargeUploadHeap = 1ULL << 30;

constexpr VkSubgroupFeatureFlags kNeededWaveOperations = VK_SUBGROUP_FEATURE_BASIC_BIT | VK_SUBGROUP_FEATURE_VOTE_BIT |
                                                         VK_SUBGROUP_FEATURE_ARITHMETIC_BIT |
                                                         VK_SUBGROUP_FEATURE_BALLOT_BIT;

bool HasSizeControl(const PhysicalDevice& device) {
    return device.mApiVersion >= VK_API_VERSION_1_3 || device.Has(VK_EXT_SUBGROUP_SIZE_CONTROL_EXTENSION_NAME);
}

// How well a memory type serves a kind; 0: not at all.
int ScoreMemoryType(VkMemoryPropertyFlags flags, std::uint64_t heapSize, MemoryKind kind) {
    const bool local = (flags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT) != 0;
    const bool visible = (flags & VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT) != 0;
    const bool coherent = (flags & VK_MEMORY_PROPERTY_HOST_COHERENT_BIT) != 0;
    const bool cached = (flags & VK_MEMORY_PROPERTY_HOST_CACHED_BIT) != 0;
    const bool special = (flags & (VK_MEMORY_PROPERTY_PROTECTED_BIT | VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT)) != 0;
    if (special) return 0;
    switch (kind) {
        case MemoryKind::Upload:
            if (!visible || !coherent) return 0;
            return 1 + (local ? (heapSize >= kLargeUploadHeap ? 4 : -1) : 0) + (cached ? 0 : 1);
        case MemoryKind::Readback:
            if (!visible) return 0;
            return 1 + (cached ? 4 : 0) + (coherent ? 2 : 0) + (local ? 0 : 1);
        default: return 1 + (local ? 4 : 0) + (visible ? 0 : 1);
    }
}

}  // namespace

DeviceContext::DeviceContext(std::shared_ptr<const InstanceVulkan> instance, const PhysicalDevice& physicalDevice,
                             const std::filesystem::path& pipelineCacheFolder)
    : mInstance(std::move(instance)),
      mPhysicalDevice(physicalDevice.mDevice),
      mQueueFamily(physicalDevice.mQueueFamily) {
    QueryProperties(physicalDevice);
    CreateDevice(physicalDevice);
    volkLoadDeviceTable(&mApi, mDevice);
    // The two names of one function; which of them a driver knows depends on its version.
    if (mApi.vkCmdBeginRendering == nullptr) mApi.vkCmdBeginRendering = mApi.vkCmdBeginRenderingKHR;
    if (mApi.vkCmdEndRendering == nullptr) mApi.vkCmdEndRendering = mApi.vkCmdEndRenderingKHR;
    if (mInstance->IsValidating()) {
        mSetObjectName = reinterpret_cast<PFN_vkSetDebugUtilsObjectNameEXT>(
            vkGetInstanceProcAddr(mInstance->Get(), "vkSetDebugUtilsObjectNameEXT"));
    }
    for (std::uint32_t i = 0; i < std::min(physicalDevice.mQueueCount, kMaxQueues); ++i) {
        mQueues.push_back(std::make_unique<QueueSlot>());
        mApi.vkGetDeviceQueue(mDevice, mQueueFamily, i, &mQueues.back()->mQueue);
    }
    CreatePipelineCache(pipelineCacheFolder);
}

DeviceContext::~DeviceContext() {
    mApi.vkDeviceWaitIdle(mDevice);
    try {
        SavePipelines();
    } catch (...) {  // no memory for it, or no folder that the system can name
    }
    mApi.vkDestroyPipelineCache(mDevice, mPipelineCache, nullptr);
    mApi.vkDestroyDevice(mDevice, nullptr);
}

// A cache is a gain, not a need: without one pipelines are made all the same.
void DeviceContext::CreatePipelineCache(const std::filesystem::path& folder) {
    mPipelineFile.emplace(folder, mProperties);
    std::vector<std::byte> kept = mPipelineFile->Read();
    VkPipelineCacheCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO};
    info.initialDataSize = kept.size();
    info.pInitialData = kept.data();
    VkResult result = mApi.vkCreatePipelineCache(mDevice, &info, nullptr, &mPipelineCache);
    if (result != VK_SUCCESS && !kept.empty()) {
        kept.clear();
        info.initialDataSize = 0;
        result = mApi.vkCreatePipelineCache(mDevice, &info, nullptr, &mPipelineCache);
    }
    if (result != VK_SUCCESS) mPipelineCache = VK_NULL_HANDLE;
    mKeptPipelineBytes = kept.size();
}

// The driver's data only grow, so that another size tells of new pipelines.
void DeviceContext::SavePipelines() const {
    std::size_t size = 0;
    if (mPipelineCache == VK_NULL_HANDLE ||
        mApi.vkGetPipelineCacheData(mDevice, mPipelineCache, &size, nullptr) != VK_SUCCESS)
        return;
    std::vector<std::byte> data(size);
    // Incomplete data are good as far as they go.
    const VkResult result = mApi.vkGetPipelineCacheData(mDevice, mPipelineCache, &size, data.data());
    if ((result != VK_SUCCESS && result != VK_INCOMPLETE) || size == mKeptPipelineBytes) return;
    data.resize(size);
    mPipelineFile->Write(data);
}

void DeviceContext::QueryProperties(const PhysicalDevice& physicalDevice) {
    VkPhysicalDeviceSubgroupSizeControlProperties sizes = {
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SUBGROUP_SIZE_CONTROL_PROPERTIES};
    const bool hasSizeControl = HasSizeControl(physicalDevice);
    VkPhysicalDeviceSubgroupProperties waves = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SUBGROUP_PROPERTIES,
                                                hasSizeControl ? &sizes : nullptr};
    VkPhysicalDeviceMaintenance3Properties memory = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_3_PROPERTIES,
                                                     &waves};
    VkPhysicalDevicePushDescriptorPropertiesKHR push = {
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PUSH_DESCRIPTOR_PROPERTIES_KHR, &memory};
    VkPhysicalDeviceProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2, &push};
    vkGetPhysicalDeviceProperties2(mPhysicalDevice, &properties);
    vkGetPhysicalDeviceMemoryProperties(mPhysicalDevice, &mMemoryProperties);
    mProperties = properties.properties;
    if (physicalDevice.Has(VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME)) mMaxPushDescriptors = push.maxPushDescriptors;
    mMaxAllocationSize = memory.maxMemoryAllocationSize;

    const bool hasWaves = (waves.supportedStages & VK_SHADER_STAGE_COMPUTE_BIT) != 0 &&
                          (waves.supportedOperations & kNeededWaveOperations) == kNeededWaveOperations;
    if (!hasWaves || !hasSizeControl) return;
    if (sizes.minSubgroupSize == sizes.maxSubgroupSize) {
        mWaveLaneCount = waves.subgroupSize;
    } else if ((sizes.requiredSubgroupSizeStages & VK_SHADER_STAGE_COMPUTE_BIT) != 0) {
        mWaveLaneCount = waves.subgroupSize;
        mMustPinWaveSize = true;
    }
}

void DeviceContext::CreateDevice(const PhysicalDevice& physicalDevice) {
    VkPhysicalDeviceSubgroupSizeControlFeatures sizes = {
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SUBGROUP_SIZE_CONTROL_FEATURES};
    VkPhysicalDeviceDynamicRenderingFeatures rendering = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DYNAMIC_RENDERING_FEATURES,
                                                          HasSizeControl(physicalDevice) ? &sizes : nullptr};
    VkPhysicalDeviceLineRasterizationFeaturesEXT lines = {
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_LINE_RASTERIZATION_FEATURES_EXT, &rendering};
    const bool hasLines = physicalDevice.Has(VK_EXT_LINE_RASTERIZATION_EXTENSION_NAME);
    VkPhysicalDeviceFeatures2 features = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, &rendering};
    if (hasLines) features.pNext = &lines;
    vkGetPhysicalDeviceFeatures2(mPhysicalDevice, &features);
    if (sizes.subgroupSizeControl == VK_FALSE || sizes.computeFullSubgroups == VK_FALSE) {
        if (mMustPinWaveSize) mWaveLaneCount = 0;
        mMustPinWaveSize = false;
    }
    mHasWireframe = features.features.fillModeNonSolid != VK_FALSE;
    mHasBresenhamLines = hasLines && lines.bresenhamLines != VK_FALSE;

    // Robust access keeps a damaged asset from reading beyond its buffer.
    VkPhysicalDeviceFeatures wanted = {};
    wanted.robustBufferAccess = features.features.robustBufferAccess;
    wanted.fillModeNonSolid = features.features.fillModeNonSolid;
    features.features = wanted;

    const std::uint32_t queueCount = std::min(physicalDevice.mQueueCount, kMaxQueues);
    std::array<float, kMaxQueues> priorities;
    priorities.fill(1.0F);
    VkDeviceQueueCreateInfo queues = {VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queues.queueFamilyIndex = mQueueFamily;
    queues.queueCount = queueCount;
    queues.pQueuePriorities = priorities.data();
    VkDeviceCreateInfo info = {VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO, &features};
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queues;
    info.enabledExtensionCount = static_cast<std::uint32_t>(physicalDevice.mExtensions.size());
    info.ppEnabledExtensionNames = physicalDevice.mExtensions.data();
    ZEB_VK_CHECK_FOR(vkCreateDevice(mPhysicalDevice, &info, nullptr, &mDevice),
                     fmt::format("the device \"{}\"", physicalDevice.mName));
}

QueueSlot& DeviceContext::GetNextQueue() { return *mQueues[mNextQueue++ % mQueues.size()]; }

std::vector<std::uint32_t> DeviceContext::RankMemoryTypes(std::uint32_t allowed, MemoryKind kind) const {
    const auto score = [&](std::uint32_t index) {
        const VkMemoryType& type = mMemoryProperties.memoryTypes[index];
        return ScoreMemoryType(type.propertyFlags, mMemoryProperties.memoryHeaps[type.heapIndex].size, kind);
    };
    std::vector<std::uint32_t> types;
    for (std::uint32_t i = 0; i < mMemoryProperties.memoryTypeCount; ++i) {
        if ((allowed & (1U << i)) != 0 && score(i) > 0) types.push_back(i);
    }
    std::stable_sort(types.begin(), types.end(), [&](std::uint32_t a, std::uint32_t b) { return score(a) > score(b); });
    return types;
}

MemoryBlock DeviceContext::Allocate(const VkMemoryRequirements& requirements, MemoryKind kind, std::string_view owner) {
    if (requirements.size > mMaxAllocationSize) {
        ZEB_RENDER_THROW("Failed to allocate {} bytes for {}: the device's limit is {} bytes", requirements.size, owner,
                         mMaxAllocationSize);
    }
    VkMemoryAllocateInfo info = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    info.allocationSize = requirements.size;
    MemoryBlock block;
    block.mSize = requirements.size;
    VkResult result = VK_ERROR_OUT_OF_DEVICE_MEMORY;
    for (const std::uint32_t type : RankMemoryTypes(requirements.memoryTypeBits, kind)) {
        info.memoryTypeIndex = type;
        result = mApi.vkAllocateMemory(mDevice, &info, nullptr, &block.mMemory);
        // A full heap leaves the others of its kind to be tried.
        if (result != VK_ERROR_OUT_OF_DEVICE_MEMORY) break;
    }
    if (result != VK_SUCCESS) {
        ThrowVulkanFailure(__FILE__, __LINE__, ZEB_FUNCTION_NAME,
                           "mApi.vkAllocateMemory(mDevice, &info, nullptr, &block.mMemory)", result,
                           fmt::format("{} bytes of {}", requirements.size, owner));
    }
    ++mLiveBlocks;
    const VkMemoryPropertyFlags flags = mMemoryProperties.memoryTypes[info.memoryTypeIndex].propertyFlags;
    block.mIsCoherent = (flags & VK_MEMORY_PROPERTY_HOST_COHERENT_BIT) != 0;
    if (kind == MemoryKind::Upload || kind == MemoryKind::Readback) {
        void* address = nullptr;
        const VkResult mapped = mApi.vkMapMemory(mDevice, block.mMemory, 0, VK_WHOLE_SIZE, 0, &address);
        if (mapped != VK_SUCCESS) {
            Free(block);
            ZEB_VK_CHECK_FOR(mapped, owner);
        }
        block.mMapped = static_cast<std::byte*>(address);
    }
    return block;
}

void DeviceContext::Free(MemoryBlock& block) {
    if (block.mMemory == VK_NULL_HANDLE) return;
    mApi.vkFreeMemory(mDevice, block.mMemory, nullptr);
    block = MemoryBlock();
    --mLiveBlocks;
}

void DeviceContext::SetObjectName(VkObjectType type, std::uint64_t handle, const std::string& name) const {
    VkDebugUtilsObjectNameInfoEXT info = {VK_STRUCTURE_TYPE_DEBUG_UTILS_OBJECT_NAME_INFO_EXT};
    info.objectType = type;
    info.objectHandle = handle;
    info.pObjectName = name.c_str();
    mSetObjectName(mDevice, &info);
}

}  // namespace zeb::render
