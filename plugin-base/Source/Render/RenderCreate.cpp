// Which device is used: the candidates of all back ends in one list, the host's wish, and what is taken without one.
// Apart from Render.cpp, so that a program which only registers shaders needs no back end.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <exception>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>

#include "RenderFactory.h"
#include "RenderFailure.h"

namespace zeb::render {
namespace {

// By DeviceKind.
constexpr std::array kKindNames = {"direct3d 12", "vulkan (hardware)", "cpu", "vulkan (software)"};

#if defined(ZEB_GAPI_DX12)
constexpr const char* kInterfaceName = "Direct3D 12";
#else
constexpr const char* kInterfaceName = "Vulkan";
#endif

// Without a wish: the first usable device of the first kind that has one. The CPU device does what a driver in software
// does, several times as fast.
constexpr std::array kPreference = {DeviceKind::DX12, DeviceKind::VulkanHardware, DeviceKind::CPU,
                                    DeviceKind::VulkanSoftware};

struct Candidates {
    std::vector<DeviceOffer> mOffers;  ///< hardware, the CPU device, drivers that run in software
    std::string mProblem;              ///< why a graphics interface has no device at all
    std::exception_ptr mFailure;       ///< the last thing that went wrong with it or with opening a device
};

Candidates FindCandidates([[maybe_unused]] const RenderOptions& options) {
    Candidates candidates;
    [[maybe_unused]] const auto add = [&candidates](DeviceOffers offers) {
        std::move(offers.mOffers.begin(), offers.mOffers.end(), std::back_inserter(candidates.mOffers));
        candidates.mProblem += offers.mProblem;
        candidates.mFailure = offers.mFailure;
    };
#if defined(ZEB_GAPI_DX12)
    add(OfferDX12(options));
#endif
#if defined(ZEB_GAPI_VULKAN)
    add(OfferVulkan(options));
#endif
#if defined(ZEB_GAPI_CPU)
    candidates.mOffers.push_back(OfferCPU(options));
#endif
    std::stable_sort(candidates.mOffers.begin(), candidates.mOffers.end(),
                     [](const DeviceOffer& a, const DeviceOffer& b) { return a.mKind < b.mKind; });
    return candidates;
}

std::string ToLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string ListNames(const std::vector<DeviceOffer>& offers) {
    std::string list;
    for (std::size_t i = 0; i < offers.size(); ++i)
        list += fmt::format("{}{}: {}", i == 0 ? "" : ", ", i, offers[i].mName);
    return list;
}

std::optional<std::size_t> ParseIndex(const std::string& request) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(request.data(), request.data() + request.size(), index);
    if (error != std::errc() || end != request.data() + request.size()) return std::nullopt;
    return index;
}

bool IsUsable(DeviceOffer& offer) {
    if (const auto inspect = std::exchange(offer.mInspect, nullptr)) offer.mProblem = inspect();
    return offer.mProblem.empty();
}

std::optional<std::size_t> FindUsable(std::vector<DeviceOffer>& offers, DeviceKind kind) {
    for (std::size_t i = 0; i < offers.size(); ++i) {
        if (offers[i].mKind == kind && IsUsable(offers[i])) return i;
    }
    return std::nullopt;
}

struct Choice {
    std::size_t mIndex;
    std::string mReason;
};

std::string GetReason(DeviceKind kind) {
    switch (kind) {
        case DeviceKind::DX12:
        case DeviceKind::VulkanHardware: return "best hardware device";
        case DeviceKind::CPU: return "no usable hardware device";
        default: return "asked for by \"vulkan\", and no usable hardware device";
    }
}

[[noreturn]] void ThrowNoDevice(const Candidates& candidates) {
#if defined(ZEB_GAPI_DX12)
    if (candidates.mFailure) std::rethrow_exception(candidates.mFailure);
    ZEB_RENDER_THROW("Failed to get compatible DX12 hardware adapter.");
#else
    std::string problems;
    for (const DeviceOffer& offer : candidates.mOffers) {
        if (offer.mKind != DeviceKind::CPU) problems += fmt::format(" \"{}\" {}.", offer.mName, offer.mProblem);
    }
    if (!candidates.mProblem.empty()) problems = " " + candidates.mProblem;
    ZEB_RENDER_THROW("Failed to get a compatible Vulkan device.{}", problems);
#endif
}

// Whether the request names a graphics interface of this build.
bool IsInterface(const std::string& wanted) {
#if defined(ZEB_GAPI_DX12)
    if (wanted == "dx12") return true;
#endif
#if defined(ZEB_GAPI_VULKAN)
    if (wanted == "vulkan") return true;
#endif
    return false;
}

bool IsOfInterface(DeviceKind kind, const std::string& wanted) {
    return kind != DeviceKind::CPU && (kind == DeviceKind::DX12) == (wanted == "dx12");
}

// `wanted` is empty or names a graphics interface.
Choice ChooseBest(Candidates& candidates, const std::string& wanted) {
    for (const DeviceKind kind : kPreference) {
        if (!wanted.empty() && !IsOfInterface(kind, wanted)) continue;
        const auto index = FindUsable(candidates.mOffers, kind);
        if (!index) continue;
        const bool isForLack = kind == DeviceKind::CPU && !candidates.mProblem.empty();
        return {*index,
                isForLack ? fmt::format("no usable {}: {}", kInterfaceName, candidates.mProblem) : GetReason(kind)};
    }
    ThrowNoDevice(candidates);
}

// The request as RenderOptions tells it; names are matched in part and in either case.
Choice Choose(Candidates& candidates, const RenderOptions& options) {
    const std::string& request = options.mRequestedDevice;
    std::vector<DeviceOffer>& offers = candidates.mOffers;
    const std::string wanted = ToLower(request);
#if defined(ZEB_GAPI_DX12)
    // Adapters are there, the debug layer may not be: the processor's cores are no stand-in for what was to be
    // validated.
    if (options.mValidation && candidates.mFailure && wanted != "cpu") std::rethrow_exception(candidates.mFailure);
#endif
    if (wanted.empty() || IsInterface(wanted)) return ChooseBest(candidates, wanted);
    std::optional<std::size_t> index = wanted == "cpu" ? FindUsable(offers, DeviceKind::CPU) : ParseIndex(wanted);
    for (std::size_t i = 0; !index && i < offers.size(); ++i) {
        if (ToLower(offers[i].mName).find(wanted) != std::string::npos) index = i;
    }
    if (offers.empty()) ThrowNoDevice(candidates);
    if (!index || *index >= offers.size())
        ZEB_RENDER_THROW("No device matches \"{}\"; the devices are {}", request, ListNames(offers));
    if (!IsUsable(offers[*index])) {
        ZEB_RENDER_THROW("The device \"{}\" cannot be used, it {}", offers[*index].mName, offers[*index].mProblem);
    }
    return {*index, fmt::format("asked for by \"{}\"", request)};
}

void Report(const RenderOptions& options, const std::vector<DeviceOffer>& offers, const Choice& choice) {
    if (!options.mReportDevice) return;
    for (std::size_t i = 0; i < offers.size(); ++i) {
        DeviceCandidate candidate;
        candidate.mIndex = static_cast<std::int32_t>(i);
        candidate.mName = offers[i].mName;
        candidate.mKind = kKindNames[static_cast<std::size_t>(offers[i].mKind)];
        candidate.mChosen = i == choice.mIndex;
        const std::string& driver = offers[i].mDriver;
        if (candidate.mChosen)
            candidate.mReason = choice.mReason + (driver.empty() ? "" : "; driver " + driver);
        else if (!offers[i].mProblem.empty())
            candidate.mReason = offers[i].mProblem;
        else
            candidate.mReason = fmt::format("\"{}\" is preferred", offers[choice.mIndex].mName);
        options.mReportDevice(candidate);
    }
}

}  // namespace

UniquePtr<Render> Render::Create(std::int32_t type, const RenderOptions& options) {
    if (type != 0 && type != 1) ZEB_RENDER_THROW("Failed to create a render of type {}", type);
    Candidates candidates = FindCandidates(options);
    for (;;) {
        const Choice choice = Choose(candidates, options);
        DeviceOffer& chosen = candidates.mOffers[choice.mIndex];
        try {
            UniquePtr<Render> render = chosen.mOpen();
            Report(options, candidates.mOffers, choice);
            return render;
        } catch (const RenderException& failure) {
            // A device that cannot be opened is passed over, and the next choice leaves it out; one that was asked for
            // by name fails there with this problem.
            chosen.mProblem = fmt::format("cannot be opened: {}", failure.what());
            candidates.mFailure = std::current_exception();
        }
    }
}

}  // namespace zeb::render
