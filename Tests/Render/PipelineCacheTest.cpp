// Pipelines that outlive their thread or their process.
#include <fstream>
#include <thread>

#include <unistd.h>

#include "DeviceFixture.h"
#include "Vulkan/Device.h"
#include "Vulkan/PipelineStates.h"

namespace zeb::render {
namespace {

namespace fs = std::filesystem;

struct PipelineCacheTest : DeviceFixture {
    PipelineCacheTest() { fs::remove_all(mFolder); }
    ~PipelineCacheTest() override { fs::remove_all(mFolder); }

    const fs::path mFolder = fs::temp_directory_path() / ("nimbrel-pipelines-" + std::to_string(getpid()));
};

TEST_F(PipelineCacheTest, ThreadsShareWhatIsAlike) {
    const auto resource = [](const ComputeProgramUnderTest& program) {
        return ToVulkan(*program.mPipeline).GetResource().get();
    };
    const ComputeProgramUnderTest here = MakeChain(GetDevice());
    const PipelineResource* there = nullptr;
    std::thread([&] { there = resource(MakeChain(GetDevice())); }).join();
    EXPECT_EQ(there, resource(here));
    const ComputeProgramUnderTest other = {GetDevice(), "Chain", [](RootSignature& signature) {
                                               signature.AddRootUnorderedAccessBufferView(6);
                                               signature.AddRootConstants(20, 0);
                                           }};
    EXPECT_NE(resource(other), resource(here)) << "parameters in another order";
}

/// A cache that a driver might have written, with the mark of a device.
std::vector<std::byte> MakeData(const VkPhysicalDeviceProperties& properties, std::size_t payload) {
    const std::uint32_t words[] = {32, VK_PIPELINE_CACHE_HEADER_VERSION_ONE, properties.vendorID, properties.deviceID};
    std::vector<std::byte> data(32 + payload, std::byte{0x5A});
    std::memcpy(data.data(), words, sizeof(words));
    std::memcpy(data.data() + sizeof(words), properties.pipelineCacheUUID, VK_UUID_SIZE);
    return data;
}

TEST_F(PipelineCacheTest, OnlyAWholeFileOfThisDeviceIsRead) {
    VkPhysicalDeviceProperties device = {};
    device.vendorID = 0x1234;
    device.deviceID = 7;
    device.pipelineCacheUUID[3] = 9;
    const PipelineCacheFile file(mFolder / "deep", device);
    EXPECT_TRUE(file.Read().empty());
    const std::vector<std::byte> data = MakeData(device, 1000);
    file.Write(data);
    EXPECT_EQ(file.Read(), data);
    ASSERT_EQ(std::distance(fs::directory_iterator(mFolder / "deep"), {}), 1) << "nothing unfinished is left";

    const fs::path path = fs::directory_iterator(mFolder / "deep")->path();
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    const auto changed = [&](std::size_t at) {
        std::string copy = bytes;
        copy[at] = static_cast<char>(copy[at] ^ 1);
        return copy;
    };
    const std::string broken[] = {"",          "garbage",   bytes.substr(0, 30), bytes.substr(0, bytes.size() - 1),
                                  bytes + "x", changed(0),  changed(4),          changed(15),
                                  changed(16), changed(24), changed(32),         changed(bytes.size() - 1)};
    for (const std::string& text : broken) {
        std::ofstream(path, std::ios::binary) << text;
        EXPECT_TRUE(file.Read().empty()) << text.size();
    }
    // Whole, but of another driver: its name in the place of ours.
    VkPhysicalDeviceProperties other = device;
    other.pipelineCacheUUID[3] = 8;
    const PipelineCacheFile ofOther(mFolder / "other", other);
    ofOther.Write(MakeData(other, 1000));
    fs::copy_file(fs::directory_iterator(mFolder / "other")->path(), path, fs::copy_options::overwrite_existing);
    EXPECT_TRUE(file.Read().empty());
    file.Write(data);
    EXPECT_EQ(file.Read(), data);
    // Without a folder, or with one that cannot be made, there is no file and no failure.
    PipelineCacheFile({}, device).Write(data);
    PipelineCacheFile(path / "below", device).Write(data);
    EXPECT_TRUE(PipelineCacheFile(path / "below", device).Read().empty());
}

TEST_F(PipelineCacheTest, ADeviceKeepsItsPipelinesForTheNext) {
    RegisterTestShaders();
    RenderOptions options;
    options.mRequestedDevice = "vulkan";
    options.mPipelineCacheFolder = mFolder;
    for (int round = 0; round < 2; ++round) {
        const auto render = Render::Create(0, options);
        MakeChain(render->GetAnyDevice());
    }
    if (!fs::exists(mFolder)) GTEST_SKIP() << "the driver gives not even a header to keep";
    ASSERT_EQ(std::distance(fs::directory_iterator(mFolder), {}), 1);
    const fs::path path = fs::directory_iterator(mFolder)->path();
    std::ofstream(path, std::ios::binary | std::ios::app) << "damage";
    const auto render = Render::Create(0, options);
    MakeChain(render->GetAnyDevice());
}

}  // namespace
}  // namespace zeb::render
