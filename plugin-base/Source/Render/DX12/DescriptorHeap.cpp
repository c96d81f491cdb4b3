#include "DescriptorHeap.h"

#include "EnumTables.h"

namespace zeb::render {

DescriptorRangeDX12::DescriptorRangeDX12(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table,
                                         std::int32_t count)
    : DescriptorRange(heap.GetName(), heap.GetType(), count),
      mTable(std::move(table)),
      mOffset(mTable->mRanges->GetRange(count)) {}

DescriptorRangeDX12::~DescriptorRangeDX12() {
    for (std::uint32_t i = 0; i < GetCount(); ++i) SetRecord(i, {});
    mTable->mRanges->ReleaseRange(mOffset, static_cast<std::int32_t>(GetCount()));
}

D3D12_CPU_DESCRIPTOR_HANDLE DescriptorRangeDX12::GetCpuHandle(std::uint32_t index) const {
    return {mTable->mCpuStart.ptr + SIZE_T{mTable->mIncrement} * ToSlot(index)};
}

D3D12_GPU_DESCRIPTOR_HANDLE DescriptorRangeDX12::GetGpuHandle(std::uint32_t index) const {
    if (mTable->mGpuStart.ptr == 0) return {};
    return {mTable->mGpuStart.ptr + UINT64{mTable->mIncrement} * ToSlot(index)};
}

DescriptorHeapDX12::DescriptorHeapDX12(const DeviceContext& context, std::string name, DescriptorHeapType type,
                                       std::int32_t capacity)
    : DescriptorHeap(std::move(name), type), mTable(std::make_shared<DescriptorTable>()) {
    ID3D12Device* device = context.Get();
    D3D12_DESCRIPTOR_HEAP_DESC desc = {};
    desc.Type = GetDescriptorHeapTypeDX12(type);
    desc.NumDescriptors = static_cast<UINT>(capacity);
    const bool isVisible =
        desc.Type == D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV || desc.Type == D3D12_DESCRIPTOR_HEAP_TYPE_SAMPLER;
    desc.Flags = isVisible ? D3D12_DESCRIPTOR_HEAP_FLAG_SHADER_VISIBLE : D3D12_DESCRIPTOR_HEAP_FLAG_NONE;
    mTable->mIncrement = device->GetDescriptorHandleIncrementSize(desc.Type);
    mTable->mRanges = std::make_unique<RangesManager>(capacity);
    mTable->mRecords.resize(desc.NumDescriptors);
    ZEB_DX12_CHECK_TEXT(device->CreateDescriptorHeap(&desc, IID_PPV_ARGS(mTable->mHeap.ReleaseAndGetAddressOf())),
                        "mDevice.CreateDescriptorHeap(&desc, IID_PPV_ARGS(&mHeap))", device);
    SetNativeName(mTable->mHeap.Get(), GetName());
    mTable->mCpuStart = mTable->mHeap->GetCPUDescriptorHandleForHeapStart();
    if (isVisible) mTable->mGpuStart = mTable->mHeap->GetGPUDescriptorHandleForHeapStart();
}

UniquePtr<DescriptorRange> DescriptorHeapDX12::DoAllocateRange(std::int32_t count) {
    return MakeUnique<DescriptorRangeDX12>(*this, mTable, count);
}

DescriptorRangeDX12& ToDX12(DescriptorRange& range) {
    auto* own = dynamic_cast<DescriptorRangeDX12*>(&range);
    if (own == nullptr) ZEB_RENDER_THROW("A descriptor range belongs to another device");
    return *own;
}

}  // namespace zeb::render
