#pragma once

#include <array>
#include <memory>
#include <vector>

#include "CommandList.h"
#include "PipelineStates.h"
#include "RootArguments.h"

namespace zeb::render {

/// Root parameters, the same for graphics and compute but for the native calls, which `Forward` names.
template <class Base, class Forward>
class BindingEncoderDX12 : public EncoderDX12<Base> {
protected:
    using EncoderDX12<Base>::EncoderDX12;

    void DoSetRootSignature(RootSignature& signature) override {
        RootSignatureDX12& own = ToDX12(signature);
        mArguments.SetSignature(own);
        Forward::SetRootSignature(this->mList.GetNative(), own.CompileAndGet());
    }
    void DoSetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        DescriptorRangeDX12& own = ToDX12(range);
        mArguments.SetTable(parameter, own, index);
        Forward::SetRootDescriptorTable(this->mList.GetNative(), parameter, own.GetGpuHandle(index));
    }
    void DoSetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) override {
        Forward::SetRoot32BitConstants(this->mList.GetNative(), parameter, count, data);
    }
    void DoSetRootBufferView(std::uint32_t parameter, RootParameterKind kind, Buffer& buffer,
                             std::uint64_t byteOffset) override {
        BufferDX12& own = ToDX12(buffer);
        mArguments.SetBuffer(parameter, own.GetResource());
        Forward::SetRootBufferView(this->mList.GetNative(), kind, parameter, own.GetAddress() + byteOffset);
    }

    RootArguments mArguments;
};

/// The compute form of the native calls.
struct ComputeCalls {
    static void SetRootSignature(ID3D12GraphicsCommandList* list, ID3D12RootSignature* signature);
    static void SetRootDescriptorTable(ID3D12GraphicsCommandList* list, UINT parameter,
                                       D3D12_GPU_DESCRIPTOR_HANDLE handle);
    static void SetRoot32BitConstants(ID3D12GraphicsCommandList* list, UINT parameter, UINT count, const void* data);
    static void SetRootBufferView(ID3D12GraphicsCommandList* list, RootParameterKind kind, UINT parameter,
                                  D3D12_GPU_VIRTUAL_ADDRESS address);
};

/// The graphics form of the native calls.
struct GraphicsCalls {
    static void SetRootSignature(ID3D12GraphicsCommandList* list, ID3D12RootSignature* signature);
    static void SetRootDescriptorTable(ID3D12GraphicsCommandList* list, UINT parameter,
                                       D3D12_GPU_DESCRIPTOR_HANDLE handle);
    static void SetRoot32BitConstants(ID3D12GraphicsCommandList* list, UINT parameter, UINT count, const void* data);
    static void SetRootBufferView(ID3D12GraphicsCommandList* list, RootParameterKind kind, UINT parameter,
                                  D3D12_GPU_VIRTUAL_ADDRESS address);
};

class ComputeCommandEncoderDX12 final : public BindingEncoderDX12<ComputeCommandEncoder, ComputeCalls> {
public:
    explicit ComputeCommandEncoderDX12(CommandListDX12& list) : BindingEncoderDX12(list) {}

protected:
    void DoSetPipelineState(ComputePipelineState& state) override;
    void DoDispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                    std::uint32_t threadsX) override;

private:
    std::string mPipelineName;
};

class GraphicsCommandEncoderDX12 final : public BindingEncoderDX12<GraphicsCommandEncoder, GraphicsCalls> {
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
