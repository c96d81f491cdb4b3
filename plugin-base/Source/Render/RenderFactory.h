#pragma once

#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "PluginBase/Render/Render.h"

/// What the back ends of a build offer, so that the interface's own library can choose among their devices and names no
/// graphics API.
namespace zeb::render {

enum class DeviceKind : std::uint32_t { DX12, VulkanHardware, CPU, VulkanSoftware };

/// A device that could be opened.
struct DeviceOffer {
    std::string mName;
    DeviceKind mKind = DeviceKind::CPU;
    std::string mDriver;   ///< its driver's name and version, as far as known
    std::string mProblem;  ///< what it lacks, as the end of a sentence; empty for a usable device
    /// Gives `mProblem` where finding out wakes the device: asked once, of a device that is about to be taken.
    std::function<std::string()> mInspect;
    std::function<UniquePtr<Render>()> mOpen;
};

/// The offers of one back end, best first; without any, why.
struct DeviceOffers {
    std::vector<DeviceOffer> mOffers;
    std::string mProblem;
    std::exception_ptr mFailure;  ///< what `mProblem` was told from
};

// A build has some of the back ends; each defines its function, and ZEB_GAPI_... for the chooser.

/// Defined by the Direct3D 12 back end: hardware, the fastest first. No such adapter is told by having no offer.
DeviceOffers OfferDX12(const RenderOptions& options);

/// Defined by the Vulkan back end. A machine without Vulkan is no failure but a problem.
DeviceOffers OfferVulkan(const RenderOptions& options);

/// Defined by the CPU back end.
DeviceOffer OfferCPU(const RenderOptions& options);

}  // namespace zeb::render
