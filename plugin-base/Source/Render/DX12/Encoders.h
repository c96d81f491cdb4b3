#pragma once

#include <array>
#include <memory>
#include <vector>

#include "CommandList.h"
#include "PipelineStates.h"
#include "RootArguments.h"

namespace zeb::render {

/// The native calls that set root parameters, in their graphics or their compute form.
struct RootCalls {
    using List = ID3D12GraphicsCommandList;
    using SetBufferView = void (STDMETHODCALLTYPE List::*)(UINT parameter, D3D12_GPU_VIRTUAL_ADDRESS address);

    void (STDMETHODCALLTYPE List::*mSetSignature)(ID3D12RootSignature* signature);
    void (STDMETHODCALLTYPE List::*mSetTable)(UINT parameter, D3D12_GPU_DESCRIPTOR_HANDLE handle);
    void (STDMETHODCALLTYPE List::*mSetConstants)(UINT parameter, UINT count, const void* data, UINT offset);
    SetBufferView mSetConstantBuffer;
    SetBufferView mSetReadOnlyBuffer;
    SetBufferView mSetReadWriteBuffer;

    SetBufferView GetSetBuffer(RootParameterKind kind) const {
        switch (kind) {
            case RootParameterKind::ConstantBuffer: return mSetConstantBuffer;
            case RootParameterKind::ReadOnlyBuffer: return mSetReadOnlyBuffer;
            default: return mSetReadWriteBuffer;
        }
    }
};

inline constexpr RootCalls kGraphicsCalls = {
    &RootCalls::List::SetGraphicsRootSignature,          &RootCalls::List::SetGraphicsRootDescriptorTable,
    &RootCalls::List::SetGraphicsRoot32BitConstants,     &RootCalls::List::SetGraphicsRootConstantBufferView,
    &RootCalls::List::SetGraphicsRootShaderResourceView, &RootCalls::List::SetGraphicsRootUnorderedAccessView};

inline constexpr RootCalls kComputeCalls = {
    &RootCalls::List::SetComputeRootSignature,          &RootCalls::List::SetComputeRootDescriptorTable,
    &RootCalls::List::SetComputeRoot32BitConstants,     &RootCalls::List::SetComputeRootConstantBufferView,
    &RootCalls::List::SetComputeRootShaderResourceView, &RootCalls::List::SetComputeRootUnorderedAccessView};

/// Root parameters, the same for graphics and compute but for the native calls.
template <class Base, const RootCalls& kCalls>
class BindingEncoderDX12 : public EncoderDX12<Base> {
protected:
    using EncoderDX12<Base>::EncoderDX12;

    void DoSetRootSignature(RootSignature& signature) override {
        RootSignatureDX12& own = ToDX12(signature);
        mArguments.SetSignature(own);
        (GetNative()->*kCalls.mSetSignature)(own.CompileAndGet());
    }
    void DoSetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        mArguments.SetTable(parameter, ToDX12(range), index);
    }
    void DoSetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) override {
        (GetNative()->*kCalls.mSetConstants)(parameter, count, data, 0);
    }
    // Direct3D binds addresses, without a size.
    void DoSetRootBufferView(std::uint32_t parameter, RootParameterKind, Buffer& buffer, std::uint64_t byteOffset,
                             std::uint64_t) override {
        mArguments.SetBuffer(parameter, ToDX12(buffer).GetResource(), byteOffset);
    }

    /// The last before a draw or dispatch: barriers, then tables and buffers as they stand.
    void Prepare(const std::string& pipeline, D3D12_RESOURCE_STATES reading, PendingStates& states) {
        mArguments.AddNeeds(pipeline, reading, states);
        this->mList.Commit(states);
        mArguments.Bind(
            this->mList,
            [this](UINT parameter, D3D12_GPU_DESCRIPTOR_HANDLE handle) {
                (GetNative()->*kCalls.mSetTable)(parameter, handle);
            },
            [this](UINT parameter, RootParameterKind kind, D3D12_GPU_VIRTUAL_ADDRESS address) {
                (GetNative()->*kCalls.GetSetBuffer(kind))(parameter, address);
            });
    }

    ID3D12GraphicsCommandList* GetNative() const { return this->mList.GetNative(); }

    RootArguments mArguments;
};

class ComputeCommandEncoderDX12 final : public BindingEncoderDX12<ComputeCommandEncoder, kComputeCalls> {
public:
    explicit ComputeCommandEncoderDX12(CommandListDX12& list) : BindingEncoderDX12(list) {}

protected:
    void DoSetPipelineState(ComputePipelineState& state) override;
    void DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                    std::uint32_t threadsX) override;

private:
    std::string mPipelineName;
};

class GraphicsCommandEncoderDX12 final : public BindingEncoderDX12<GraphicsCommandEncoder, kGraphicsCalls> {
public:
    GraphicsCommandEncoderDX12(CommandListDX12& list, const RenderPassDescription& description);

protected:
    void DoSetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) override;
    void DoSetIndexBuffer(const IndexBufferView& view) override;
    void DoSetViewport(float x, float y, float width, float height, float minDepth, float maxDepth) override;
    void DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) override;
    void DoSetPipelineState(GraphicsPipelineState& state) override;
    void DoDraw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount, std::uint32_t firstInstance,
                std::uint32_t instanceCount) override;
    void DoDrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                       std::uint32_t firstInstance, std::uint32_t instanceCount) override;

private:
    void Init(const RenderPassDescription& description);
    void AddAttachments(PendingStates& states) const;
    void PrepareDraw(Topology topology, bool isIndexed);

    std::vector<std::shared_ptr<ResourceDX12>> mAttachments;
    GraphicsPipelineState* mPipelineState = nullptr;
    std::array<std::shared_ptr<ResourceDX12>, kMaxVertexSlots> mVertexBuffers;
    std::shared_ptr<ResourceDX12> mIndexBuffer;
};

class CopyCommandEncoderDX12 final : public EncoderDX12<CopyCommandEncoder> {
public:
    explicit CopyCommandEncoderDX12(CommandListDX12& list) : EncoderDX12(list) {}

protected:
    void DoCopyToTexture(Texture& destination, Buffer& source, const TextureBufferCopy& copy) override;
    void DoCopyToBuffer(Buffer& destination, Texture& source, const TextureBufferCopy& copy) override;
    void DoCopyTexture(Texture& destination, Texture& source) override;
    void DoCopyBuffer(Buffer& destination, std::uint64_t destinationOffset, Buffer& source, std::uint64_t sourceOffset,
                      std::uint64_t sizeInBytes) override;

private:
    std::shared_ptr<ResourceDX12> MakeStaging(std::uint64_t sizeInBytes);
    void CopyBytes(const std::shared_ptr<ResourceDX12>& destination, std::uint64_t destinationOffset,
                   const std::shared_ptr<ResourceDX12>& source, std::uint64_t sourceOffset, std::uint64_t sizeInBytes);
    void CopyAligned(TextureDX12& texture, const std::shared_ptr<ResourceDX12>& buffer, const TextureBufferCopy& copy,
                     bool isToTexture);
};

}  // namespace zeb::render
