#include "GpuHarness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>

#include "Shaders/RegisterShaders.h"
#if defined(_WIN32)
#include "DX12/DeviceContext.h"
#endif

namespace nimbrel::test {

using namespace zeb::render;

namespace {

std::uint32_t RegisterNumber(const std::string& name) { return static_cast<std::uint32_t>(std::stoul(name.substr(1))); }

zeb::UniquePtr<zeb::render::Render> MakeRender() {
    RegisterShaders();
    RenderOptions options;
#if defined(_WIN32)
    options.mRequestedDevice = "dx12";
    options.mValidation = static_cast<bool>(FindDebugLayer());
#else
    options.mRequestedDevice = "vulkan";
    options.mValidation = true;
#endif
    options.mReportValidation = [](const std::string& text) { ADD_FAILURE() << "validation: " << text; };
    return zeb::render::Render::Create(0, options);
}

zeb::UniquePtr<Buffer> MakeFilled(const Bytes& contents) {
    auto buffer = GetDevice().CreateBuffer("Start values", std::max<std::size_t>(contents.size(), 4),
                                           MemoryKind::Upload, BufferState::GenericRead, BufferUsage::None);
    std::byte* bytes = buffer->Map(0, 0);
    std::copy(contents.begin(), contents.end(), bytes);
    buffer->Unmap();
    return buffer;
}

void AddParameters(RootSignature& signature, const std::vector<Binding>& bindings) {
    for (const Binding& binding : bindings) {
        const std::uint32_t number = RegisterNumber(binding.mRegister);
        switch (binding.mRegister[0]) {
            case 'b': signature.AddRootConstantBufferView(number); break;
            case 's': signature.AddDescriptorTable({{DescriptorRangeType::Sampler, 1, number}}); break;
            case 'u': signature.AddRootUnorderedAccessBufferView(number); break;
            default:
                if (binding.mTexture != nullptr) {
                    signature.AddDescriptorTable({{DescriptorRangeType::Texture, 1, number}});
                } else {
                    signature.AddRootShaderResourceBufferView(number);
                }
        }
    }
}

struct Pipeline {
    zeb::UniquePtr<ShaderLibrary> mLibrary;
    std::vector<zeb::UniquePtr<Shader>> mShaders;
    zeb::UniquePtr<RootSignature> mSignature;
    zeb::UniquePtr<ComputePipelineState> mCompute;
    zeb::UniquePtr<GraphicsPipelineState> mGraphics;
};

/// A program's pipeline, for a target of the format if it draws. Compiling
/// takes longer than most runs, so pipelines are kept until the process ends.
Pipeline& GetPipeline(const std::string& program, const std::vector<Binding>& bindings, Format format) {
    Device& device = GetDevice();
    static std::map<std::pair<std::string, Format>, Pipeline> pipelines;
    const auto [found, isNew] = pipelines.try_emplace({program, format});
    Pipeline& pipeline = found->second;
    if (!isNew) return pipeline;
    pipeline.mLibrary = device.CreateShaderLibraryFromEmbeddedData(program);
    pipeline.mSignature = device.CreateRootSignature(program);
    AddParameters(*pipeline.mSignature, bindings);
    if (format == Format::Unknown) {
        pipeline.mShaders.push_back(pipeline.mLibrary->GetShader(ShaderType::Compute));
        pipeline.mCompute =
            device.CreateComputePipelineState(program, {pipeline.mSignature.get(), pipeline.mShaders[0].get()});
        return pipeline;
    }
    for (const ShaderType type : {ShaderType::Vertex, ShaderType::Pixel})
        pipeline.mShaders.push_back(pipeline.mLibrary->GetShader(type));
    GraphicsPipelineDescription state;
    state.mRootSignature = pipeline.mSignature.get();
    state.mVertexShader = pipeline.mShaders[0].get();
    state.mPixelShader = pipeline.mShaders[1].get();
    state.mRenderTargetFormats[0] = format;
    pipeline.mGraphics = device.CreateGraphicsPipelineState(program, state);
    return pipeline;
}

Bytes ReadAll(Buffer& buffer) {
    const std::uint64_t size = buffer.GetSizeInBytes();
    const std::byte* mapped = buffer.Map(0, size);
    Bytes bytes(mapped, mapped + size);
    buffer.Unmap();
    return bytes;
}

}  // namespace

Device& GetDevice() {
    static const zeb::UniquePtr<zeb::render::Render> render = MakeRender();
    return render->GetAnyDevice();
}

GpuRun::GpuRun() {
    ThreadData& thread = GetDevice().GetThreadData();
    mList = thread.mCommandQueue->CreateCommandList("Test");
    mList->SetDescriptorHeaps(*thread.mShaderResourceHeap, thread.mSamplerHeap.get());
    const SamplerDescription linear{SamplerFilter::Linear, SamplerFilter::Linear, SamplerFilter::Linear,
                                    SamplerAddress::Clamp, SamplerAddress::Clamp, SamplerAddress::Clamp};
    mSampler = GetDevice().CreateSampler("Linear", linear);
    mSamplerRange = thread.mSamplerHeap->AllocateRange(1);
    GetDevice().CreateSamplerView(*mSamplerRange, 0, *mSampler);
}

GpuRun::~GpuRun() = default;

GpuBuffer& GpuRun::AddBuffer(const Bytes& contents) {
    auto buffer = std::make_unique<GpuBuffer>();
    buffer->mTransfer = MakeFilled(contents);
    buffer->mBuffer = GetDevice().CreateBuffer("Data", std::max<std::size_t>(contents.size(), 4), MemoryKind::Default,
                                               BufferState::CopyDestination, BufferUsage::UnorderedAccess);
    mBuffers.push_back(std::move(buffer));
    return *mBuffers.back();
}

GpuTexture& GpuRun::AddTexture(Format format, std::uint32_t width, std::uint32_t height, const Bytes& texels) {
    auto texture = std::make_unique<GpuTexture>();
    TextureDescription description;
    description.mFormat = format;
    description.mWidth = width;
    description.mHeight = height;
    texture->mTexture = GetDevice().CreateTexture("Texels", description, 0, TextureState::CopyDestination);
    texture->mTransfer = MakeFilled(texels);
    texture->mRange = GetDevice().GetThreadData().mShaderResourceHeap->AllocateRange(1);
    GetDevice().CreateTextureView(*texture->mRange, 0, *texture->mTexture);
    mTextures.push_back(std::move(texture));
    return *mTextures.back();
}

void GpuRun::Upload() {
    if (mIsUploaded) return;
    mIsUploaded = true;
    auto copy = mList->CreateCopyCommandEncoder();
    for (const auto& buffer : mBuffers) {
        copy->CopyBuffer(*buffer->mBuffer, 0, *buffer->mTransfer, 0, buffer->mBuffer->GetSizeInBytes());
    }
    for (const auto& texture : mTextures) {
        const Texture& t = *texture->mTexture;
        const TextureRegion all{0, 0, t.GetWidth(), t.GetHeight(), 0, 0};
        copy->CopyToTextureFromBuffer(*texture->mTexture, all, *texture->mTransfer, 0,
                                      std::uint64_t{t.GetWidth()} * GetBytesPerPixel(t.GetFormat()));
        copy->TextureTransitionBarrier(*texture->mTexture, TextureState::ShaderRead);
    }
    for (const auto& buffer : mBuffers) copy->BufferTransitionBarrier(*buffer->mBuffer, BufferState::UnorderedAccess);
    copy->End();
}

void GpuRun::Bind(GraphicsAndComputeCommandEncoderBase& encoder, const std::vector<Binding>& bindings) {
    for (std::uint32_t i = 0; i < bindings.size(); ++i) {
        const Binding& binding = bindings[i];
        switch (binding.mRegister[0]) {
            case 'b':
                mConstants.push_back(MakeFilled([&] {
                    Bytes padded = binding.mConstants;
                    padded.resize((padded.size() + 255) / 256 * 256);
                    return padded;
                }()));
                encoder.SetRootConstantBufferView(i, *mConstants.back(), 0);
                break;
            case 's': encoder.SetRootDescriptorTable(i, *mSamplerRange, 0); break;
            case 'u': encoder.SetRootUnorderedAccessBufferView(i, *binding.mBuffer->mBuffer, binding.mOffset); break;
            default:
                if (binding.mTexture != nullptr) {
                    encoder.SetRootDescriptorTable(i, *binding.mTexture->mRange, 0);
                } else {
                    encoder.SetRootShaderResourceBufferView(i, *binding.mBuffer->mBuffer, binding.mOffset);
                }
        }
    }
}

void GpuRun::Dispatch(const std::string& program, const std::vector<Binding>& bindings, std::uint32_t groupsX,
                      std::uint32_t groupsY) {
    Upload();
    if (mEncoder == nullptr) mEncoder = mList->CreateComputeCommandEncoder();
    const Pipeline& pipeline = GetPipeline(program, bindings, Format::Unknown);
    mEncoder->SetRootSignature(*pipeline.mSignature);
    mEncoder->SetPipelineState(*pipeline.mCompute);
    Bind(*mEncoder, bindings);
    mEncoder->Dispatch(groupsX, groupsY, 1, 1, 1, 1);
    for (const auto& buffer : mBuffers) mEncoder->BufferUnorderedAccessBarrier(*buffer->mBuffer);
}

GpuTexture& GpuRun::Draw(const std::string& program, const std::vector<Binding>& bindings, Format format,
                         std::uint32_t width, std::uint32_t height, std::uint32_t vertices) {
    Upload();
    auto target = std::make_unique<GpuTexture>();
    TextureDescription description;
    description.mFormat = format;
    description.mWidth = width;
    description.mHeight = height;
    description.mUsage = kTextureUsageRenderTarget | kTextureUsageShaderRead;
    target->mTexture = GetDevice().CreateTexture("Target", description, 0, TextureState::RenderTarget);
    target->mRange = GetDevice().GetThreadData().mRenderTargetHeap->AllocateRange(1);
    GetDevice().CreateRenderTargetView(*target->mRange, 0, *target->mTexture);

    RenderPassDescription pass;
    pass.mColorAttachments.push_back({target->mTexture.get(), target->mRange.get(), 0, LoadOperation::Clear, {}});
    auto encoder = mList->CreateGraphicsCommandEncoder(pass);
    encoder->SetViewport(0, 0, static_cast<float>(width), static_cast<float>(height), 0, 1);
    encoder->SetScissor(0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
    const Pipeline& pipeline = GetPipeline(program, bindings, format);
    encoder->SetRootSignature(*pipeline.mSignature);
    encoder->SetPipelineState(*pipeline.mGraphics);
    Bind(*encoder, bindings);
    encoder->Draw(Topology::TriangleStrip, 0, vertices);
    encoder->End();
    mTargets.push_back(std::move(target));
    return *mTargets.back();
}

void GpuRun::Fetch() {
    auto copy = mList->CreateCopyCommandEncoder();
    std::vector<zeb::UniquePtr<Buffer>> results;
    for (const auto& buffer : mBuffers) {
        const std::uint64_t size = buffer->mBuffer->GetSizeInBytes();
        results.push_back(GetDevice().CreateBuffer("Result", size, MemoryKind::Readback, BufferState::CopyDestination,
                                                   BufferUsage::None));
        copy->BufferTransitionBarrier(*buffer->mBuffer, BufferState::CopySource);
        copy->CopyBuffer(*results.back(), 0, *buffer->mBuffer, 0, size);
    }
    for (const auto& target : mTargets) {
        Texture& texture = *target->mTexture;
        const std::uint64_t pitch = std::uint64_t{texture.GetWidth()} * GetBytesPerPixel(texture.GetFormat());
        target->mTransfer = GetDevice().CreateBuffer("Result", pitch * texture.GetHeight(), MemoryKind::Readback,
                                                     BufferState::CopyDestination, BufferUsage::None);
        copy->TextureTransitionBarrier(texture, TextureState::CopySource);
        copy->CopyToBufferFromTexture(*target->mTransfer, 0, pitch, texture,
                                      {0, 0, texture.GetWidth(), texture.GetHeight(), 0, 0});
    }
    copy->End();
    mStartValues.swap(results);
}

void GpuRun::Execute() {
    Upload();
    if (mEncoder != nullptr) mEncoder->End();
    mEncoder.reset();
    Fetch();
    GetDevice().GetThreadData().mCommandQueue->Execute(std::move(mList))->Wait();
    for (std::size_t i = 0; i < mBuffers.size(); ++i) mBuffers[i]->mTransfer.swap(mStartValues[i]);
}

Bytes GpuRun::Read(const GpuBuffer& buffer) { return ReadAll(*buffer.mTransfer); }
Bytes GpuRun::Read(const GpuTexture& texture) { return ReadAll(*texture.mTransfer); }

}  // namespace nimbrel::test
