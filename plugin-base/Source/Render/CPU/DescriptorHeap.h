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

enum class TextureViewKind : std::uint32_t { Read, ReadWrite, RenderTarget };

struct BoundTexture {
    std::shared_ptr<TextureResource> mTexture;
    TextureViewKind mKind = TextureViewKind::Read;
};

/// One slot of a heap. What a slot holds when work is recorded is copied into the work.
using Descriptor = std::variant<std::monostate, BufferView, BoundTexture, SamplerDescription>;

/// The table behind a heap; ranges share it, so they may outlive the heap.
struct DescriptorTable {
    DescriptorTable(std::string name, DescriptorHeapType type, std::int32_t count);

    std::string mName;
    DescriptorHeapType mType;
    RangesManager mRanges;
    std::vector<Descriptor> mDescriptors;
};

class DescriptorRangeCPU final : public DescriptorRange {
public:
    DescriptorRangeCPU(std::shared_ptr<DescriptorTable> table, std::int32_t count);
    ~DescriptorRangeCPU() override;
    DescriptorRangeCPU(const DescriptorRangeCPU&) = delete;
    DescriptorRangeCPU& operator=(const DescriptorRangeCPU&) = delete;

    std::uint32_t GetCount() const override { return static_cast<std::uint32_t>(mCount); }
    const Descriptor& Get(std::uint32_t index) const;
    /// Writes a descriptor of a kind that only a heap of `type` takes.
    void Set(std::uint32_t index, DescriptorHeapType type, Descriptor descriptor);

private:
    std::size_t ToSlot(std::uint32_t index) const;

    std::shared_ptr<DescriptorTable> mTable;
    std::int32_t mOffset;
    std::int32_t mCount;
};

class DescriptorHeapCPU final : public DescriptorHeap {
public:
    DescriptorHeapCPU(std::string name, DescriptorHeapType type, std::int32_t count);
    UniquePtr<DescriptorRange> AllocateRange(std::int32_t count) override;

private:
    std::shared_ptr<DescriptorTable> mTable;
};

DescriptorRangeCPU& ToCPU(DescriptorRange& range);

}  // namespace zeb::render::cpu
