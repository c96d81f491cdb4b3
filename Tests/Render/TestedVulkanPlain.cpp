// The Vulkan device as on a driver that lacks all extensions that can be done without: descriptors lie in sets.
#include <cstring>

#include "Vulkan/Instance.h"

namespace {

PFN_vkEnumerateDeviceExtensionProperties gAll = nullptr;

VKAPI_ATTR VkResult VKAPI_CALL ListFewer(VkPhysicalDevice device, const char* layer, std::uint32_t* count,
                                         VkExtensionProperties* properties) {
    const VkResult result = gAll(device, layer, count, properties);
    if (properties == nullptr) return result;
    for (std::uint32_t i = 0; i < *count; ++i) {
        for (const char* hidden : {VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME, VK_EXT_LINE_RASTERIZATION_EXTENSION_NAME}) {
            if (std::strcmp(properties[i].extensionName, hidden) == 0)
                std::strcpy(properties[i].extensionName, "VK_TEST_hidden");
        }
    }
    return result;
}

// Functions are loaded with the first instance, and once.
const bool kIsPlain = [] {
    const zeb::render::InstanceVulkan first({});
    gAll = vkEnumerateDeviceExtensionProperties;
    vkEnumerateDeviceExtensionProperties = ListFewer;
    return true;
}();

}  // namespace
