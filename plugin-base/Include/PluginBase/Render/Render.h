#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "PluginBase/Render/Device.h"

namespace zeb::render {

/// What the code inside a program's stages is written in.
enum class ShaderFormat : std::uint32_t {
    Spirv = 0,
    Dxil = 1,  ///< shader model 6.0, with wave operations
    Dxbc = 2,  ///< shader model 5.1, for Direct3D devices that do not take Dxil
};

#if defined(_WIN32)
inline constexpr ShaderFormat kDefaultShaderFormat = ShaderFormat::Dxil;
#else
inline constexpr ShaderFormat kDefaultShaderFormat = ShaderFormat::Spirv;
#endif

/// One pair of (size, data) for each stage: vertex, pixel, compute, and one that stays empty. The data
/// stays in place for the process's life.
struct EmbeddedShaderData {
    struct Stage {
        std::size_t mSize = 0;
        const void* mData = nullptr;
    };
    Stage mStages[4];
};

/// One device that could be used, as told to `RenderOptions::mReportDevice`.
struct DeviceCandidate {
    std::int32_t mIndex = 0;
    std::string mName;
    std::string mKind;  ///< "vulkan (hardware)", "vulkan (software)", "cpu", ...
    bool mChosen = false;
    std::string mReason;  ///< why it was chosen or passed over, one line
};

struct RenderOptions {
    std::string mShaderListFile;
    std::vector<std::string> mShaderFolders;
    DescriptorHeapSizes mHeapSizes;
    /// Wish of the host: empty (the effect chooses), "cpu", "vulkan", an index of the list of
    /// candidates, or a part of a device's name.
    std::string mRequestedDevice;
    /// Runs with the API's validation layer; each error goes to `mReportValidation`, from any thread.
    bool mValidation = false;
    /// Processors that a device which draws on them may use, 0 for all that the process has.
    std::uint32_t mProcessorLimit = 0;
    /// Where a back end that can keeps compiled pipelines for the next process; empty: nowhere. Need not exist.
    std::filesystem::path mPipelineCacheFolder;
    std::function<void(const DeviceCandidate&)> mReportDevice;
    std::function<void(const std::string&)> mReportValidation;
};

/// The graphics interface of the process: its devices and the registry of compiled programs.
class Render {
public:
    virtual ~Render() = default;

    /// Preprocessor definitions for programs.
    virtual std::vector<std::string> GetDefines() const;
    /// Text about the adapters, one a line.
    virtual std::string GetDescription() const = 0;
    /// The first device. Throws "Failed to get a render" without one.
    virtual Device& GetAnyDevice() = 0;

    /// `type` 0 or 1 gives the implementation of this build; any other throws.
    static UniquePtr<Render> Create(std::int32_t type, const RenderOptions& options);

    /// Enters a program's stages; a name that is taken throws. Each format has a table of its own: a program may stand
    /// in several, and a device looks into the one that it takes.
    static void SetEmbeddedShaderData(const std::string& name, const EmbeddedShaderData& data,
                                      ShaderFormat format = kDefaultShaderFormat);
    static const EmbeddedShaderData& GetEmbeddedShaderData(const std::string& name,
                                                           ShaderFormat format = kDefaultShaderFormat);
};

}  // namespace zeb::render
