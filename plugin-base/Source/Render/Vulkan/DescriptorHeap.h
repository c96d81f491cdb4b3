#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "Buffer.h"
#include "PluginBase/Misc/RangesManager.h"
#include "PluginBase/Render/Objects.h"
#include "Sampler.h"
#include "Texture.h"

namespace zeb::render {

/// Part of a buffer as a program sees it. Offset and size in bytes.
struct BufferView {
    std::shared_ptr<BufferResource> mBuffer;
    std::uint64_t mOffset = 0;
    std::uint64_t mSize = 0;
};

enum class TextureViewKind : std::uint32_t { Read, ReadWrite, RenderTarget };

struct TextureView {
    std::shared_ptr<TextureResource> mTexture;
    TextureViewKind mKind = TextureViewKind::Read;
};

/// One slot of a heap. Heaps are tables on the CPU; what a table holds when work is recorded is pushed with it.
using Descriptor = std::variant<std::monostate, BufferView, TextureView, std::shared_ptr<SamplerResource>>;

/// The table behind a heap; ranges share it, so they may outlive the heap.
struct DescriptorTable {
    DescriptorTable(std::string name, DescriptorHeapType type, std::int32_t count);

    std::string mName;
    DescriptorHeapType mType;
    RangesManager mRanges;
    std::vector<Descriptor> mDescriptors;
};

class DescriptorRangeVulkan final : public DescriptorRange {
public:
    DescriptorRangeVulkan(std::shared_ptr<DescriptorTable> table, std::int32_t count);
    ~DescriptorRangeVulkan() override;
    DescriptorRangeVulkan(const DescriptorRangeVulkan&) = delete;
    DescriptorRangeVulkan& operator=(const DescriptorRangeVulkan&) = delete;

    std::uint32_t GetCount() const override { return static_cast<std::uint32_t>(mCount); }
    const std::string& GetHeapName() const { return mTable->mName; }
    const Descriptor& Get(std::uint32_t index) const;
    /// Writes a descriptor of a kind that only a heap of `type` takes.
    void Set(std::uint32_t index, DescriptorHeapType type, Descriptor descriptor);

private:
    std::size_t ToSlot(std::uint32_t index) const;

    std::shared_ptr<DescriptorTable> mTable;
    std::int32_t mOffset;
    std::int32_t mCount;
};

class DescriptorHeapVulkan final : public DescriptorHeap {
public:
    DescriptorHeapVulkan(std::string name, DescriptorHeapType type, std::int32_t count);
    UniquePtr<DescriptorRange> AllocateRange(std::int32_t count) override;

private:
    std::shared_ptr<DescriptorTable> mTable;
};

DescriptorRangeVulkan& ToVulkan(DescriptorRange& range);

}  // namespace zeb::render
