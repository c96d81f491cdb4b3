#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <glm/mat4x4.hpp>
#include <nlohmann/json_fwd.hpp>

#include "PluginBase/DrawInfo.h"

namespace zeb {

class ParameterPacker;

enum class PluginStatePart : std::uint32_t { Camera = 0, PackedParameters = 1, PreDraw = 2, Draw = 3, DrawBinary = 4 };

/// All inputs of a frame in one contiguous block of bytes: a header of 144 bytes, then the parts in
/// ascending order. It keeps no pointers, so it can be moved or written out as it stands.
class PluginState {
public:
    PluginState();

    void SetNeedCamera(bool needCamera);
    void SetCamera(const glm::mat4& camera, float focalLength, CameraType type);
    bool NeedsCamera() const;
    glm::mat4 GetCamera() const;
    float GetFocalLength() const;
    CameraType GetCameraType() const;

    /// Offset and size of a part from 1 to 4, as they stand in the header.
    struct OffsetSize {
        std::uint64_t mOffset = 0;
        std::uint64_t mSize = 0;
    };
    OffsetSize GetOffsetSize(PluginStatePart part) const;
    PluginStatePartView GetPart(PluginStatePart part) const;

    /// Appends the bytes of one part; the header is filled when it is closed (by Close or the destructor).
    class PartWriter {
    public:
        PartWriter(PluginState& state, PluginStatePart part);
        ~PartWriter() { Close(); }
        PartWriter(const PartWriter&) = delete;
        PartWriter& operator=(const PartWriter&) = delete;
        std::vector<std::byte>& GetBytes() { return mState.mBytes; }
        void Close();

    private:
        PluginState& mState;
        PluginStatePart mPart;
        bool mOpen = true;
    };

    nlohmann::ordered_json ToJson(const ParameterPacker& packer) const;
    const std::vector<std::byte>& GetBytes() const { return mBytes; }

private:
    std::vector<std::byte> mBytes;
};

}  // namespace zeb
