#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "Render/CPU/Device.h"
#include "Render/CPU/Parallel.h"
#include "Render/RenderFactory.h"

namespace zeb::render {
namespace {

class RenderCPU final : public Render {
public:
    RenderCPU(const std::string& name, const RenderOptions& options) : mDevice(name, options) {}

    std::vector<std::string> GetDefines() const override {
        std::vector<std::string> defines = Render::GetDefines();
        defines.emplace_back("ZEB_GAPI_CPU");
        return defines;
    }

    std::string GetDescription() const override { return mDevice.GetName(); }
    Device& GetAnyDevice() override { return mDevice; }

private:
    cpu::DeviceCPU mDevice;
};

/// The processor's name where the system tells it.
std::string GetProcessorName() {
#if defined(__linux__)
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
    }
#elif defined(_WIN32)
    // Family, model and maker.
    if (const char* const identifier = std::getenv("PROCESSOR_IDENTIFIER")) return identifier;
#endif
    return "processor";
}

}  // namespace

DeviceOffer OfferCPU(const RenderOptions& options) {
    std::uint32_t threads = cpu::GetConcurrency();
    if (options.mProcessorLimit > 0) threads = std::min(threads, options.mProcessorLimit);
    const std::string name = fmt::format("{} ({} threads)", GetProcessorName(), threads);
    return {name, DeviceKind::CPU, {}, {}, nullptr, [name, options] { return MakeUnique<RenderCPU>(name, options); }};
}

}  // namespace zeb::render
