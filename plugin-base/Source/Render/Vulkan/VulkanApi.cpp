#define VOLK_IMPLEMENTATION
#include "VulkanApi.h"

#include <array>
#include <mutex>

#include <fmt/format.h>

#include "PluginBase/Render/Failures.h"

namespace zeb::render {
namespace {

struct ResultName {
    VkResult mResult;
    const char* mName;
};

#define ZEB_RESULT(name) \
    ResultName { name, #name }
constexpr std::array kResultNames = {
    ZEB_RESULT(VK_SUCCESS),
    ZEB_RESULT(VK_NOT_READY),
    ZEB_RESULT(VK_TIMEOUT),
    ZEB_RESULT(VK_EVENT_SET),
    ZEB_RESULT(VK_EVENT_RESET),
    ZEB_RESULT(VK_INCOMPLETE),
    ZEB_RESULT(VK_ERROR_OUT_OF_HOST_MEMORY),
    ZEB_RESULT(VK_ERROR_OUT_OF_DEVICE_MEMORY),
    ZEB_RESULT(VK_ERROR_INITIALIZATION_FAILED),
    ZEB_RESULT(VK_ERROR_DEVICE_LOST),
    ZEB_RESULT(VK_ERROR_MEMORY_MAP_FAILED),
    ZEB_RESULT(VK_ERROR_LAYER_NOT_PRESENT),
    ZEB_RESULT(VK_ERROR_EXTENSION_NOT_PRESENT),
    ZEB_RESULT(VK_ERROR_FEATURE_NOT_PRESENT),
    ZEB_RESULT(VK_ERROR_INCOMPATIBLE_DRIVER),
    ZEB_RESULT(VK_ERROR_TOO_MANY_OBJECTS),
    ZEB_RESULT(VK_ERROR_FORMAT_NOT_SUPPORTED),
    ZEB_RESULT(VK_ERROR_FRAGMENTED_POOL),
    ZEB_RESULT(VK_ERROR_UNKNOWN),
    ZEB_RESULT(VK_ERROR_OUT_OF_POOL_MEMORY),
    ZEB_RESULT(VK_ERROR_INVALID_EXTERNAL_HANDLE),
    ZEB_RESULT(VK_ERROR_FRAGMENTATION),
    ZEB_RESULT(VK_ERROR_INVALID_OPAQUE_CAPTURE_ADDRESS),
    ZEB_RESULT(VK_PIPELINE_COMPILE_REQUIRED),
    ZEB_RESULT(VK_ERROR_VALIDATION_FAILED_EXT),
    ZEB_RESULT(VK_ERROR_INVALID_SHADER_NV),
};
#undef ZEB_RESULT

}  // namespace

std::string GetResultText(VkResult result) {
    for (const ResultName& entry : kResultNames) {
        if (entry.mResult == result) return entry.mName;
    }
    return fmt::format("code {}", static_cast<std::int32_t>(result));
}

void ThrowVulkanFailure(std::string_view file, int line, std::string_view function, std::string_view call,
                        VkResult result, std::string_view object) {
    std::string text = GetResultText(result);
    if (result == VK_ERROR_DEVICE_LOST) text.insert(0, "Device lost ");
    std::string message = fmt::format("Failed to call Vulkan function ({}): {}", call, text);
    if (!object.empty()) message += fmt::format(" for {}", object);
    switch (result) {
        case VK_ERROR_DEVICE_LOST: throw DeviceLostException(file, line, function, kInternalError, message);
        case VK_ERROR_OUT_OF_HOST_MEMORY:
        case VK_ERROR_OUT_OF_DEVICE_MEMORY:
        case VK_ERROR_OUT_OF_POOL_MEMORY:
        case VK_ERROR_TOO_MANY_OBJECTS: throw OutOfMemoryException(file, line, function, kInternalError, message);
        default: throw RenderException(file, line, function, kInternalError, message);
    }
}

void LoadVulkanLibrary() {
    static const VkResult result = volkInitialize();
    if (result != VK_SUCCESS)
        ZEB_RENDER_THROW("Failed to load the Vulkan library: this machine has no Vulkan loader installed");
    if (volkGetInstanceVersion() < VK_API_VERSION_1_1)
        ZEB_RENDER_THROW("Failed to load the Vulkan library: version 1.1 is needed, the installed one is 1.0");
}

void LoadVulkanInstanceFunctions(VkInstance instance) {
    // Once only: later threads read the pointers without a lock.
    static std::once_flag once;
    std::call_once(once, [instance] { volkLoadInstanceOnly(instance); });
}

}  // namespace zeb::render
