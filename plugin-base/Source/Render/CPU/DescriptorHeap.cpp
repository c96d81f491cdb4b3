#include "Render/CPU/DescriptorHeap.h"

#include <fmt/format.h>

namespace zeb::render::cpu {

DescriptorRangeCPU::DescriptorRangeCPU(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table,
                                       std::int32_t count)
    : DescriptorRange(heap.GetName(), heap.GetType(), count),
      mTable(std::move(table)),
      mOffset(mTable->mRanges.GetRange(count)) {}

DescriptorRangeCPU::~DescriptorRangeCPU() {
    for (std::uint32_t i = 0; i < GetCount(); ++i) Set(i, Descriptor());
    mTable->mRanges.ReleaseRange(mOffset, static_cast<std::int32_t>(GetCount()));
}

DescriptorHeapCPU::DescriptorHeapCPU(std::string name, DescriptorHeapType type, std::int32_t count)
    : DescriptorHeap(std::move(name), type), mTable(std::make_shared<DescriptorTable>(count)) {
    CheckEnumeration(type, DescriptorHeapType::Samplers, "descriptor heap type");
}

UniquePtr<DescriptorRange> DescriptorHeapCPU::DoAllocateRange(std::int32_t count) {
    return MakeUnique<DescriptorRangeCPU>(*this, mTable, count);
}

DescriptorRangeCPU& ToCPU(DescriptorRange& range) {
    auto* own = dynamic_cast<DescriptorRangeCPU*>(&range);
    if (own == nullptr) ZEB_RENDER_THROW("A descriptor range belongs to another device");
    return *own;
}

}  // namespace zeb::render::cpu
