// A Vulkan layer for Wine's Direct3D 12 on a software driver. Wine fills descriptor tables only on devices that list
// VK_EXT_descriptor_indexing; drivers that have its features as part of Vulkan 1.2 need not list it. The layer adds the
// name to the list, and takes it out again when a device is made. All instances of a process go down one chain, so
// that the functions below it are kept once.
#include <vulkan/vk_layer.h>
#include <vulkan/vulkan.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

PFN_vkGetInstanceProcAddr gNextInstanceProc = nullptr;
PFN_vkGetDeviceProcAddr gNextDeviceProc = nullptr;
PFN_vkEnumerateDeviceExtensionProperties gNextExtensions = nullptr;
PFN_vkCreateDevice gNextCreateDevice = nullptr;

constexpr char kExtension[] = "VK_EXT_descriptor_indexing";

// The loader's own entry in a chain of creation structures: the link to the layer below.
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
    if (result != VK_SUCCESS) return result;
    gNextExtensions = reinterpret_cast<PFN_vkEnumerateDeviceExtensionProperties>(
        gNextInstanceProc(*instance, "vkEnumerateDeviceExtensionProperties"));
    gNextCreateDevice = reinterpret_cast<PFN_vkCreateDevice>(gNextInstanceProc(*instance, "vkCreateDevice"));
    return VK_SUCCESS;
}

VKAPI_ATTR VkResult VKAPI_CALL EnumerateDeviceExtensionProperties(VkPhysicalDevice device, const char* layer,
                                                                  std::uint32_t* count,
                                                                  VkExtensionProperties* properties) {
    if (layer) return gNextExtensions(device, layer, count, properties);
    std::uint32_t below = 0;
    VkResult result = gNextExtensions(device, nullptr, &below, nullptr);
    if (result != VK_SUCCESS) return result;
    std::vector<VkExtensionProperties> list(below);
    result = gNextExtensions(device, nullptr, &below, list.data());
    if (result != VK_SUCCESS) return result;
    VkExtensionProperties added{};
    std::memcpy(added.extensionName, kExtension, sizeof(kExtension));
    added.specVersion = 2;
    list.push_back(added);
    const auto size = static_cast<std::uint32_t>(list.size());
    if (!properties) {
        *count = size;
        return VK_SUCCESS;
    }
    *count = *count < size ? *count : size;
    std::memcpy(properties, list.data(), *count * sizeof(VkExtensionProperties));
    return *count < size ? VK_INCOMPLETE : VK_SUCCESS;
}

VKAPI_ATTR VkResult VKAPI_CALL CreateDevice(VkPhysicalDevice physical, const VkDeviceCreateInfo* info,
                                            const VkAllocationCallbacks* allocator, VkDevice* device) {
    auto* link = FindLink<VkLayerDeviceCreateInfo>(info->pNext, VK_STRUCTURE_TYPE_LOADER_DEVICE_CREATE_INFO);
    if (!link) return VK_ERROR_INITIALIZATION_FAILED;
    gNextDeviceProc = link->u.pLayerInfo->pfnNextGetDeviceProcAddr;
    link->u.pLayerInfo = link->u.pLayerInfo->pNext;
    std::vector<const char*> names;
    for (std::uint32_t i = 0; i < info->enabledExtensionCount; ++i)
        if (std::strcmp(info->ppEnabledExtensionNames[i], kExtension) != 0)
            names.push_back(info->ppEnabledExtensionNames[i]);
    VkDeviceCreateInfo reduced = *info;
    reduced.enabledExtensionCount = static_cast<std::uint32_t>(names.size());
    reduced.ppEnabledExtensionNames = names.data();
    return gNextCreateDevice(physical, &reduced, allocator, device);
}

}  // namespace

extern "C" {

VK_LAYER_EXPORT PFN_vkVoidFunction VKAPI_CALL NimbrelLayerGetDeviceProcAddr(VkDevice device, const char* name) {
    return gNextDeviceProc(device, name);
}

VK_LAYER_EXPORT PFN_vkVoidFunction VKAPI_CALL NimbrelLayerGetInstanceProcAddr(VkInstance instance, const char* name) {
    const struct {
        const char* mName;
        PFN_vkVoidFunction mFunction;
    } own[] = {
        {"vkGetInstanceProcAddr", reinterpret_cast<PFN_vkVoidFunction>(&NimbrelLayerGetInstanceProcAddr)},
        {"vkGetDeviceProcAddr", reinterpret_cast<PFN_vkVoidFunction>(&NimbrelLayerGetDeviceProcAddr)},
        {"vkCreateInstance", reinterpret_cast<PFN_vkVoidFunction>(&CreateInstance)},
        {"vkCreateDevice", reinterpret_cast<PFN_vkVoidFunction>(&CreateDevice)},
        {"vkEnumerateDeviceExtensionProperties",
         reinterpret_cast<PFN_vkVoidFunction>(&EnumerateDeviceExtensionProperties)},
    };
    for (const auto& entry : own)
        if (std::strcmp(entry.mName, name) == 0) return entry.mFunction;
    return gNextInstanceProc ? gNextInstanceProc(instance, name) : nullptr;
}
}
