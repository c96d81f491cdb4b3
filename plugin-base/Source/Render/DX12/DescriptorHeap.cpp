#include "DescriptorHeap.h"

#include "EnumTables.h"

namespace zeb::render {

DescriptorRun::DescriptorRun(std::shared_ptr<DescriptorTable> table, std::int32_t count)
    : mTable(std::move(table)), mCount(count), mOffset(mTable->mRanges->GetRange(count)) {}

DescriptorRun::~DescriptorRun() { mTable->mRanges->ReleaseRange(mOffset, mCount); }

D3D12_CPU_DESCRIPTOR_HANDLE DescriptorRun::GetCpuHandle(std::uint32_t index) const {
    const D3D12_CPU_DESCRIPTOR_HANDLE start = mTable->mStaging ? mTable->mStagingStart : mTable->mCpuStart;
    return {start.ptr + SIZE_T{mTable->mIncrement} * (static_cast<SIZE_T>(mOffset) + index)};
}

D3D12_GPU_DESCRIPTOR_HANDLE DescriptorRun::GetGpuHandle(std::uint32_t index) const {
    if (mTable->mGpuStart.ptr == 0) return {};
    return {mTable->mGpuStart.ptr + UINT64{mTable->mIncrement} * (static_cast<UINT64>(mOffset) + index)};
}

void DescriptorRun::Publish(ID3D12Device* device, std::uint32_t index) const {
    if (!mTable->mStaging) return;
    const SIZE_T offset = SIZE_T{mTable->mIncrement} * (static_cast<SIZE_T>(mOffset) + index);
    device->CopyDescriptorsSimple(1, {mTable->mCpuStart.ptr + offset}, {mTable->mStagingStart.ptr + offset},
                                  mTable->mType);
}

void DescriptorRun::CopyFrom(ID3D12Device* device, const DescriptorRun& other, std::uint32_t index) const {
    device->CopyDescriptorsSimple(1, GetCpuHandle(index), other.GetCpuHandle(index), mTable->mType);
    Publish(device, index);
}

DescriptorRangeDX12::DescriptorRangeDX12(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table,
                                         std::int32_t count)
    : DescriptorRange(heap.GetName(), heap.GetType(), count),
      mTable(std::move(table)),
      mRun(std::make_shared<DescriptorRun>(mTable, count)),
      mRecords(static_cast<std::size_t>(count)) {}

void DescriptorRangeDX12::LeaveRunInUse(ID3D12Device* device, std::uint32_t changedIndex) {
    if (mRun.use_count() == 1) return;
    auto run = std::make_shared<DescriptorRun>(mTable, static_cast<std::int32_t>(GetCount()));
    for (std::uint32_t i = 0; i < GetCount(); ++i) {
        if (i != changedIndex && mRecords[i].mKind != DescriptorRecord::Kind::None) run->CopyFrom(device, *mRun, i);
    }
    mRun = std::move(run);
}

DescriptorHeapDX12::DescriptorHeapDX12(const std::shared_ptr<DeviceContext>& context, std::string name,
                                       DescriptorHeapType type, std::int32_t capacity)
    : DescriptorHeap(std::move(name), type), mTable(std::make_shared<DescriptorTable>()) {
    ID3D12Device* device = context->Get();
    D3D12_DESCRIPTOR_HEAP_DESC desc = {};
    desc.Type = GetDescriptorHeapTypeDX12(type);
    desc.NumDescriptors = static_cast<UINT>(capacity);
    const auto create = [&](ComPointer<ID3D12DescriptorHeap>& heap, const std::string& heapName) {
        ZEB_DX12_CHECK_TEXT(device->CreateDescriptorHeap(&desc, IID_PPV_ARGS(heap.ReleaseAndGetAddressOf())),
                            "mDevice.CreateDescriptorHeap(&desc, IID_PPV_ARGS(&mHeap))", context.get());
        SetNativeName(heap.Get(), heapName);
        return heap->GetCPUDescriptorHandleForHeapStart();
    };
    mTable->mType = desc.Type;
    mTable->mIncrement = device->GetDescriptorHandleIncrementSize(desc.Type);
    mTable->mRanges = std::make_unique<RangesManager>(capacity);
    if (desc.Type == D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV || desc.Type == D3D12_DESCRIPTOR_HEAP_TYPE_SAMPLER) {
        mTable->mStagingStart = create(mTable->mStaging, GetName() + " staging");
        desc.Flags = D3D12_DESCRIPTOR_HEAP_FLAG_SHADER_VISIBLE;
    }
    mTable->mCpuStart = create(mTable->mHeap, GetName());
    if (mTable->mStaging) mTable->mGpuStart = mTable->mHeap->GetGPUDescriptorHandleForHeapStart();
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
