#include "DeviceFixture.h"

#include <cstdlib>
#include <mutex>

#include "CpuTestPrograms.h"
#include "PluginBase/Exception.h"

#define TEST_SYMBOL(symbol)              \
    extern const unsigned char symbol[]; \
    extern const std::size_t symbol##Size;
#if defined(_WIN32)
#define TEST_STAGE(entry)    \
    TEST_SYMBOL(Dxil##entry) \
    TEST_SYMBOL(Dxbc##entry)
#else
#define TEST_STAGE(entry) TEST_SYMBOL(Spirv##entry)
#endif
namespace nimbrel::embedded {
TEST_STAGE(RawAdd)
TEST_STAGE(RecordAdd)
TEST_STAGE(Chain)
TEST_STAGE(Sample)
TEST_STAGE(WriteImage)
TEST_STAGE(QuadVertex)
TEST_STAGE(ColumnVertex)
TEST_STAGE(ColorPixel)
TEST_STAGE(TexturePixel)
}  // namespace nimbrel::embedded
#undef TEST_STAGE
#undef TEST_SYMBOL

namespace zeb::render {
namespace {

struct SharedDevice {
    std::mutex mMutex;
    std::vector<std::string> mMessages;
    std::vector<DeviceCandidate> mCandidates;
    UniquePtr<Render> mRender;  // last: it reports into the others while it goes
};

SharedDevice& GetShared() {
    static SharedDevice shared;
    return shared;
}

// Destroys the device while the process still stands, so that its last messages count.
class DeviceEnvironment : public testing::Environment {
public:
    void TearDown() override {
        SharedDevice& shared = GetShared();
        shared.mRender.reset();
        const std::lock_guard lock(shared.mMutex);
        for (const std::string& message : shared.mMessages) ADD_FAILURE() << message;
    }
};

const testing::Environment* const kEnvironment = testing::AddGlobalTestEnvironment(new DeviceEnvironment);

}  // namespace

#define TEST_PROGRAMS(format)                                                             \
    {                                                                                     \
        {"RawAdd", {{{}, {}, {format##RawAddSize, format##RawAdd}, {}}}},                 \
            {"RecordAdd", {{{}, {}, {format##RecordAddSize, format##RecordAdd}, {}}}},    \
            {"Chain", {{{}, {}, {format##ChainSize, format##Chain}, {}}}},                \
            {"Sample", {{{}, {}, {format##SampleSize, format##Sample}, {}}}},             \
            {"WriteImage", {{{}, {}, {format##WriteImageSize, format##WriteImage}, {}}}}, \
            {"Quad", {{TEST_PAIR(format, QuadVertex, ColorPixel)}}},                      \
            {"TexturedQuad", {{TEST_PAIR(format, QuadVertex, TexturePixel)}}},            \
            {"Columns", {{TEST_PAIR(format, ColumnVertex, ColorPixel)}}},                 \
    }
#define TEST_PAIR(format, vertex, pixel) \
    {format##vertex##Size, format##vertex}, {format##pixel##Size, format##pixel}, {}, {}

void RegisterTestShaders() {
    static std::once_flag once;
    std::call_once(once, [] {
        using namespace nimbrel::embedded;
        using Programs = std::vector<std::pair<const char*, EmbeddedShaderData>>;
        const auto enter = [](const Programs& programs, ShaderFormat format) {
            for (const auto& [name, data] : programs) Render::SetEmbeddedShaderData(name, data, format);
        };
#if defined(_WIN32)
        enter(TEST_PROGRAMS(Dxil), ShaderFormat::Dxil);
        enter(TEST_PROGRAMS(Dxbc), ShaderFormat::Dxbc);
#else
        RegisterCpuTestPrograms();
        enter(TEST_PROGRAMS(Spirv), ShaderFormat::Spirv);
#endif
    });
}

#undef TEST_PAIR
#undef TEST_PROGRAMS

std::string GetFailure(const std::function<void()>& function) {
    try {
        function();
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "no failure";
}

Device& DeviceFixture::GetDevice() {
    SharedDevice& shared = GetShared();
    static std::once_flag once;
    std::call_once(once, [&shared] {
        RegisterTestShaders();
#if !defined(_WIN32)
        setenv("VK_LAYER_ENABLES", "VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT", 0);
#endif
        RenderOptions options;
        options.mRequestedDevice = kTestedDevice.mName;
        options.mValidation = kTestedDevice.mCanValidate();
        options.mReportDevice = [&shared](const DeviceCandidate& candidate) {
            shared.mCandidates.push_back(candidate);
        };
        options.mReportValidation = [&shared](const std::string& text) {
            const std::lock_guard lock(shared.mMutex);
            shared.mMessages.push_back(text);
        };
        shared.mRender = Render::Create(0, options);
    });
    return shared.mRender->GetAnyDevice();
}

std::string DeviceFixture::UnknownValue(const std::string& what, std::uint32_t value) {
    return std::string("Failed to get the ") + kTestedDevice.mInterface + what + " for the value of " +
           std::to_string(value);
}

std::vector<std::string> DeviceFixture::TakeMessages() {
    const std::lock_guard lock(GetShared().mMutex);
    return std::exchange(GetShared().mMessages, {});
}

const std::vector<DeviceCandidate>& DeviceFixture::GetCandidates() {
    GetDevice();
    return GetShared().mCandidates;
}

void DeviceFixture::TearDown() {
    for (const std::string& message : TakeMessages()) ADD_FAILURE() << message;
}

void DeviceFixture::Run(const std::function<void(CommandList&)>& record) {
    ThreadData& thread = GetDevice().GetThreadData();
    auto list = thread.mCommandQueue->CreateCommandList("Test list");
    list->SetDescriptorHeaps(*thread.mShaderResourceHeap, thread.mSamplerHeap.get());
    record(*list);
    thread.mCommandQueue->Execute(std::move(list))->Wait();
}

void DeviceFixture::Compute(const std::function<void(ComputeCommandEncoder&)>& record) {
    Run([&](CommandList& list) {
        const auto encoder = list.CreateComputeCommandEncoder();
        record(*encoder);
        encoder->End();
    });
}

void DeviceFixture::Copy(const std::function<void(CopyCommandEncoder&)>& record) {
    Run([&](CommandList& list) {
        const auto encoder = list.CreateCopyCommandEncoder();
        record(*encoder);
        encoder->End();
    });
}

UniquePtr<Buffer> DeviceFixture::MakeBuffer(std::uint64_t size, MemoryKind memory) {
    constexpr BufferState kStates[] = {BufferState::Common, BufferState::GenericRead, BufferState::CopyDestination};
    const BufferState state = kStates[static_cast<std::size_t>(memory)];
    const BufferUsage usage = memory == MemoryKind::Default ? BufferUsage::UnorderedAccess : BufferUsage::None;
    return GetDevice().CreateBuffer("Test buffer", size, memory, state, usage);
}

UniquePtr<Buffer> DeviceFixture::MakeUpload(const void* data, std::size_t size) {
    auto buffer = MakeBuffer(size, MemoryKind::Upload);
    std::memcpy(buffer->Map(0, 0), data, size);
    buffer->Unmap();
    return buffer;
}

std::vector<std::byte> DeviceFixture::ReadBytes(Buffer& buffer) {
    const std::uint64_t size = buffer.GetSizeInBytes();
    auto readback = MakeBuffer(size, MemoryKind::Readback);
    Copy([&](CopyCommandEncoder& encoder) { encoder.CopyBuffer(*readback, 0, buffer, 0, size); });
    const std::byte* data = readback->Map(0, size);
    std::vector<std::byte> bytes(data, data + size);
    readback->Unmap();
    return bytes;
}

UniquePtr<Texture> DeviceFixture::MakeTexture(Format format, std::uint32_t width, std::uint32_t height,
                                              std::uint32_t usage) {
    TextureDescription description;
    description.mFormat = format;
    description.mWidth = width;
    description.mHeight = height;
    description.mUsage = usage;
    return GetDevice().CreateTexture("Test texture", description, 0, TextureState::Common);
}

void DeviceFixture::Upload(Texture& texture, const void* data, std::size_t size) {
    const auto source = MakeUpload(data, size);
    Copy([&](CopyCommandEncoder& encoder) {
        encoder.TextureTransitionBarrier(texture, TextureState::CopyDestination);
        encoder.CopyToTextureFromBuffer(texture, *source);
        encoder.TextureTransitionBarrier(texture, TextureState::ShaderRead);
    });
}

std::vector<std::byte> DeviceFixture::ReadBytes(Texture& texture) {
    auto buffer =
        MakeBuffer(std::uint64_t{texture.GetWidth()} * texture.GetHeight() * GetBytesPerPixel(texture.GetFormat()));
    Copy([&](CopyCommandEncoder& encoder) {
        encoder.TextureTransitionBarrier(texture, TextureState::CopySource);
        encoder.CopyToBufferFromTexture(*buffer, texture);
    });
    return ReadBytes(*buffer);
}

std::vector<float> DeviceFixture::ReadFloats(Texture& texture) {
    const std::vector<std::byte> bytes = ReadBytes(texture);
    std::vector<float> values(bytes.size() / sizeof(float));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
    return values;
}

ComputeProgramUnderTest::ComputeProgramUnderTest(Device& device, const std::string& entry,
                                                 const std::function<void(RootSignature&)>& declare)
    : mSignature(device.CreateRootSignature(entry)) {
    declare(*mSignature);
    const auto library = device.CreateShaderLibraryFromEmbeddedData(entry);
    const auto shader = library->GetShader(ShaderType::Compute);
    mPipeline = device.CreateComputePipelineState(entry, {mSignature.get(), shader.get()});
}

ComputeProgramUnderTest MakeRawAdd(Device& device) {
    return {device, "RawAdd", [](RootSignature& signature) {
                signature.AddRootConstants(20, 0);
                signature.AddRootShaderResourceBufferView(1);
                signature.AddRootUnorderedAccessBufferView(2);
                signature.AddRootConstantBufferView(14);
            }};
}

ComputeProgramUnderTest MakeChain(Device& device) {
    return {device, "Chain", [](RootSignature& signature) {
                signature.AddRootConstants(20, 0);
                signature.AddRootUnorderedAccessBufferView(6);
            }};
}

void ComputeProgramUnderTest::Set(ComputeCommandEncoder& encoder) const {
    encoder.SetRootSignature(*mSignature);
    encoder.SetPipelineState(*mPipeline);
}

}  // namespace zeb::render
