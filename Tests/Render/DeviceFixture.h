#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PluginBase/Render/Render.h"

namespace zeb::render {

/// What the program tests; each program of device tests defines one (Tested*.cpp).
struct TestedDevice {
    const char* mName;       ///< RenderOptions::mRequestedDevice
    const char* mInterface;  ///< how failures name the graphics interface: "DX12 "
    bool mReflectsPrograms;  ///< whether it names what a pipeline's program lacks
    bool (*mCanValidate)();  ///< whether the interface's validation may be asked for on this machine
    std::uint32_t (*mGetTextureLimit)(Device&);
    std::uint32_t (*mGetGroupLimit)(Device&);    ///< along y
    std::uint64_t (*mGetStorageLimit)(Device&);  ///< UINT32_MAX where no buffer is larger
    std::uint32_t (*mGetLiveBlocks)(Device&);    ///< native resources that live; null when they are not counted
};
extern const TestedDevice kTestedDevice;

/// One device for all tests of the program, with the API's validation on where it may be asked for. Any message of it
/// fails the test that is running.
class DeviceFixture : public testing::Test {
protected:
    void TearDown() override;

    static Device& GetDevice();
    static bool IsCpu() { return IsTested("cpu"); }
    static bool IsTested(const std::string& name) { return name == kTestedDevice.mName; }
    /// The failure of a value that an enumeration lacks.
    static std::string UnknownValue(const std::string& what, std::uint32_t value);
    /// Messages since the last call.
    static std::vector<std::string> TakeMessages();
    static const std::vector<DeviceCandidate>& GetCandidates();

    // Work: one list, executed and waited for.
    static void Run(const std::function<void(CommandList&)>& record);
    static void Compute(const std::function<void(ComputeCommandEncoder&)>& record);
    static void Copy(const std::function<void(CopyCommandEncoder&)>& record);

    // Buffers and their contents.
    static UniquePtr<Buffer> MakeBuffer(std::uint64_t size, MemoryKind memory = MemoryKind::Default);
    static UniquePtr<Buffer> MakeUpload(const void* data, std::size_t size);
    template <class T>
    static UniquePtr<Buffer> MakeUpload(const std::vector<T>& values) {
        return MakeUpload(values.data(), values.size() * sizeof(T));
    }
    /// The bytes of any buffer, through a read-back buffer.
    static std::vector<std::byte> ReadBytes(Buffer& buffer);
    template <class T>
    static std::vector<T> Read(Buffer& buffer) {
        const std::vector<std::byte> bytes = ReadBytes(buffer);
        std::vector<T> values(bytes.size() / sizeof(T));
        std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
        return values;
    }

    static UniquePtr<Texture> MakeTexture(Format format, std::uint32_t width, std::uint32_t height,
                                          std::uint32_t usage = kTextureUsageShaderRead);
    static void Upload(Texture& texture, const void* data, std::size_t size);
    static std::vector<std::byte> ReadBytes(Texture& texture);
    static std::vector<float> ReadFloats(Texture& texture);
};

/// A program of the tests with the root signature that `declare` fills.
struct ComputeProgramUnderTest {
    ComputeProgramUnderTest(Device& device, const std::string& entry,
                            const std::function<void(RootSignature&)>& declare);
    void Set(ComputeCommandEncoder& encoder) const;

    UniquePtr<RootSignature> mSignature;
    UniquePtr<ComputePipelineState> mPipeline;
};

/// Adds to each number of a buffer times a factor. Parameters: 0 the numbers, 1 source, 2 result, 3 the factor.
ComputeProgramUnderTest MakeRawAdd(Device& device);
/// Sets each number of a buffer to three times itself and an addend. Parameters: 0 the numbers, 1 the buffer.
ComputeProgramUnderTest MakeChain(Device& device);

/// Registers the tests' stages under their entries' names: once, any thread.
void RegisterTestShaders();

/// Text of the failure of `function`, or "no failure".
std::string GetFailure(const std::function<void()>& function);

}  // namespace zeb::render
