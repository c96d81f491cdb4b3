#include "NimbrelHost/Commands/World.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <unordered_set>

namespace nimbrel::host {
namespace {

std::mutex gMutex;

/// The worlds that effects may hold records of. Such a record can be a copy, so it is known by its platform reference.
std::unordered_set<const void*>& LiveWorlds() {
    static std::unordered_set<const void*> worlds;
    return worlds;
}

std::size_t PixelSize(int bitsPerChannel) { return static_cast<std::size_t>(bitsPerChannel) / 2; }

}  // namespace

// A row takes what its pixels need, rounded up to 16 bytes, and padding on top: rows never touch.
World::World(const Layout& layout) : mLayout(layout) {
    const std::size_t used = static_cast<std::size_t>(layout.mWidth) * PixelSize(layout.mBitsPerChannel);
    const std::size_t rowBytes = (used + 15) / 16 * 16 + static_cast<std::size_t>(layout.mPaddingBytes);
    mMemory.assign(rowBytes * static_cast<std::size_t>(layout.mHeight), layout.mInitialByte);
    mRecord.world_flags = PF_WorldFlag_WRITEABLE | (layout.mBitsPerChannel == 16 ? PF_WorldFlag_DEEP : 0);
    mRecord.data = reinterpret_cast<PF_PixelPtr>(mMemory.data());
    mRecord.rowbytes = static_cast<A_long>(rowBytes);
    mRecord.width = layout.mWidth;
    mRecord.height = layout.mHeight;
    mRecord.extent_hint = {0, 0, layout.mWidth, layout.mHeight};
    mRecord.platform_ref = this;
    mRecord.pix_aspect_ratio = {1, 1};
    mRecord.origin_x = layout.mOriginX;
    mRecord.origin_y = layout.mOriginY;
    const std::scoped_lock lock(gMutex);
    LiveWorlds().insert(this);
}

World::~World() {
    const std::scoped_lock lock(gMutex);
    LiveWorlds().erase(this);
}

PF_PixelFormat World::GetFormat() const {
    switch (mLayout.mBitsPerChannel) {
        case 8: return PF_PixelFormat_ARGB32;
        case 16: return PF_PixelFormat_ARGB64;
        default: return PF_PixelFormat_ARGB128;
    }
}

// Origins are layer coordinates.
void World::CopyInto(Frame& frame, int layerX, int layerY) const {
    const int x = layerX + mLayout.mOriginX, y = layerY + mLayout.mOriginY;
    const int left = std::max(0, x);
    const int right = std::min(frame.mWidth, x + mLayout.mWidth);
    const int top = std::max(0, y);
    const int bottom = std::min(frame.mHeight, y + mLayout.mHeight);
    if (left >= right) return;
    const std::size_t pixel = frame.PixelSize();
    for (int row = top; row < bottom; ++row) {
        const std::uint8_t* from = mMemory.data() +
                                   static_cast<std::size_t>(row - y) * static_cast<std::size_t>(mRecord.rowbytes) +
                                   static_cast<std::size_t>(left - x) * pixel;
        std::uint8_t* to = frame.mPixels.data() + static_cast<std::size_t>(row) * frame.RowSize() +
                           static_cast<std::size_t>(left) * pixel;
        std::memcpy(to, from, static_cast<std::size_t>(right - left) * pixel);
    }
}

// Finds writes past the width, which in a window of a larger world would be the neighbour's pixels.
bool World::IsPaddingUntouched() const {
    const std::size_t used = static_cast<std::size_t>(mLayout.mWidth) * PixelSize(mLayout.mBitsPerChannel);
    const auto rowBytes = static_cast<std::size_t>(mRecord.rowbytes);
    for (std::size_t row = 0; row < mMemory.size(); row += rowBytes) {
        const auto begin = mMemory.begin() + static_cast<std::ptrdiff_t>(row + used);
        const auto end = mMemory.begin() + static_cast<std::ptrdiff_t>(row + rowBytes);
        if (std::any_of(begin, end, [&](std::uint8_t byte) { return byte != mLayout.mInitialByte; })) return false;
    }
    return true;
}

World* World::FromRecord(const PF_EffectWorld* record) {
    if (record == nullptr) return nullptr;
    const std::scoped_lock lock(gMutex);
    return LiveWorlds().contains(record->platform_ref) ? static_cast<World*>(record->platform_ref) : nullptr;
}

}  // namespace nimbrel::host
