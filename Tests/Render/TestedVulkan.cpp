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
    [](Device& device) { return std::uint64_t{GetContext(device).Limits().maxStorageBufferRange}; },
    [](Device& device) { return GetContext(device).GetLiveBlockCount(); },
};

}  // namespace zeb::render
