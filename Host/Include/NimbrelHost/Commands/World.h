#pragma once

#include <cstdint>
#include <vector>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Pictures/Picture.h"

namespace nimbrel::host {

/// An image as the effect sees it: rows with padding, an origin in the layer. Owned by the host, handed out by pointer.
class World {
public:
    struct Layout {
        int mWidth = 0;
        int mHeight = 0;
        int mBitsPerChannel = 8;
        int mOriginX = 0;  ///< layer coordinate of the first pixel
        int mOriginY = 0;
        int mPaddingBytes = 16;         ///< behind each row, on top of what rounds it up to 16
        std::uint8_t mInitialByte = 0;  ///< what pixels and padding hold at first
    };

    explicit World(const Layout& layout);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    PF_EffectWorld* GetRecord() { return &mRecord; }
    PF_PixelFormat GetFormat() const;

    /// Copies the pixels into a frame in which the layer's first pixel lies at `layerX`, `layerY`; what falls outside
    /// is left out.
    void CopyInto(Frame& frame, int layerX = 0, int layerY = 0) const;
    /// Whether all bytes behind the rows still hold what they held at first.
    bool IsPaddingUntouched() const;

    /// The world of a record that the effect hands back, or null.
    static World* FromRecord(const PF_EffectWorld* record);

private:
    Layout mLayout;
    std::vector<std::uint8_t> mMemory;
    PF_EffectWorld mRecord{};
};

}  // namespace nimbrel::host
