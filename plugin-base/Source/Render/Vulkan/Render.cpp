#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include <fmt/format.h>

#include "Device.h"
#include "DeviceContext.h"
#include "Instance.h"
#include "RenderFactory.h"

namespace zeb::render {
namespace {

std::string ToLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string ListNames(const std::vector<PhysicalDevice>& devices) {
    std::string list;
    for (std::size_t i = 0; i < devices.size(); ++i)
        list += fmt::format("{}{}: {}", i == 0 ? "" : ", ", i, devices[i].mName);
    return list.empty() ? "none" : list;
}

std::optional<std::size_t> ParseIndex(const std::string& request) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(request.data(), request.data() + request.size(), index);
    if (error != std::errc() || end != request.data() + request.size()) return std::nullopt;
    return index;
}

struct Choice {
    std::size_t mIndex;
    std::string mReason;
};

Choice ChooseBest(const std::vector<PhysicalDevice>& devices) {
    const auto usable =
        std::find_if(devices.begin(), devices.end(), [](const PhysicalDevice& d) { return d.mProblem.empty(); });
    if (usable == devices.end()) {
        std::string problems;
        for (const PhysicalDevice& device : devices)
            problems += fmt::format(" \"{}\" {}.", device.mName, device.mProblem);
        ZEB_RENDER_THROW("Failed to get a compatible Vulkan device.{}", problems);
    }
    return {static_cast<std::size_t>(usable - devices.begin()),
            usable->mIsSoftware ? "no usable hardware device" : "best hardware device"};
}

// The request as RenderOptions tells it; names are matched in part and in either case.
Choice Choose(const std::vector<PhysicalDevice>& devices, const std::string& request) {
    const std::string wanted = ToLower(request);
    if (wanted == "cpu") ZEB_RENDER_THROW("The device \"cpu\" was asked for, but this build has no CPU device");
    if (wanted.empty() || wanted == "vulkan") return ChooseBest(devices);
    std::optional<std::size_t> index = ParseIndex(wanted);
    for (std::size_t i = 0; !index && i < devices.size(); ++i) {
        if (ToLower(devices[i].mName).find(wanted) != std::string::npos) index = i;
    }
    if (!index || *index >= devices.size())
        ZEB_RENDER_THROW("No device matches \"{}\"; the devices are {}", request, ListNames(devices));
    const PhysicalDevice& device = devices[*index];
    if (!device.mProblem.empty())
        ZEB_RENDER_THROW("The device \"{}\" cannot be used, it {}", device.mName, device.mProblem);
    return {*index, fmt::format("asked for by \"{}\"", request)};
}

void Report(const RenderOptions& options, const std::vector<PhysicalDevice>& devices, const Choice& choice) {
    if (!options.mReportDevice) return;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        DeviceCandidate candidate;
        candidate.mIndex = static_cast<std::int32_t>(i);
        candidate.mName = devices[i].mName;
        candidate.mKind = devices[i].mIsSoftware ? "vulkan (software)" : "vulkan (hardware)";
        candidate.mChosen = i == choice.mIndex;
        if (candidate.mChosen)
            candidate.mReason = choice.mReason;
        else if (!devices[i].mProblem.empty())
            candidate.mReason = devices[i].mProblem;
        else
            candidate.mReason = fmt::format("\"{}\" is preferred", devices[choice.mIndex].mName);
        options.mReportDevice(candidate);
    }
}

class RenderVulkan final : public Render {
public:
    explicit RenderVulkan(const RenderOptions& options) {
        const auto instance = std::make_shared<const InstanceVulkan>(options);
        std::vector<PhysicalDevice> devices = FindPhysicalDevices(*instance);
        while (!mDevice) {
            const Choice choice = Choose(devices, options.mRequestedDevice);
            PhysicalDevice& chosen = devices[choice.mIndex];
            try {
                mDevice = MakeUnique<DeviceVulkan>(std::make_shared<DeviceContext>(instance, chosen), chosen.mName,
                                                   options.mHeapSizes);
                Report(options, devices, choice);
            } catch (const RenderException& failure) {
                // A device that cannot be opened is passed over, and the next choice leaves it out; one that was
                // asked for by name fails there with this problem.
                chosen.mProblem = fmt::format("cannot be opened: {}", failure.what());
            }
        }
    }

    std::vector<std::string> GetDefines() const override {
        std::vector<std::string> defines = Render::GetDefines();
        defines.emplace_back("ZEB_GAPI_VULKAN");
        return defines;
    }

    std::string GetDescription() const override { return mDevice->GetName(); }
    Device& GetAnyDevice() override { return *mDevice; }

private:
    UniquePtr<DeviceVulkan> mDevice;
};

}  // namespace

UniquePtr<Render> MakeRender(const RenderOptions& options) { return MakeUnique<RenderVulkan>(options); }

}  // namespace zeb::render
