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
    /// Of the same size, for heaps that shaders see: those cannot be read, so their descriptors are written here first.
    ComPointer<ID3D12DescriptorHeap> mStaging;
    D3D12_DESCRIPTOR_HEAP_TYPE mType = {};
    D3D12_CPU_DESCRIPTOR_HANDLE mCpuStart = {};
    D3D12_CPU_DESCRIPTOR_HANDLE mStagingStart = {};
    D3D12_GPU_DESCRIPTOR_HANDLE mGpuStart = {};  ///< 0 for heaps that shaders cannot see
    UINT mIncrement = 0;
    std::unique_ptr<RangesManager> mRanges;
};

/// Consecutive slots of a heap. A range and the lists that use it share them; the last one gives them back.
class DescriptorRun {
public:
    DescriptorRun(std::shared_ptr<DescriptorTable> table, std::int32_t count);
    ~DescriptorRun();
    DescriptorRun(const DescriptorRun&) = delete;
    DescriptorRun& operator=(const DescriptorRun&) = delete;

    /// Where a view is written; `Publish` then shows it to shaders.
    D3D12_CPU_DESCRIPTOR_HANDLE GetCpuHandle(std::uint32_t index) const;
    D3D12_GPU_DESCRIPTOR_HANDLE GetGpuHandle(std::uint32_t index) const;
    void Publish(ID3D12Device* device, std::uint32_t index) const;
    void CopyFrom(ID3D12Device* device, const DescriptorRun& other, std::uint32_t index) const;

private:
    std::shared_ptr<DescriptorTable> mTable;
    std::int32_t mCount;
    std::int32_t mOffset;
};

/// Shaders read descriptors while a list runs. A range whose run is in use by a list that is recorded or running moves
/// to another run before it is written, so that work sees what the descriptors held when it was recorded.
class DescriptorRangeDX12 final : public DescriptorRange {
public:
    DescriptorRangeDX12(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table, std::int32_t count);

    D3D12_CPU_DESCRIPTOR_HANDLE GetCpuHandle(std::uint32_t index) const { return mRun->GetCpuHandle(index); }
    D3D12_GPU_DESCRIPTOR_HANDLE GetGpuHandle(std::uint32_t index) const { return mRun->GetGpuHandle(index); }
    const DescriptorRecord& GetRecord(std::uint32_t index) const { return mRecords[index]; }
    /// Has `write` make a view at the handle that it is given.
    template <class Write>
    void Set(ID3D12Device* device, std::uint32_t index, DescriptorRecord record, Write&& write) {
        LeaveRunInUse(device, index);
        write(mRun->GetCpuHandle(index));
        mRun->Publish(device, index);
        mRecords[index] = std::move(record);
    }
    /// For a list to keep until its work is done.
    const std::shared_ptr<DescriptorRun>& GetRun() const { return mRun; }

private:
    void LeaveRunInUse(ID3D12Device* device, std::uint32_t changedIndex);

    std::shared_ptr<DescriptorTable> mTable;
    std::shared_ptr<DescriptorRun> mRun;
    std::vector<DescriptorRecord> mRecords;
};

class DescriptorHeapDX12 final : public DescriptorHeap {
public:
    DescriptorHeapDX12(const std::shared_ptr<DeviceContext>& context, std::string name, DescriptorHeapType type,
                       std::int32_t capacity);
    const std::shared_ptr<DescriptorTable>& GetTable() const { return mTable; }

protected:
    UniquePtr<DescriptorRange> DoAllocateRange(std::int32_t count) override;

private:
    std::shared_ptr<DescriptorTable> mTable;
};

DescriptorRangeDX12& ToDX12(DescriptorRange& range);

}  // namespace zeb::render
