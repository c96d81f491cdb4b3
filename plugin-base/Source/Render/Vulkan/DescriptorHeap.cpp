#include "DescriptorHeap.h"

#include <fmt/format.h>

namespace zeb::render {

DescriptorRangeVulkan::DescriptorRangeVulkan(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table,
                                             std::int32_t count)
    : DescriptorRange(heap.GetName(), heap.GetType(), count),
      mTable(std::move(table)),
      mOffset(mTable->mRanges.GetRange(count)) {}

DescriptorRangeVulkan::~DescriptorRangeVulkan() {
    for (std::uint32_t i = 0; i < GetCount(); ++i) Set(i, Descriptor());
    mTable->mRanges.ReleaseRange(mOffset, static_cast<std::int32_t>(GetCount()));
}

DescriptorHeapVulkan::DescriptorHeapVulkan(std::string name, DescriptorHeapType type, std::int32_t count)
    : DescriptorHeap(std::move(name), type), mTable(std::make_shared<DescriptorTable>(count)) {
    if (type > DescriptorHeapType::Samplers) {
        ZEB_RENDER_THROW("Failed to get the Vulkan descriptor heap type for the value of {}",
                         static_cast<std::uint32_t>(type));
    }
}

UniquePtr<DescriptorRange> DescriptorHeapVulkan::DoAllocateRange(std::int32_t count) {
    return MakeUnique<DescriptorRangeVulkan>(*this, mTable, count);
}

DescriptorRangeVulkan& ToVulkan(DescriptorRange& range) {
    auto* own = dynamic_cast<DescriptorRangeVulkan*>(&range);
    if (own == nullptr) ZEB_RENDER_THROW("A descriptor range belongs to another device");
    return *own;
}

}  // namespace zeb::render
