#pragma once

#include <functional>
#include <string>
#include <vector>

#include "PluginBase/Render/Render.h"

/// What the back ends of a build offer, so that the interface's own library can choose among their devices and names no
/// graphics API.
namespace zeb::render {

enum class DeviceKind : std::uint32_t { VulkanHardware, CPU, VulkanSoftware };

/// A device that could be opened.
struct DeviceOffer {
    std::string mName;
    DeviceKind mKind = DeviceKind::CPU;
    std::string mProblem;  ///< what it lacks, as the end of a sentence; empty for a usable device
    std::function<UniquePtr<Render>()> mOpen;
};

/// The offers of one back end, best first; without any, why.
struct DeviceOffers {
    std::vector<DeviceOffer> mOffers;
    std::string mProblem;
};

/// Defined by the Vulkan back end. A machine without Vulkan is no failure but a problem.
DeviceOffers OfferVulkan(const RenderOptions& options);

/// Defined by the CPU back end.
DeviceOffer OfferCPU(const RenderOptions& options);

}  // namespace zeb::render
