#include "Device.h"
#include "DeviceContext.h"
#include "Instance.h"
#include "RenderFactory.h"

namespace zeb::render {
namespace {

class RenderVulkan final : public Render {
public:
    RenderVulkan(const std::shared_ptr<const InstanceVulkan>& instance, const PhysicalDevice& device,
                 const RenderOptions& options)
        : mDevice(std::make_shared<DeviceContext>(instance, device, options.mPipelineCacheFolder), device.mName,
                  options.mHeapSizes) {}

    std::vector<std::string> GetDefines() const override {
        std::vector<std::string> defines = Render::GetDefines();
        defines.emplace_back("ZEB_GAPI_VULKAN");
        return defines;
    }

    std::string GetDescription() const override { return mDevice.GetName(); }
    Device& GetAnyDevice() override { return mDevice; }

private:
    DeviceVulkan mDevice;
};

}  // namespace

DeviceOffers OfferVulkan(const RenderOptions& options) {
    DeviceOffers offers;
    try {
        const auto instance = std::make_shared<const InstanceVulkan>(options);
        for (const PhysicalDevice& device : FindPhysicalDevices(*instance)) {
            const DeviceKind kind = device.mIsSoftware ? DeviceKind::VulkanSoftware : DeviceKind::VulkanHardware;
            offers.mOffers.push_back(
                {device.mName, kind, device.mDriver, device.mProblem, nullptr,
                 [instance, device, options] { return MakeUnique<RenderVulkan>(instance, device, options); }});
        }
    } catch (const RenderException& failure) {
        offers.mProblem = failure.what();
        offers.mFailure = std::current_exception();
    }
    return offers;
}

}  // namespace zeb::render
