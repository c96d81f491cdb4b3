#pragma once

#include <cstdint>
#include <vector>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Image.h"

namespace nimbrel::cpu {

/// Curves of all instances, borrowed.
struct CurveTextures {
    zeb::render::cpu::TextureView mRamps;      ///< `_SplatRamps`, 7 rows an instance
    zeb::render::cpu::TextureView mGradients;  ///< `_SplatGradients`, 1 row an instance
};

/// One line of a curve texture as the clamped linear filter reads it. A line's middle may come out between two rows
/// by rounding, so that both are kept, with the share of the lower one.
class CurveRow {
public:
    CurveRow() = default;
    /// `channels` is 1 or 4. A texture that does not hold as many floats a texel is read into memory of its own.
    CurveRow(const zeb::render::cpu::TextureView& texture, std::uint32_t line, int channels);

    const float* GetUpper() const { return mOwn.empty() ? mUpper : mOwn.data(); }
    const float* GetLower() const { return mOwn.empty() ? mLower : mOwn.data() + mOwn.size() / 2; }
    float GetShare() const { return mShare; }
    float GetWidth() const { return static_cast<float>(mWidth); }  ///< in texels; 0 for no texture
    int GetChannels() const { return mChannels; }

private:
    const float* mUpper = nullptr;
    const float* mLower = nullptr;
    float mShare = 0.0F;
    std::uint32_t mWidth = 0;
    int mChannels = 1;
    std::vector<float> mOwn;  ///< both rows
};

/// All curves of one instance.
struct InstanceCurves {
    InstanceCurves(const CurveTextures& textures, std::uint32_t instance);

    const CurveRow& Get(gpu::RampRow row) const { return mRamps[static_cast<std::size_t>(row)]; }

    CurveRow mRamps[gpu::kRampRows];
    CurveRow mGradient;
};

}  // namespace nimbrel::cpu
