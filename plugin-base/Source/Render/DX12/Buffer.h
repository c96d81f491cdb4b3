#pragma once

#include <memory>

#include "PluginBase/Render/Commands.h"
#include "Resource.h"

namespace zeb::render {

class BufferDX12 final : public Buffer {
public:
    BufferDX12(const std::shared_ptr<DeviceContext>& context, std::string name, std::uint64_t sizeInBytes,
               MemoryKind memory, BufferState initialState, BufferUsage usage);
    /// A map left open is reported to the validation's receiver.
    ~BufferDX12() override;

    const std::shared_ptr<ResourceDX12>& GetResource() const { return mResource; }
    D3D12_GPU_VIRTUAL_ADDRESS GetAddress() const { return mResource->mResource->GetGPUVirtualAddress(); }

protected:
    std::byte* DoMap(std::uint64_t begin, std::uint64_t end) override;
    void DoUnmap() override;

private:
    void Init(MemoryKind memory, BufferState initialState, BufferUsage usage);

    std::shared_ptr<ResourceDX12> mResource;
};

/// The back end's own object behind an interface; a stranger's object is a failure that names it.
BufferDX12& ToDX12(Buffer& buffer);

D3D12_VERTEX_BUFFER_VIEW GetNativeVertexBufferView(const VertexBufferView& view);
D3D12_INDEX_BUFFER_VIEW GetNativeIndexBufferView(const IndexBufferView& view);

}  // namespace zeb::render
