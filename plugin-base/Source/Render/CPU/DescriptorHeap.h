#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "PluginBase/Misc/RangesManager.h"
#include "Render/CPU/Resources.h"

namespace zeb::render::cpu {

/// Part of a buffer as a program sees it. Offset and size in bytes.
struct BufferView {
    std::shared_ptr<BufferResource> mBuffer;
    std::uint64_t mOffset = 0;
    std::uint64_t mSize = 0;
};

struct BoundTexture {
    std::shared_ptr<TextureResource> mTexture;
    TextureViewKind mKind = TextureViewKind::Read;
};

/// One slot of a heap. What a slot holds when work is recorded is copied into the work.
using Descriptor = std::variant<std::monostate, BufferView, BoundTexture, SamplerDescription>;

/// The table behind a heap; ranges share it, so they may outlive the heap.
struct DescriptorTable {
    explicit DescriptorTable(std::int32_t count) : mRanges(count), mDescriptors(static_cast<std::size_t>(count)) {}

    RangesManager mRanges;
    std::vector<Descriptor> mDescriptors;
};

class DescriptorRangeCPU final : public DescriptorRange {
public:
    DescriptorRangeCPU(const DescriptorHeap& heap, std::shared_ptr<DescriptorTable> table, std::int32_t count);
    ~DescriptorRangeCPU() override;
    DescriptorRangeCPU(const DescriptorRangeCPU&) = delete;
    DescriptorRangeCPU& operator=(const DescriptorRangeCPU&) = delete;

    const Descriptor& Get(std::uint32_t index) const { return mTable->mDescriptors[ToSlot(index)]; }
    void Set(std::uint32_t index, Descriptor descriptor) {
        mTable->mDescriptors[ToSlot(index)] = std::move(descriptor);
    }

private:
    std::size_t ToSlot(std::uint32_t index) const { return static_cast<std::size_t>(mOffset) + index; }

    std::shared_ptr<DescriptorTable> mTable;
    std::int32_t mOffset;
};

class DescriptorHeapCPU final : public DescriptorHeap {
public:
    DescriptorHeapCPU(std::string name, DescriptorHeapType type, std::int32_t count);

protected:
    UniquePtr<DescriptorRange> DoAllocateRange(std::int32_t count) override;

private:
    std::shared_ptr<DescriptorTable> mTable;
};

DescriptorRangeCPU& ToCPU(DescriptorRange& range);

}  // namespace zeb::render::cpu
