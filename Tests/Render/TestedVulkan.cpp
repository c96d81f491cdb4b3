#include "DeviceFixture.h"
#include "Vulkan/Device.h"

namespace zeb::render {
namespace {

const DeviceContext& GetContext(Device& device) { return *dynamic_cast<DeviceVulkan&>(device).GetContext(); }

}  // namespace

const TestedDevice kTestedDevice = {
    "vulkan",
    "",
    true,
    [] { return true; },
    [](Device& device) { return GetContext(device).Limits().maxImageDimension2D; },
    [](Device& device) { return GetContext(device).Limits().maxComputeWorkGroupCount[1]; },
    [](Device& device) {
        const std::uint64_t limit = GetContext(device).Limits().maxStorageBufferRange;
        return limit + 4096 <= GetContext(device).GetMaxAllocationSize() ? limit : UINT32_MAX;
    },
    [](Device& device) { return GetContext(device).GetLiveBlockCount(); },
};

}  // namespace zeb::render
