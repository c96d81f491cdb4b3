#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "EnumTable.h"
#include "PluginBase/Misc/RangesManager.h"
#include "PluginBase/Render/Device.h"

/// Heaps of back ends that keep descriptors in tables of their own and hand the device what a piece of work uses of
/// them as it stands when the work is recorded. `Classes` names the back end's resources:
///
///     BufferResource   what a `Buffer` holds, by shared pointers; with `mSize` in bytes
///     TextureResource  what a `Texture` holds
///     SamplerState     what a sampler's descriptor is, by value
namespace zeb::render {

/// Part of a buffer as a program sees it. Offset and size in bytes.
template <class Classes>
struct BufferViewOf {
    std::shared_ptr<typename Classes::BufferResource> mBuffer;
    std::uint64_t mOffset = 0;
    std::uint64_t mSize = 0;
};

template <class Classes>
struct TextureViewOf {
    std::shared_ptr<typename Classes::TextureResource> mTexture;
    TextureViewKind mKind = TextureViewKind::Read;
};

/// One slot of a heap, empty until a view is made in it.
template <class Classes>
using DescriptorOf =
    std::variant<std::monostate, BufferViewOf<Classes>, TextureViewOf<Classes>, typename Classes::SamplerState>;

template <class Classes>
class DescriptorRangeOf final : public DescriptorRange {
public:
    using Descriptor = DescriptorOf<Classes>;

    /// What is behind a heap; ranges share it, so they may outlive the heap.
    struct Table {
        explicit Table(std::int32_t count) : mRanges(count), mDescriptors(static_cast<std::size_t>(count)) {}

        RangesManager mRanges;
        std::vector<Descriptor> mDescriptors;
    };

    DescriptorRangeOf(const DescriptorHeap& heap, std::shared_ptr<Table> table, std::int32_t count)
        : DescriptorRange(heap.GetName(), heap.GetType(), count),
          mTable(std::move(table)),
          mOffset(mTable->mRanges.GetRange(count)) {}
    ~DescriptorRangeOf() override {
        for (std::uint32_t i = 0; i < GetCount(); ++i) Set(i, Descriptor());
        mTable->mRanges.ReleaseRange(mOffset, static_cast<std::int32_t>(GetCount()));
    }
    DescriptorRangeOf(const DescriptorRangeOf&) = delete;
    DescriptorRangeOf& operator=(const DescriptorRangeOf&) = delete;

    const Descriptor& Get(std::uint32_t index) const { return mTable->mDescriptors[ToSlot(index)]; }
    void Set(std::uint32_t index, Descriptor descriptor) {
        mTable->mDescriptors[ToSlot(index)] = std::move(descriptor);
    }

    /// The back end's own range behind the interface; a stranger's is a failure.
    static DescriptorRangeOf& From(DescriptorRange& range) {
        auto* own = dynamic_cast<DescriptorRangeOf*>(&range);
        if (own == nullptr) ZEB_RENDER_THROW("A descriptor range belongs to another device");
        return *own;
    }

private:
    std::size_t ToSlot(std::uint32_t index) const { return static_cast<std::size_t>(mOffset) + index; }

    std::shared_ptr<Table> mTable;
    std::int32_t mOffset;
};

template <class Classes>
class DescriptorHeapOf final : public DescriptorHeap {
public:
    DescriptorHeapOf(std::string name, DescriptorHeapType type, std::int32_t count)
        : DescriptorHeap(std::move(name), type), mTable(std::make_shared<typename Range::Table>(count)) {
        CheckEnumeration(type, DescriptorHeapType::Samplers, "descriptor heap type");
    }

protected:
    UniquePtr<DescriptorRange> DoAllocateRange(std::int32_t count) override {
        return MakeUnique<Range>(*this, mTable, count);
    }

private:
    using Range = DescriptorRangeOf<Classes>;

    std::shared_ptr<typename Range::Table> mTable;
};

}  // namespace zeb::render
