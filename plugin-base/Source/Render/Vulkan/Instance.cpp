#include "Instance.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <tuple>

#include <fmt/format.h>

namespace zeb::render {
namespace {

constexpr const char* kValidationLayer = "VK_LAYER_KHRONOS_validation";

/// The layer remarks on its own settings at any severity; what counts is what it says of the application.
bool IsAboutSettings(const char* messageId) {
    return messageId != nullptr && std::string_view(messageId).starts_with("VALIDATION-SETTINGS");
}

VKAPI_ATTR VkBool32 VKAPI_CALL OnValidationMessage(VkDebugUtilsMessageSeverityFlagBitsEXT,
                                                   VkDebugUtilsMessageTypeFlagsEXT,
                                                   const VkDebugUtilsMessengerCallbackDataEXT* data, void* user) {
    if (IsAboutSettings(data->pMessageIdName)) return VK_FALSE;
    // The layer calls this from C: nothing may be thrown through it.
    try {
        static_cast<const InstanceVulkan*>(user)->Report(data->pMessage);
    } catch (...) {
    }
    return VK_FALSE;
}

struct NeededExtension {
    const char* mName;
    std::uint32_t mCoreSince;  ///< version from which on it needs no enabling; 0 for never
};

// In the order of their dependence.
constexpr std::array kNeededExtensions = {
    NeededExtension{VK_KHR_CREATE_RENDERPASS_2_EXTENSION_NAME, VK_API_VERSION_1_2},
    NeededExtension{VK_KHR_DEPTH_STENCIL_RESOLVE_EXTENSION_NAME, VK_API_VERSION_1_2},
    NeededExtension{VK_KHR_DYNAMIC_RENDERING_EXTENSION_NAME, VK_API_VERSION_1_3},
};

// What is used where it is there.
constexpr std::array kWantedExtensions = {VK_KHR_PUSH_DESCRIPTOR_EXTENSION_NAME,
                                          VK_EXT_LINE_RASTERIZATION_EXTENSION_NAME};

void FindExtensions(PhysicalDevice& device) {
    const auto available = Enumerate<VkExtensionProperties>([&](std::uint32_t* count, VkExtensionProperties* values) {
        return vkEnumerateDeviceExtensionProperties(device.mDevice, nullptr, count, values);
    });
    const auto has = [&](const char* name) {
        return std::any_of(available.begin(), available.end(),
                           [&](const VkExtensionProperties& e) { return std::strcmp(e.extensionName, name) == 0; });
    };
    for (const NeededExtension& needed : kNeededExtensions) {
        if (needed.mCoreSince != 0 && device.mApiVersion >= needed.mCoreSince) continue;
        if (has(needed.mName))
            device.mExtensions.push_back(needed.mName);
        else if (device.mProblem.empty())
            device.mProblem = fmt::format("lacks {}", needed.mName);
    }
    for (const char* wanted : kWantedExtensions) {
        if (has(wanted)) device.mExtensions.push_back(wanted);
    }
    if (device.mApiVersion < VK_API_VERSION_1_3 && has(VK_EXT_SUBGROUP_SIZE_CONTROL_EXTENSION_NAME))
        device.mExtensions.push_back(VK_EXT_SUBGROUP_SIZE_CONTROL_EXTENSION_NAME);
}

void FindQueueFamily(PhysicalDevice& device) {
    constexpr VkQueueFlags kNeeded = VK_QUEUE_GRAPHICS_BIT | VK_QUEUE_COMPUTE_BIT;
    const auto families =
        Enumerate<VkQueueFamilyProperties>([&](std::uint32_t* count, VkQueueFamilyProperties* values) {
            vkGetPhysicalDeviceQueueFamilyProperties(device.mDevice, count, values);
            return VK_SUCCESS;
        });
    for (std::uint32_t i = 0; i < families.size(); ++i) {
        if ((families[i].queueFlags & kNeeded) != kNeeded) continue;
        device.mQueueFamily = i;
        device.mQueueCount = families[i].queueCount;
        return;
    }
    if (device.mProblem.empty()) device.mProblem = "has no queue for both graphics and compute";
}

std::uint32_t RankOf(VkPhysicalDeviceType type) {
    switch (type) {
        case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU: return 0;
        case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU: return 1;
        case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU: return 2;
        case VK_PHYSICAL_DEVICE_TYPE_CPU: return 4;
        default: return 3;
    }
}

// In the driver's own words; before Vulkan 1.2 it has a number alone, which vendors divide in their own ways.
std::string DescribeDriver(VkPhysicalDevice handle, const VkPhysicalDeviceProperties& properties,
                           std::uint32_t version) {
    if (version < VK_API_VERSION_1_2) return fmt::format("{:#x}", properties.driverVersion);
    VkPhysicalDeviceDriverProperties driver = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DRIVER_PROPERTIES};
    VkPhysicalDeviceProperties2 all = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2, &driver};
    vkGetPhysicalDeviceProperties2(handle, &all);
    return fmt::format("{}{}{}", driver.driverName, *driver.driverInfo == '\0' ? "" : " ", driver.driverInfo);
}

PhysicalDevice Inspect(VkPhysicalDevice handle, std::uint32_t instanceVersion) {
    VkPhysicalDeviceProperties properties;
    vkGetPhysicalDeviceProperties(handle, &properties);
    VkPhysicalDeviceMemoryProperties memory;
    vkGetPhysicalDeviceMemoryProperties(handle, &memory);

    PhysicalDevice device;
    device.mDevice = handle;
    device.mName = properties.deviceName;
    device.mIsSoftware = properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU;
    device.mRank = RankOf(properties.deviceType);
    device.mApiVersion = std::min(properties.apiVersion, instanceVersion);
    for (std::uint32_t i = 0; i < memory.memoryHeapCount; ++i) {
        if ((memory.memoryHeaps[i].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0)
            device.mMemory = std::max<std::uint64_t>(device.mMemory, memory.memoryHeaps[i].size);
    }
    if (device.mApiVersion < VK_API_VERSION_1_1) {
        device.mProblem = "offers Vulkan 1.0 only, 1.1 is needed";
        return device;
    }
    device.mDriver = DescribeDriver(handle, properties, device.mApiVersion);
    FindExtensions(device);
    FindQueueFamily(device);
    if (!device.mProblem.empty()) return device;

    VkPhysicalDeviceDynamicRenderingFeatures rendering = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DYNAMIC_RENDERING_FEATURES};
    VkPhysicalDeviceFeatures2 features = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, &rendering};
    vkGetPhysicalDeviceFeatures2(handle, &features);
    if (rendering.dynamicRendering == VK_FALSE) device.mProblem = "lacks the feature of dynamic rendering";
    return device;
}

}  // namespace

bool PhysicalDevice::Has(std::string_view extension) const {
    return std::find(mExtensions.begin(), mExtensions.end(), extension) != mExtensions.end();
}

InstanceVulkan::InstanceVulkan(const RenderOptions& options)
    : mValidation(options.mValidation), mReport(options.mReportValidation) {
    LoadVulkanLibrary();
    mApiVersion = std::min<std::uint32_t>(volkGetInstanceVersion(), VK_API_VERSION_1_3);
    const std::vector<const char*> layers = FindLayers();
    std::vector<const char*> extensions;
    if (mValidation) extensions.push_back(VK_EXT_DEBUG_UTILS_EXTENSION_NAME);

    VkApplicationInfo application = {VK_STRUCTURE_TYPE_APPLICATION_INFO};
    application.pApplicationName = "Nimbrel";
    application.apiVersion = mApiVersion;
    VkInstanceCreateInfo info = {VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.pApplicationInfo = &application;
    info.enabledLayerCount = static_cast<std::uint32_t>(layers.size());
    info.ppEnabledLayerNames = layers.data();
    info.enabledExtensionCount = static_cast<std::uint32_t>(extensions.size());
    info.ppEnabledExtensionNames = extensions.data();
    const VkResult result = vkCreateInstance(&info, nullptr, &mInstance);
    if (result == VK_ERROR_INCOMPATIBLE_DRIVER)
        ZEB_RENDER_THROW("Failed to find a Vulkan driver: this machine has a Vulkan loader, but no driver for it");
    if (result != VK_SUCCESS) {
        mInstance = VK_NULL_HANDLE;
        ThrowVulkanFailure(__FILE__, __LINE__, ZEB_FUNCTION_NAME, "vkCreateInstance(&info, nullptr, &mInstance)",
                           result);
    }
    try {
        LoadVulkanInstanceFunctions(mInstance);
        if (mValidation) CreateMessenger();
    } catch (...) {
        Destroy();
        throw;
    }
}

InstanceVulkan::~InstanceVulkan() { Destroy(); }

void InstanceVulkan::Destroy() {
    if (mMessenger != VK_NULL_HANDLE) {
        const auto destroy = reinterpret_cast<PFN_vkDestroyDebugUtilsMessengerEXT>(
            vkGetInstanceProcAddr(mInstance, "vkDestroyDebugUtilsMessengerEXT"));
        if (destroy != nullptr) destroy(mInstance, mMessenger, nullptr);
    }
    if (mInstance != VK_NULL_HANDLE) vkDestroyInstance(mInstance, nullptr);
}

std::vector<const char*> InstanceVulkan::FindLayers() const {
    if (!mValidation) return {};
    const auto available = Enumerate<VkLayerProperties>([](std::uint32_t* count, VkLayerProperties* values) {
        return vkEnumerateInstanceLayerProperties(count, values);
    });
    const bool found = std::any_of(available.begin(), available.end(), [](const VkLayerProperties& layer) {
        return std::strcmp(layer.layerName, kValidationLayer) == 0;
    });
    if (!found) ZEB_RENDER_THROW("Validation was asked for, but the layer {} is not installed", kValidationLayer);
    return {kValidationLayer};
}

void InstanceVulkan::CreateMessenger() {
    const auto create = reinterpret_cast<PFN_vkCreateDebugUtilsMessengerEXT>(
        vkGetInstanceProcAddr(mInstance, "vkCreateDebugUtilsMessengerEXT"));
    if (create == nullptr) ZEB_RENDER_THROW("Failed to get the Vulkan function vkCreateDebugUtilsMessengerEXT");
    VkDebugUtilsMessengerCreateInfoEXT info = {VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT};
    info.messageSeverity = VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
    info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT;
    info.pfnUserCallback = OnValidationMessage;
    info.pUserData = this;
    ZEB_VK_CHECK(create(mInstance, &info, nullptr, &mMessenger));
}

void InstanceVulkan::Report(const std::string& text) const {
    if (mReport) mReport(text);
}

std::vector<PhysicalDevice> FindPhysicalDevices(const InstanceVulkan& instance) {
    const auto handles = Enumerate<VkPhysicalDevice>([&](std::uint32_t* count, VkPhysicalDevice* values) {
        return vkEnumeratePhysicalDevices(instance.Get(), count, values);
    });
    std::vector<PhysicalDevice> devices;
    for (const VkPhysicalDevice handle : handles) devices.push_back(Inspect(handle, instance.GetApiVersion()));
    std::stable_sort(devices.begin(), devices.end(), [](const PhysicalDevice& a, const PhysicalDevice& b) {
        return std::tuple(a.mRank, !a.mProblem.empty(), b.mMemory) <
               std::tuple(b.mRank, !b.mProblem.empty(), a.mMemory);
    });
    return devices;
}

}  // namespace zeb::render
