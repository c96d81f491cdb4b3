#include "Render/CPU/DescriptorHeap.h"

#include <fmt/format.h>

namespace zeb::render::cpu {

DescriptorTable::DescriptorTable(std::string name, DescriptorHeapType type, std::int32_t count)
    : mName(std::move(name)), mType(type), mRanges(count) {
    if (count <= 0) ZEB_RENDER_THROW("Failed to create the descriptor heap \"{}\" of {} descriptors", mName, count);
    if (type > DescriptorHeapType::Samplers) {
        ZEB_RENDER_THROW("Failed to get the descriptor heap type for the value of {}",
                         static_cast<std::uint32_t>(type));
    }
    mDescriptors.resize(static_cast<std::size_t>(count));
}

DescriptorRangeCPU::DescriptorRangeCPU(std::shared_ptr<DescriptorTable> table, std::int32_t count)
    : mTable(std::move(table)), mCount(count) {
    if (count <= 0) ZEB_RENDER_THROW("Failed to take {} descriptors of the heap \"{}\"", count, mTable->mName);
    mOffset = mTable->mRanges.GetRange(count);
}

DescriptorRangeCPU::~DescriptorRangeCPU() {
    for (std::uint32_t i = 0; i < GetCount(); ++i) mTable->mDescriptors[ToSlot(i)] = Descriptor();
    mTable->mRanges.ReleaseRange(mOffset, mCount);
}

std::size_t DescriptorRangeCPU::ToSlot(std::uint32_t index) const {
    if (index >= GetCount()) {
        ZEB_RENDER_THROW("Descriptor {} lies outside a range of {} descriptors of the heap \"{}\"", index, mCount,
                         mTable->mName);
    }
    return static_cast<std::size_t>(mOffset) + index;
}

const Descriptor& DescriptorRangeCPU::Get(std::uint32_t index) const { return mTable->mDescriptors[ToSlot(index)]; }

void DescriptorRangeCPU::Set(std::uint32_t index, DescriptorHeapType type, Descriptor descriptor) {
    if (mTable->mType != type)
        ZEB_RENDER_THROW("The descriptor heap \"{}\" does not take views of this kind", mTable->mName);
    mTable->mDescriptors[ToSlot(index)] = std::move(descriptor);
}

DescriptorHeapCPU::DescriptorHeapCPU(std::string name, DescriptorHeapType type, std::int32_t count)
    : DescriptorHeap(std::move(name)), mTable(std::make_shared<DescriptorTable>(GetName(), type, count)) {}

UniquePtr<DescriptorRange> DescriptorHeapCPU::AllocateRange(std::int32_t count) {
    return MakeUnique<DescriptorRangeCPU>(mTable, count);
}

DescriptorRangeCPU& ToCPU(DescriptorRange& range) {
    auto* own = dynamic_cast<DescriptorRangeCPU*>(&range);
    if (own == nullptr) ZEB_RENDER_THROW("A descriptor range belongs to another device");
    return *own;
}

}  // namespace zeb::render::cpu
