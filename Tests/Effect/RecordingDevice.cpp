#include "RecordingDevice.h"

#include <cstring>

#include <fmt/format.h>

#include "PluginBase/Exception.h"

namespace zeb::render {

class RecordingBuffer final : public Buffer {
public:
    RecordingBuffer(RecordingDevice& device, std::string name, std::uint64_t size)
        : Buffer(std::move(name), size, MemoryKind::Upload), mDevice(device), mBytes(static_cast<std::size_t>(size)) {
        mDevice.mBuffers[GetName()] = &mBytes;
    }
    ~RecordingBuffer() override {
        const auto found = mDevice.mBuffers.find(GetName());
        if (found != mDevice.mBuffers.end() && found->second == &mBytes) mDevice.mBuffers.erase(found);
    }
    std::byte* DoMap(std::uint64_t, std::uint64_t) override { return mBytes.data(); }
    void DoUnmap() override {}

    RecordingDevice& mDevice;
    std::vector<std::byte> mBytes;
};

namespace {

class FakeTexture final : public Texture {
public:
    FakeTexture(std::string name, const TextureDescription& description) : Texture(std::move(name), description) {}
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
    void DoAddParameter(const RootParameter&) override {}
};

class FakeRange final : public DescriptorRange {
public:
    FakeRange(const DescriptorHeap& heap, std::int32_t count)
        : DescriptorRange(heap.GetName(), heap.GetType(), count) {}
};

class FakeHeap final : public DescriptorHeap {
public:
    FakeHeap(std::string name, DescriptorHeapType type) : DescriptorHeap(std::move(name), type) {}
    UniquePtr<DescriptorRange> DoAllocateRange(std::int32_t count) override {
        return MakeUnique<FakeRange>(*this, count);
    }
};

/// The operations that all encoders share, as lines of the log.
template <class Base>
class Recorder : public Base {
public:
    template <class... Args>
    explicit Recorder(RecordingDevice& device, CommandList& list, const Args&... args)
        : Base(list, args...), mDevice(device) {}
    void DoTextureTransitionBarrier(Texture& texture, TextureState state) override {
        mDevice.Log(fmt::format("transition {} {}", texture.GetName(), static_cast<int>(state)));
    }
    void DoBufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        mDevice.Log(fmt::format("transition {} {}", buffer.GetName(), static_cast<int>(state)));
    }
    void DoTextureUnorderedAccessBarrier(Texture& texture) override {
        mDevice.Log(fmt::format("uavbarrier {}", texture.GetName()));
    }
    void DoBufferUnorderedAccessBarrier(Buffer& buffer) override {
        mDevice.Log(fmt::format("uavbarrier {}", buffer.GetName()));
    }
    void DoEnd() override { mDevice.Log("end"); }

protected:
    RecordingDevice& mDevice;
};

template <class Base>
class BindingRecorder : public Recorder<Base> {
public:
    using Recorder<Base>::Recorder;
    void DoSetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        this->mDevice.Log(fmt::format("table {} {}/{}", parameter, index, range.GetCount()));
    }
    void DoSetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) override {
        std::vector<std::uint32_t> words(count);
        std::memcpy(words.data(), data, count * sizeof(std::uint32_t));
        this->mDevice.Log(fmt::format("constants {} {}", parameter, fmt::join(words, " ")));
    }
    void DoSetRootBufferView(std::uint32_t parameter, RootParameterKind kind, Buffer& buffer, std::uint64_t offset,
                             std::uint64_t) override {
        const char* const name = kind == RootParameterKind::ConstantBuffer   ? "cbv"
                                 : kind == RootParameterKind::ReadOnlyBuffer ? "srv"
                                                                             : "uav";
        this->mDevice.Log(fmt::format("{} {} {}+{}", name, parameter, buffer.GetName(), offset));
    }
    void DoSetRootSignature(RootSignature&) override {}

protected:
    std::string mPipeline;
};

class ComputeRecorder final : public BindingRecorder<ComputeCommandEncoder> {
public:
    using BindingRecorder::BindingRecorder;
    void DoSetPipelineState(ComputePipelineState& state) override { mPipeline = state.GetName(); }
    void DoDispatch(std::uint32_t x, std::uint32_t y, std::uint32_t z, std::uint32_t threadsX) override {
        mDevice.Log(fmt::format("dispatch {} {} {} {} of {}", mPipeline, x, y, z, threadsX));
        if (mDevice.mOnDispatch) mDevice.mOnDispatch(mPipeline);
    }
};

class GraphicsRecorder final : public BindingRecorder<GraphicsCommandEncoder> {
public:
    using BindingRecorder::BindingRecorder;
    void DoSetVertexBuffer(const VertexBufferView&, std::uint32_t) override {}
    void DoSetIndexBuffer(const IndexBufferView& view) override {
        mDevice.Log(fmt::format("indices {} {}", view.mBuffer->GetName(), view.mSizeInBytes));
    }
    void DoSetViewport(float x, float y, float width, float height, float, float) override {
        mDevice.Log(fmt::format("viewport {} {} {} {}", x, y, width, height));
    }
    void DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) override {
        mDevice.Log(fmt::format("scissor {} {} {} {}", left, top, right, bottom));
    }
    void DoSetPipelineState(GraphicsPipelineState& state) override { mPipeline = state.GetName(); }
    void DoDraw(Topology topology, std::uint32_t first, std::uint32_t count, std::uint32_t,
                std::uint32_t instances) override {
        if (instances == 1) return mDevice.Log(fmt::format("draw {} {} {}", mPipeline, first, count));
        const char* const kind = topology == Topology::LineStrip  ? " strip"
                                 : topology == Topology::LineList ? " lines"
                                                                  : "";
        mDevice.Log(fmt::format("draw {} {}x{}{}", mPipeline, count, instances, kind));
    }
    void DoDrawIndexed(Topology, std::uint32_t, std::uint32_t count, std::uint32_t, std::uint32_t instances) override {
        mDevice.Log(fmt::format("draw {} {}x{}", mPipeline, count, instances));
    }
};

class CopyRecorder final : public Recorder<CopyCommandEncoder> {
public:
    using Recorder::Recorder;
    void DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) override {
        const TextureRegion& region = copy.mRegion;
        mDevice.Log(fmt::format("copy {} {}x{}@{},{} from {}+{} by {}", destination.GetName(), region.mWidth,
                                region.mHeight, region.mX, region.mY, source.GetName(), copy.mBufferOffset,
                                copy.mRowPitch));
    }
    void DoCopyToBuffer(Buffer&, Texture&, const TextureBufferCopy&) override {}
    void DoCopyTexture(Texture&, Texture&) override {}
    void DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                      std::uint64_t size) override {
        mDevice.Log(fmt::format("copy {} from {} {}", destination.GetName(), source.GetName(), size));
        std::memcpy(static_cast<RecordingBuffer&>(destination).mBytes.data() + destinationOffset,
                    static_cast<RecordingBuffer&>(source).mBytes.data() + sourceOffset, static_cast<std::size_t>(size));
    }
};

class ListRecorder final : public CommandList {
public:
    ListRecorder(RecordingDevice& device, std::string name) : CommandList(std::move(name)), mDevice(device) {
        mDevice.Log("list " + GetName());
    }
    UniquePtr<GraphicsCommandEncoder> DoCreateGraphicsCommandEncoder(const RenderPassDescription& pass) override {
        const ColorAttachment& target = pass.mColorAttachments.at(0);
        mDevice.Log(fmt::format("pass {} {}", target.mTexture->GetName(),
                                target.mLoadOperation == LoadOperation::Clear ? "clear" : "load"));
        return MakeUnique<GraphicsRecorder>(mDevice, *this, pass);
    }
    UniquePtr<ComputeCommandEncoder> DoCreateComputeCommandEncoder() override {
        return MakeUnique<ComputeRecorder>(mDevice, *this);
    }
    UniquePtr<CopyCommandEncoder> DoCreateCopyCommandEncoder() override {
        return MakeUnique<CopyRecorder>(mDevice, *this);
    }
    void DoSetDescriptorHeaps(DescriptorHeap&, DescriptorHeap*) override { mDevice.Log("heaps"); }
    void DoClose() override {}

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
    UniquePtr<CommandList> DoCreateCommandList(std::string name) override {
        return MakeUnique<ListRecorder>(mDevice, std::move(name));
    }
    UniquePtr<CommandQueueCompletionEvent> DoExecute(UniquePtr<CommandList> commandList) override {
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

UniquePtr<RootSignature> RecordingDevice::DoCreateRootSignature(std::string name) {
    return MakeUnique<FakeRootSignature>(std::move(name));
}

UniquePtr<Buffer> RecordingDevice::DoCreateBuffer(std::string name, std::uint64_t sizeInBytes, MemoryKind, BufferState,
                                                  BufferUsage) {
    mCreated.push_back(fmt::format("buffer {} {}", name, sizeInBytes));
    return MakeUnique<RecordingBuffer>(*this, std::move(name), sizeInBytes);
}

UniquePtr<Texture> RecordingDevice::DoCreateTexture(std::string name, const TextureDescription& description,
                                                    TextureState) {
    mCreated.push_back(fmt::format("texture {} {}x{} {}", name, description.mWidth, description.mHeight,
                                   static_cast<int>(description.mFormat)));
    return MakeUnique<FakeTexture>(std::move(name), description);
}

UniquePtr<Sampler> RecordingDevice::DoCreateSampler(std::string name, const SamplerDescription&) {
    return MakeUnique<Sampler>(std::move(name));
}

UniquePtr<ShaderLibrary> RecordingDevice::DoCreateShaderLibraryFromEmbeddedData(std::string name) {
    mCreated.push_back("program " + name);
    return MakeUnique<FakeLibrary>(std::move(name));
}

UniquePtr<DescriptorHeap> RecordingDevice::DoCreateDescriptorHeap(std::string name, DescriptorHeapType type,
                                                                  std::int32_t) {
    return MakeUnique<FakeHeap>(std::move(name), type);
}

UniquePtr<GraphicsPipelineState> RecordingDevice::DoCreateGraphicsPipelineState(
    std::string name, const GraphicsPipelineDescription& description) {
    mCreated.push_back("pipeline " + name + (description.mTopologyType == TopologyType::Line ? " of lines" : ""));
    return MakeUnique<GraphicsPipelineState>(std::move(name), description);
}

UniquePtr<ComputePipelineState> RecordingDevice::DoCreateComputePipelineState(
    std::string name, const ComputePipelineDescription& description) {
    mCreated.push_back("pipeline " + name);
    return MakeUnique<ComputePipelineState>(std::move(name), description);
}

UniquePtr<CommandQueue> RecordingDevice::DoCreateCommandQueue(std::string name) {
    return MakeUnique<QueueRecorder>(*this, std::move(name));
}

}  // namespace zeb::render
