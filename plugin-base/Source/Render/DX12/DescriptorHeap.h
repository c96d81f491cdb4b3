#pragma once

#include <memory>
#include <string>
#include <vector>

#include "PluginBase/Misc/RangesManager.h"
#include "PluginBase/Render/Device.h"
#include "Resource.h"

namespace zeb::render {

/// What is known of a descriptor that was written. Samplers have no resource.
struct DescriptorRecord {
    enum class Kind : std::uint32_t { None, Constants, Read, ReadWrite, RenderTarget, Sampler };
    Kind mKind = Kind::None;
    std::shared_ptr<ResourceDX12> mResource;
};

/// The native heap; ranges share it, so they may outlive the object.
struct DescriptorTable {
    ComPointer<ID3D12DescriptorHeap> mHeap;
    D3D12_CPU_DESCRIPTOR_HANDLE mCpuStart = {};
    D3D12_GPU_DESCRIPTOR_HANDLE mGpuStart = {};  ///< 0 for heaps that shaders cannot see
    UINT mIncrement = 0;
    std::unique_ptr<RangesManager> mRanges;
    std::vector<DescriptorRecord> mRecords;
};

class DescriptorRangeDX12 final : public DescriptorRange {
public:
    DescriptorRangeDX12(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table, std::int32_t count);
    ~DescriptorRangeDX12() override;
    DescriptorRangeDX12(const DescriptorRangeDX12&) = delete;
    DescriptorRangeDX12& operator=(const DescriptorRangeDX12&) = delete;

    D3D12_CPU_DESCRIPTOR_HANDLE GetCpuHandle(std::uint32_t index) const;
    D3D12_GPU_DESCRIPTOR_HANDLE GetGpuHandle(std::uint32_t index) const;
    const DescriptorRecord& GetRecord(std::uint32_t index) const { return mTable->mRecords[ToSlot(index)]; }
    void SetRecord(std::uint32_t index, DescriptorRecord record) {
        mTable->mRecords[ToSlot(index)] = std::move(record);
    }
    const std::shared_ptr<DescriptorTable>& GetTable() const { return mTable; }

private:
    std::size_t ToSlot(std::uint32_t index) const { return static_cast<std::size_t>(mOffset) + index; }

    std::shared_ptr<DescriptorTable> mTable;
    std::int32_t mOffset;
};

class DescriptorHeapDX12 final : public DescriptorHeap {
public:
    DescriptorHeapDX12(const DeviceContext& context, std::string name, DescriptorHeapType type, std::int32_t capacity);
    const std::shared_ptr<DescriptorTable>& GetTable() const { return mTable; }

protected:
    UniquePtr<DescriptorRange> DoAllocateRange(std::int32_t count) override;

private:
    std::shared_ptr<DescriptorTable> mTable;
};

DescriptorRangeDX12& ToDX12(DescriptorRange& range);

}  // namespace zeb::render
