// A Vulkan layer for Wine's Direct3D 12 on a software driver. All instances of a process go down one chain, so that the
// functions below it are kept once.
//
// Wine fills descriptor tables only on devices that list VK_EXT_descriptor_indexing; drivers that have its features as
// part of Vulkan 1.2 need not list it. The layer adds the name to the list, and takes it out again when a device is
// made.
//
// Direct3D's lines without antialiasing go by the rule of diamonds; Wine leaves them as Vulkan has them by default,
// which may be rectangles. The layer asks for that rule where the driver has it.
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
constexpr char kLines[] = VK_EXT_LINE_RASTERIZATION_EXTENSION_NAME;
bool gHasLines = false;

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

// Whether the driver itself lists the extension.
bool Lists(VkPhysicalDevice device, const char* extension) {
    std::uint32_t count = 0;
    gNextExtensions(device, nullptr, &count, nullptr);
    std::vector<VkExtensionProperties> list(count);
    gNextExtensions(device, nullptr, &count, list.data());
    for (const VkExtensionProperties& entry : list)
        if (std::strcmp(entry.extensionName, extension) == 0) return true;
    return false;
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
    VkPhysicalDeviceLineRasterizationFeaturesEXT lines{};
    gHasLines = Lists(physical, kLines);
    if (gHasLines) {
        lines.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_LINE_RASTERIZATION_FEATURES_EXT;
        lines.pNext = const_cast<void*>(reduced.pNext);
        lines.bresenhamLines = VK_TRUE;
        reduced.pNext = &lines;
        names.push_back(kLines);
    }
    reduced.enabledExtensionCount = static_cast<std::uint32_t>(names.size());
    reduced.ppEnabledExtensionNames = names.data();
    return gNextCreateDevice(physical, &reduced, allocator, device);
}

bool DrawsLines(const VkGraphicsPipelineCreateInfo& info) {
    const auto* assembly = info.pInputAssemblyState;
    return info.pRasterizationState && assembly &&
           (assembly->topology == VK_PRIMITIVE_TOPOLOGY_LINE_LIST ||
            assembly->topology == VK_PRIMITIVE_TOPOLOGY_LINE_STRIP);
}

VKAPI_ATTR VkResult VKAPI_CALL CreateGraphicsPipelines(VkDevice device, VkPipelineCache cache, std::uint32_t count,
                                                       const VkGraphicsPipelineCreateInfo* infos,
                                                       const VkAllocationCallbacks* allocator, VkPipeline* pipelines) {
    std::vector<VkGraphicsPipelineCreateInfo> changed(infos, infos + count);
    std::vector<VkPipelineRasterizationStateCreateInfo> raster(count);
    std::vector<VkPipelineRasterizationLineStateCreateInfoEXT> lines(count);
    for (std::uint32_t i = 0; gHasLines && i < count; ++i) {
        if (!DrawsLines(infos[i])) continue;
        raster[i] = *infos[i].pRasterizationState;
        lines[i].sType = VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_LINE_STATE_CREATE_INFO_EXT;
        lines[i].pNext = raster[i].pNext;
        lines[i].lineRasterizationMode = VK_LINE_RASTERIZATION_MODE_BRESENHAM_EXT;
        raster[i].pNext = &lines[i];
        changed[i].pRasterizationState = &raster[i];
    }
    const auto create =
        reinterpret_cast<PFN_vkCreateGraphicsPipelines>(gNextDeviceProc(device, "vkCreateGraphicsPipelines"));
    return create(device, cache, count, changed.data(), allocator, pipelines);
}

}  // namespace

extern "C" {

VK_LAYER_EXPORT PFN_vkVoidFunction VKAPI_CALL NimbrelLayerGetDeviceProcAddr(VkDevice device, const char* name) {
    if (std::strcmp(name, "vkCreateGraphicsPipelines") == 0)
        return reinterpret_cast<PFN_vkVoidFunction>(&CreateGraphicsPipelines);
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
