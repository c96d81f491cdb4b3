// A Vulkan layer that takes devices away: after some submissions the device that submits is lost, and answers so to all
// that it is asked from then on. Counts the devices that are open.
#include <vulkan/vk_layer.h>
#include <vulkan/vulkan.h>

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

namespace {

PFN_vkGetInstanceProcAddr gNextInstanceProc = nullptr;
PFN_vkGetDeviceProcAddr gNextDeviceProc = nullptr;
PFN_vkCreateDevice gNextCreateDevice = nullptr;
PFN_vkDestroyDevice gNextDestroyDevice = nullptr;
PFN_vkQueueSubmit gNextQueueSubmit = nullptr;
PFN_vkWaitForFences gNextWaitForFences = nullptr;

std::mutex gMutex;
std::map<void*, bool> gLost;  // open devices, by the loader's table, which a device and its queues share
std::atomic<int> gSubmissions{-1};

template <class Handle>
void* KeyOf(Handle handle) {
    return *reinterpret_cast<void**>(handle);
}

bool IsLost(void* key) {
    const std::lock_guard lock(gMutex);
    return gLost[key];
}

template <typename Link>
Link* FindLink(const void* chain, VkStructureType type) {
    for (auto* link = static_cast<const Link*>(chain); link; link = static_cast<const Link*>(link->pNext))
        if (link->sType == type && link->function == VK_LAYER_LINK_INFO) return const_cast<Link*>(link);
    return nullptr;
}

VKAPI_ATTR VkResult VKAPI_CALL CreateInstance(const VkInstanceCreateInfo* info, const VkAllocationCallbacks* allocator,
                                              VkInstance* instance) {
    auto* link = FindLink<VkLayerInstanceCreateInfo>(info->pNext, VK_STRUCTURE_TYPE_LOADER_INSTANCE_CREATE_INFO);
    if (!link) return VK_ERROR_INITIALIZATION_FAILED;
    gNextInstanceProc = link->u.pLayerInfo->pfnNextGetInstanceProcAddr;
    link->u.pLayerInfo = link->u.pLayerInfo->pNext;
    const auto create = reinterpret_cast<PFN_vkCreateInstance>(gNextInstanceProc(nullptr, "vkCreateInstance"));
    const VkResult result = create(info, allocator, instance);
    if (result == VK_SUCCESS)
        gNextCreateDevice = reinterpret_cast<PFN_vkCreateDevice>(gNextInstanceProc(*instance, "vkCreateDevice"));
    return result;
}

VKAPI_ATTR VkResult VKAPI_CALL CreateDevice(VkPhysicalDevice physical, const VkDeviceCreateInfo* info,
                                            const VkAllocationCallbacks* allocator, VkDevice* device) {
    auto* link = FindLink<VkLayerDeviceCreateInfo>(info->pNext, VK_STRUCTURE_TYPE_LOADER_DEVICE_CREATE_INFO);
    if (!link) return VK_ERROR_INITIALIZATION_FAILED;
    gNextDeviceProc = link->u.pLayerInfo->pfnNextGetDeviceProcAddr;
    link->u.pLayerInfo = link->u.pLayerInfo->pNext;
    const VkResult result = gNextCreateDevice(physical, info, allocator, device);
    if (result != VK_SUCCESS) return result;
    gNextDestroyDevice = reinterpret_cast<PFN_vkDestroyDevice>(gNextDeviceProc(*device, "vkDestroyDevice"));
    gNextQueueSubmit = reinterpret_cast<PFN_vkQueueSubmit>(gNextDeviceProc(*device, "vkQueueSubmit"));
    gNextWaitForFences = reinterpret_cast<PFN_vkWaitForFences>(gNextDeviceProc(*device, "vkWaitForFences"));
    const std::lock_guard lock(gMutex);
    gLost[KeyOf(*device)] = false;
    return result;
}

VKAPI_ATTR void VKAPI_CALL DestroyDevice(VkDevice device, const VkAllocationCallbacks* allocator) {
    {
        const std::lock_guard lock(gMutex);
        gLost.erase(KeyOf(device));
    }
    gNextDestroyDevice(device, allocator);
}

VKAPI_ATTR VkResult VKAPI_CALL QueueSubmit(VkQueue queue, std::uint32_t count, const VkSubmitInfo* submits,
                                           VkFence fence) {
    if (gSubmissions >= 0 && gSubmissions-- == 0) {
        const std::lock_guard lock(gMutex);
        gLost[KeyOf(queue)] = true;
    }
    return IsLost(KeyOf(queue)) ? VK_ERROR_DEVICE_LOST : gNextQueueSubmit(queue, count, submits, fence);
}

VKAPI_ATTR VkResult VKAPI_CALL WaitForFences(VkDevice device, std::uint32_t count, const VkFence* fences, VkBool32 all,
                                             std::uint64_t timeout) {
    // What was submitted before does run on the device below, which must not be pulled away from it.
    const VkResult result = gNextWaitForFences(device, count, fences, all, timeout);
    return IsLost(KeyOf(device)) ? VK_ERROR_DEVICE_LOST : result;
}

struct Entry {
    const char* mName;
    PFN_vkVoidFunction mFunction;
};

template <class Function>
Entry Own(const char* name, Function* function) {
    return {name, reinterpret_cast<PFN_vkVoidFunction>(function)};
}

}  // namespace

extern "C" {

/// The submission after so many more is the first on a lost device; less than 0: none.
VK_LAYER_EXPORT void NimbrelLoseDeviceAfter(int submissions) { gSubmissions = submissions; }

VK_LAYER_EXPORT int NimbrelCountDevices() {
    const std::lock_guard lock(gMutex);
    return static_cast<int>(gLost.size());
}

VK_LAYER_EXPORT PFN_vkVoidFunction VKAPI_CALL NimbrelLossGetDeviceProcAddr(VkDevice device, const char* name) {
    const Entry own[] = {
        Own("vkGetDeviceProcAddr", &NimbrelLossGetDeviceProcAddr),
        Own("vkDestroyDevice", &DestroyDevice),
        Own("vkQueueSubmit", &QueueSubmit),
        Own("vkWaitForFences", &WaitForFences),
    };
    for (const Entry& entry : own)
        if (std::strcmp(entry.mName, name) == 0) return entry.mFunction;
    return gNextDeviceProc(device, name);
}

VK_LAYER_EXPORT PFN_vkVoidFunction VKAPI_CALL NimbrelLossGetInstanceProcAddr(VkInstance instance, const char* name) {
    const Entry own[] = {
        Own("vkGetInstanceProcAddr", &NimbrelLossGetInstanceProcAddr),
        Own("vkGetDeviceProcAddr", &NimbrelLossGetDeviceProcAddr),
        Own("vkCreateInstance", &CreateInstance),
        Own("vkCreateDevice", &CreateDevice),
    };
    for (const Entry& entry : own)
        if (std::strcmp(entry.mName, name) == 0) return entry.mFunction;
    return gNextInstanceProc ? gNextInstanceProc(instance, name) : nullptr;
}
}
