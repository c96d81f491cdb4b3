#pragma once

// The one door to the vendor's headers. Functions are loaded at run time: those of the instance are the
// loader's own entry points, good for every instance; those of a device stand in its VolkDeviceTable.
#include <volk.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "RenderFailure.h"

namespace zeb::render {

/// Name of a result ("VK_ERROR_OUT_OF_HOST_MEMORY"), "code {}" for one without a name here.
std::string GetResultText(VkResult result);

/// Throws "Failed to call Vulkan function ({}): {}" with the call's source text and the result. `object` is
/// added when it is not empty, to say for what the call was made. A lost device and a lack of memory have exceptions of
/// their own (PluginBase/Render/Failures.h).
[[noreturn]] void ThrowVulkanFailure(std::string_view file, int line, std::string_view function, std::string_view call,
                                     VkResult result, std::string_view object = {});

/// Loads the machine's Vulkan library and the instance functions, once for the process. Throws where there is none.
void LoadVulkanLibrary();
/// Loads the instance's functions the first time that an instance exists.
void LoadVulkanInstanceFunctions(VkInstance instance);

/// All elements of one of the "count, then array" queries.
template <class T, class Query>
std::vector<T> Enumerate(Query&& query, T prototype = T{}) {
    std::uint32_t count = 0;
    std::vector<T> values;
    do {
        query(&count, nullptr);
        values.assign(count, prototype);
    } while (count != 0 && query(&count, values.data()) == VK_INCOMPLETE);
    values.resize(count);
    return values;
}

}  // namespace zeb::render

/// Evaluates a Vulkan call; anything but success is thrown with the call's own source text.
#define ZEB_VK_CHECK(call) ZEB_VK_CHECK_FOR(call, ::std::string_view())

/// The same, and the message names the object that the call was made for.
#define ZEB_VK_CHECK_FOR(call, object)                                                                            \
    do {                                                                                                          \
        if (const VkResult zebResult = (call); zebResult != VK_SUCCESS)                                           \
            ::zeb::render::ThrowVulkanFailure(__FILE__, __LINE__, ZEB_FUNCTION_NAME, #call, zebResult, (object)); \
    } while (false)
