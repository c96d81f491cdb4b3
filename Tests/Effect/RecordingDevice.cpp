#include "RecordingDevice.h"

#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb::render {

class RecordingBuffer final : public Buffer {
public:
    RecordingBuffer(RecordingDevice& device, std::string name, std::uint64_t size)
        : Buffer(std::move(name), size), mDevice(device), mBytes(static_cast<std::size_t>(size)) {
        mDevice.mBuffers[GetName()] = &mBytes;
    }
    ~RecordingBuffer() override {
        const auto found = mDevice.mBuffers.find(GetName());
        if (found != mDevice.mBuffers.end() && found->second == &mBytes) mDevice.mBuffers.erase(found);
    }
    std::byte* Map(std::uint64_t, std::uint64_t) override { return mBytes.data(); }
    void Unmap() override {}

    RecordingDevice& mDevice;
    std::vector<std::byte> mBytes;
};

namespace {

class FakeTexture final : public Texture {
public:
    using Texture::Texture;
    CopyableLayout GetCopyableLayout(std::uint32_t, std::uint32_t) const override {
        const std::uint64_t row = std::uint64_t{GetWidth()} * GetBytesPerPixel(GetFormat());
        return {row, row, GetHeight(), row * GetHeight()};
    }
};

class FakeShader final : public Shader {
public:
    const void* GetData() const override { return this; }
    std::size_t GetSize() const override { return sizeof(*this); }
};

class FakeLibrary final : public ShaderLibrary {
public:
    using ShaderLibrary::ShaderLibrary;
    UniquePtr<Shader> GetShader(ShaderType) const override { return MakeUnique<FakeShader>(); }
};

class FakeRootSignature final : public RootSignature {
public:
    using RootSignature::RootSignature;
    void AddDescriptorTable(const std::vector<DescriptorTableRange>&, ShaderVisibility) override {}
    void AddRootConstants(std::uint32_t, std::uint32_t, std::uint32_t) override {}
    void AddRootConstantBufferView(std::uint32_t, std::uint32_t) override {}
    void AddRootShaderResourceBufferView(std::uint32_t, std::uint32_t) override {}
    void AddRootUnorderedAccessBufferView(std::uint32_t, std::uint32_t) override {}
};

class FakeRange final : public DescriptorRange {
public:
    explicit FakeRange(std::int32_t count) : mCount(static_cast<std::uint32_t>(count)) {}
    std::uint32_t GetCount() const override { return mCount; }

private:
    std::uint32_t mCount;
};

class FakeHeap final : public DescriptorHeap {
public:
    using DescriptorHeap::DescriptorHeap;
    UniquePtr<DescriptorRange> AllocateRange(std::int32_t count) override { return MakeUnique<FakeRange>(count); }
};

/// The operations that all encoders share, as lines of the log.
template <class Base>
class Recorder : public Base {
public:
    explicit Recorder(RecordingDevice& device) : mDevice(device) {}
    void TextureTransitionBarrier(Texture& texture, TextureState state) override {
        mDevice.Log(fmt::format("transition {} {}", texture.GetName(), static_cast<int>(state)));
    }
    void BufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        mDevice.Log(fmt::format("transition {} {}", buffer.GetName(), static_cast<int>(state)));
    }
    void TextureUnorderedAccessBarrier(Texture& texture) override {
        mDevice.Log(fmt::format("uavbarrier {}", texture.GetName()));
    }
    void BufferUnorderedAccessBarrier(Buffer& buffer) override {
        mDevice.Log(fmt::format("uavbarrier {}", buffer.GetName()));
    }
    void End() override { mDevice.Log("end"); }

protected:
    RecordingDevice& mDevice;
};

template <class Base>
class BindingRecorder : public Recorder<Base> {
public:
    using Recorder<Base>::Recorder;
    void SetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        this->mDevice.Log(fmt::format("table {} {}/{}", parameter, index, range.GetCount()));
    }
    void SetRootConstant(std::uint32_t parameter, std::uint32_t value) override {
        SetRootConstants(parameter, 1, &value);
    }
    void SetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) override {
        std::vector<std::uint32_t> words(count);
        std::memcpy(words.data(), data, count * sizeof(std::uint32_t));
        this->mDevice.Log(fmt::format("constants {} {}", parameter, fmt::join(words, " ")));
    }
    void SetRootConstantBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t offset) override {
        LogView("cbv", parameter, buffer, offset);
    }
    void SetRootShaderResourceBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t offset) override {
        LogView("srv", parameter, buffer, offset);
    }
    void SetRootUnorderedAccessBufferView(std::uint32_t parameter, Buffer& buffer, std::uint64_t offset) override {
        LogView("uav", parameter, buffer, offset);
    }

protected:
    void LogView(const char* kind, std::uint32_t parameter, Buffer& buffer, std::uint64_t offset) {
        if (offset >= buffer.GetSizeInBytes()) ZEB_THROW(kInternalError, buffer.GetName() + " is bound past its end");
        this->mDevice.Log(fmt::format("{} {} {}+{}", kind, parameter, buffer.GetName(), offset));
    }
    std::string mPipeline;
};

class ComputeRecorder final : public BindingRecorder<ComputeCommandEncoder> {
public:
    using BindingRecorder::BindingRecorder;
    void SetPipelineState(ComputePipelineState& state) override { mPipeline = state.GetName(); }
    void SetRootSignature(RootSignature&) override {}
    void Dispatch(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t threadsX, std::uint32_t,
                  std::uint32_t) override {
        mDevice.Log(fmt::format("dispatch {} {} {} {} of {}", mPipeline, x, y, z, threadsX));
        if (mDevice.mOnDispatch) mDevice.mOnDispatch(mPipeline);
    }
};

class GraphicsRecorder final : public BindingRecorder<GraphicsCommandEncoder> {
public:
    using BindingRecorder::BindingRecorder;
    void SetVertexBuffer(const VertexBufferView&, std::uint32_t) override {}
    void SetIndexBuffer(const IndexBufferView& view) override {
        mDevice.Log(fmt::format("indices {} {}", view.mBuffer->GetName(), view.mSizeInBytes));
    }
    void SetViewport(float x, float y, float width, float height, float, float) override {
        mDevice.Log(fmt::format("viewport {} {} {} {}", x, y, width, height));
    }
    void SetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) override {
        mDevice.Log(fmt::format("scissor {} {} {} {}", left, top, right, bottom));
    }
    void SetPipelineState(GraphicsPipelineState& state) override { mPipeline = state.GetName(); }
    void SetRootSignature(RootSignature&) override {}
    void Draw(Topology, std::uint32_t first, std::uint32_t count) override {
        mDevice.Log(fmt::format("draw {} {} {}", mPipeline, first, count));
    }
    void DrawInstanced(Topology topology, std::uint32_t, std::uint32_t count, std::uint32_t,
                       std::uint32_t instances) override {
        const char* const kind = topology == Topology::LineStrip  ? " strip"
                                 : topology == Topology::LineList ? " lines"
                                                                  : "";
        mDevice.Log(fmt::format("draw {} {}x{}{}", mPipeline, count, instances, kind));
    }
    void DrawIndexed(Topology, std::uint32_t, std::uint32_t count) override {
        mDevice.Log(fmt::format("draw {} {}", mPipeline, count));
    }
    void DrawIndexedInstanced(Topology, std::uint32_t, std::uint32_t count, std::uint32_t,
                              std::uint32_t instances) override {
        mDevice.Log(fmt::format("draw {} {}x{}", mPipeline, count, instances));
    }
};

class CopyRecorder final : public Recorder<CopyCommandEncoder> {
public:
    using Recorder::Recorder;
    void CopyToTextureFromBuffer(Texture& destination, const TextureRegion& region, Buffer& source,
                                 std::uint64_t offset, std::uint64_t pitch) override {
        mDevice.Log(fmt::format("copy {} {}x{}@{},{} from {}+{} by {}", destination.GetName(), region.mWidth,
                                region.mHeight, region.mX, region.mY, source.GetName(), offset, pitch));
    }
    void CopyToTextureFromBuffer(Texture& destination, Buffer& source) override {
        mDevice.Log(fmt::format("copy {} from {}", destination.GetName(), source.GetName()));
    }
    void CopyToBufferFromTexture(Buffer&, std::uint64_t, std::uint64_t, Texture&, const TextureRegion&) override {}
    void CopyToBufferFromTexture(Buffer&, Texture&) override {}
    void CopyTexture(Texture&, Texture&) override {}
    void CopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                    std::uint64_t size) override {
        mDevice.Log(fmt::format("copy {} from {} {}", destination.GetName(), source.GetName(), size));
        std::memcpy(destination.Map(0, 0) + destinationOffset, source.Map(0, 0) + sourceOffset,
                    static_cast<std::size_t>(size));
    }
};

class ListRecorder final : public CommandList {
public:
    ListRecorder(RecordingDevice& device, std::string name) : CommandList(std::move(name)), mDevice(device) {
        mDevice.Log("list " + GetName());
    }
    UniquePtr<GraphicsCommandEncoder> CreateGraphicsCommandEncoder(const RenderPassDescription& pass) override {
        const ColorAttachment& target = pass.mColorAttachments.at(0);
        mDevice.Log(fmt::format("pass {} {}", target.mTexture->GetName(),
                                target.mLoadOperation == LoadOperation::Clear ? "clear" : "load"));
        return MakeUnique<GraphicsRecorder>(mDevice);
    }
    UniquePtr<ComputeCommandEncoder> CreateComputeCommandEncoder() override {
        return MakeUnique<ComputeRecorder>(mDevice);
    }
    UniquePtr<CopyCommandEncoder> CreateCopyCommandEncoder() override { return MakeUnique<CopyRecorder>(mDevice); }
    void SetDescriptorHeaps(DescriptorHeap&, DescriptorHeap*) override { mDevice.Log("heaps"); }

private:
    RecordingDevice& mDevice;
};

class FakeEvent final : public CommandQueueCompletionEvent {
public:
    explicit FakeEvent(RecordingDevice& device) : mDevice(device) {}
    bool IsCompleted() override { return true; }
    void Wait() override { mDevice.Log("wait"); }

private:
    RecordingDevice& mDevice;
};

class QueueRecorder final : public CommandQueue {
public:
    QueueRecorder(RecordingDevice& device, std::string name) : CommandQueue(std::move(name)), mDevice(device) {}
    UniquePtr<CommandList> CreateCommandList(std::string name) override {
        return MakeUnique<ListRecorder>(mDevice, std::move(name));
    }
    UniquePtr<CommandQueueCompletionEvent> Execute(UniquePtr<CommandList> commandList) override {
        mDevice.Log("execute " + commandList->GetName());
        return MakeUnique<FakeEvent>(mDevice);
    }

private:
    RecordingDevice& mDevice;
};

}  // namespace

RecordingDevice::RecordingDevice(std::uint32_t waveLanes, bool costlyBarriers)
    : Device("Recording", {}), mWaveLanes(waveLanes), mCostlyBarriers(costlyBarriers) {}

RecordingDevice::~RecordingDevice() { ReleaseThreadData(); }

void RecordingDevice::Log(std::string line) { mLog.push_back(std::move(line)); }

std::vector<std::string> RecordingDevice::Find(const std::string& prefix) const {
    std::vector<std::string> found;
    for (const std::string& line : mLog) {
        if (line.starts_with(prefix)) found.push_back(line);
    }
    return found;
}

std::vector<std::byte>& RecordingDevice::Bytes(const std::string& name) {
    const auto found = mBuffers.find(name);
    return found == mBuffers.end() ? mNone : *found->second;
}

UniquePtr<RootSignature> RecordingDevice::CreateRootSignature(std::string name) {
    return MakeUnique<FakeRootSignature>(std::move(name));
}

UniquePtr<Buffer> RecordingDevice::CreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind, BufferState,
                                                BufferUsage) {
    if (sizeInBytes == 0) ZEB_THROW(kInternalError, name + " is created without a byte");
    mCreated.push_back(fmt::format("buffer {} {}", name, sizeInBytes));
    return MakeUnique<RecordingBuffer>(*this, std::move(name), sizeInBytes);
}

UniquePtr<Texture> RecordingDevice::CreateTexture(std::string name, const TextureDescription& description,
                                                  std::uint32_t, TextureState) {
    if (description.mWidth == 0 || description.mHeight == 0) ZEB_THROW(kInternalError, name + " has no texel");
    mCreated.push_back(fmt::format("texture {} {}x{} {}", name, description.mWidth, description.mHeight,
                                   static_cast<int>(description.mFormat)));
    return MakeUnique<FakeTexture>(std::move(name), description);
}

UniquePtr<Sampler> RecordingDevice::CreateSampler(std::string name, const SamplerDescription&) {
    return MakeUnique<Sampler>(std::move(name));
}

UniquePtr<ShaderLibrary> RecordingDevice::CreateShaderLibraryFromSource(std::string name, std::string, std::string) {
    return MakeUnique<FakeLibrary>(std::move(name));
}

UniquePtr<ShaderLibrary> RecordingDevice::CreateShaderLibraryFromEmbeddedData(std::string name) {
    mCreated.push_back("program " + name);
    return MakeUnique<FakeLibrary>(std::move(name));
}

UniquePtr<DescriptorHeap> RecordingDevice::CreateDescriptorHeap(std::string name, DescriptorHeapType, std::int32_t) {
    return MakeUnique<FakeHeap>(std::move(name));
}

UniquePtr<GraphicsPipelineState> RecordingDevice::CreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    mCreated.push_back("pipeline " + name + (description.mTopologyType == TopologyType::Line ? " of lines" : ""));
    return MakeUnique<GraphicsPipelineState>(std::move(name));
}

UniquePtr<ComputePipelineState> RecordingDevice::CreateComputePipelineState(std::string name,
                                                                            const ComputePipelineDescription&) {
    mCreated.push_back("pipeline " + name);
    return MakeUnique<ComputePipelineState>(std::move(name));
}

UniquePtr<CommandQueue> RecordingDevice::CreateCommandQueue(std::string name) {
    return MakeUnique<QueueRecorder>(*this, std::move(name));
}

}  // namespace zeb::render
