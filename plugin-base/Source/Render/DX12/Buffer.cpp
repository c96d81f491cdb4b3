#include "Buffer.h"

#include "EnumTables.h"

namespace zeb::render {

BufferDX12::BufferDX12(const std::shared_ptr<DeviceContext>& context, std::string name, std::uint64_t sizeInBytes,
                       MemoryKind memory, BufferState initialState, BufferUsage usage)
    : Buffer(std::move(name), sizeInBytes, memory), mResource(std::make_shared<ResourceDX12>(context, GetName())) {
    Init(memory, initialState, usage);
}

BufferDX12::~BufferDX12() {
    const std::string problem = CheckUnmapped();
    if (!problem.empty()) mResource->mContext->Report(problem);
}

void BufferDX12::Init(MemoryKind memory, BufferState initialState, BufferUsage usage) {
    // A buffer is not created for unordered access: it comes to that by a transition.
    if (initialState == BufferState::UnorderedAccess) {
        ZEB_RENDER_THROW("Failed to get the DX12 buffer state for the value of {}",
                         static_cast<std::uint32_t>(initialState));
    }
    D3D12_HEAP_PROPERTIES heap = {};
    heap.Type = GetHeapTypeDX12(memory);
    heap.CreationNodeMask = 1;
    heap.VisibleNodeMask = 1;
    D3D12_RESOURCE_DESC desc = {};
    desc.Dimension = D3D12_RESOURCE_DIMENSION_BUFFER;
    desc.Width = GetSizeInBytes();
    desc.Height = 1;
    desc.DepthOrArraySize = 1;
    desc.MipLevels = 1;
    desc.Format = DXGI_FORMAT_UNKNOWN;
    desc.SampleDesc.Count = 1;
    desc.Layout = D3D12_TEXTURE_LAYOUT_ROW_MAJOR;
    desc.Flags = GetResourceFlagsDX12(usage);
    const D3D12_RESOURCE_STATES state = GetResourceStateDX12(initialState);

    ID3D12Device* device = mResource->mContext->Get();
    ZEB_DX12_CHECK_TEXT(device->CreateCommittedResource(&heap, D3D12_HEAP_FLAG_NONE, &desc, state, nullptr,
                                                        IID_PPV_ARGS(mResource->mResource.ReleaseAndGetAddressOf())),
                        "mDevice.CreateCommittedResource(&heapProps, D3D12_HEAP_FLAG_NONE, &heapDesc, "
                        "GetResourceStateDX12(GetState()), nullptr, IID_PPV_ARGS(&mBuffer))",
                        mResource->mContext.get());
    mResource->mState = state;
    mResource->mIsBuffer = true;
    mResource->mIsFixed = heap.Type != D3D12_HEAP_TYPE_DEFAULT;
    SetNativeName(mResource->mResource.Get(), GetName());
}

std::byte* BufferDX12::DoMap(std::uint64_t begin, std::uint64_t end) {
    const D3D12_RANGE readRange = {static_cast<SIZE_T>(begin), static_cast<SIZE_T>(end)};
    void* dataPtr = nullptr;
    ZEB_DX12_CHECK_TEXT(mResource->mResource->Map(0, &readRange, &dataPtr), "mBuffer->Map(0, &readRange, &dataPtr)",
                        mResource->mContext.get());
    return static_cast<std::byte*>(dataPtr);
}

void BufferDX12::DoUnmap() { mResource->mResource->Unmap(0, nullptr); }

BufferDX12& ToDX12(Buffer& buffer) { return ToOwn<BufferDX12>(buffer, "buffer"); }

D3D12_VERTEX_BUFFER_VIEW GetNativeVertexBufferView(const VertexBufferView& view) {
    return {ToDX12(*view.mBuffer).GetAddress() + view.mByteOffset, view.mSizeInBytes, view.mStride};
}

D3D12_INDEX_BUFFER_VIEW GetNativeIndexBufferView(const IndexBufferView& view) {
    return {ToDX12(*view.mBuffer).GetAddress(), view.mSizeInBytes, GetIndexFormatDX12(view.mFormat)};
}

}  // namespace zeb::render
