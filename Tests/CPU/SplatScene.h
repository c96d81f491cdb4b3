#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include <glm/matrix.hpp>

#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/Noise-inl.h"
#include "Render/CPU/HalfConversion.h"

/// One splat, or several, as float blocks, so that a test can state exactly what the programs decode.
namespace nimbrel::cpu {

inline std::uint32_t HalfPair(float low, float high) {
    using zeb::render::cpu::FloatToHalf;
    return FloatToHalf(low) | static_cast<std::uint32_t>(FloatToHalf(high)) << 16;
}

inline float Noise4(const glm::vec4& p) {
    HWY_NAMESPACE::NoiseCells<float> cells;
    return HWY_NAMESPACE::Noise4<float>(cells, {{p.x, p.y, p.z, p.w}});
}

/// Blocks with float positions, scales and SH, and a float colour texture. Chunk ranges are 0..1, so stored values
/// come out as they are; scales come out raised to the 8th power.
class SplatScene {
public:
    explicit SplatScene(std::uint32_t count = 1)
        : mPositions(3 * count),
          mOther(4 * count),
          mSH(48 * count),
          mColor(zeb::render::Format::RGBA32Float, 2048, 16),
          mRamps(7 * 1024, 1.0F),
          mGradient(1024, glm::vec4(1.0F)) {
        gpu::SplatChunkInfo chunk{};
        chunk.colR = chunk.colG = chunk.colB = chunk.colA = HalfPair(0.0F, 1.0F);
        chunk.posX = chunk.posY = chunk.posZ = {0.0F, 1.0F};
        chunk.sclX = chunk.sclY = chunk.sclZ = HalfPair(0.0F, 1.0F);
        chunk.shR = chunk.shG = chunk.shB = HalfPair(0.0F, 1.0F);
        mChunks.assign(count / 256 + 1, chunk);
        for (std::uint32_t i = 0; i < count; ++i) SetRotation(i, 511, 511, 511, 3);
    }

    void SetPosition(std::uint32_t splat, const glm::vec3& p) { std::memcpy(&mPositions[3 * splat], &p, sizeof p); }
    void SetRotation(std::uint32_t splat, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t dropped) {
        const std::uint32_t word = a | b << 10 | c << 20 | dropped << 30;
        std::memcpy(&mOther[4 * splat], &word, sizeof word);
    }
    /// The stored eighth roots.
    void SetScaleRoots(std::uint32_t splat, const glm::vec3& roots) {
        std::memcpy(&mOther[4 * splat + 1], &roots, sizeof roots);
    }
    void SetSH(std::uint32_t splat, int coefficient, const glm::vec3& value) {
        std::memcpy(&mSH[48 * splat + 3 * static_cast<std::uint32_t>(coefficient)], &value, sizeof value);
    }
    void SetTexel(std::uint32_t x, std::uint32_t y, const glm::vec4& value) { mColor.Store(x, y, value); }

    SplatBlocks Blocks() const {
        return {std::as_bytes(std::span(mChunks)),
                std::as_bytes(std::span(mPositions)),
                std::as_bytes(std::span(mOther)),
                std::as_bytes(std::span(mSH)),
                mColor.View(),
                {}};
    }
    CurveTextures Curves() const {
        return {{reinterpret_cast<const std::byte*>(mRamps.data()), zeb::render::Format::R32Float, 1024,
                 static_cast<std::uint32_t>(mRamps.size() / 1024), 1},
                {reinterpret_cast<const std::byte*>(mGradient.data()), zeb::render::Format::RGBA32Float, 1024,
                 static_cast<std::uint32_t>(mGradient.size() / 1024), 1}};
    }

    /// A ramp that is `value` everywhere.
    void SetRamp(gpu::RampRow row, float value) {
        std::fill_n(mRamps.begin() + static_cast<std::ptrdiff_t>(row) * 1024, 1024, value);
    }
    /// A ramp from 0 at the left to 1 at the right.
    void SetRisingRamp(gpu::RampRow row) {
        for (std::size_t i = 0; i < 1024; ++i) {
            mRamps[static_cast<std::size_t>(row) * 1024 + i] = (static_cast<float>(i) + 0.5F) / 1024.0F;
        }
    }

    /// Constants of a camera at the origin that looks along z onto a square target, identity models.
    CalcViewDataInputs Inputs(float size = 200.0F, float focal = 1000.0F) const {
        CalcViewDataInputs inputs{Blocks(), Curves(), {}, {}, {}};
        gpu::CalcViewDataConstants& c = inputs.mConstants;
        c._MatrixAlign = c._MatrixTransform = c._MatrixWorldToObject = c._MatrixMV = c._MatrixCamera = glm::mat4(1.0F);
        c._MatrixP = glm::mat4(0.0F);
        c._MatrixP[0][0] = 2.0F * focal / size;
        c._MatrixP[1][1] = -2.0F * focal / size;
        c._MatrixP[2][2] = 1.0F;
        c._MatrixP[2][3] = 1.0F;
        c._MatrixVP = c._MatrixP;
        c._VecScreenParams = {size, size, 0.0F, 0.0F};
        c._SplatScale = 1.0F;
        c._SplatOpacityScale = 1.0F;
        c._SHOrder = 3;
        c._SplatCount = static_cast<std::uint32_t>(mPositions.size() / 3);
        return inputs;
    }

    std::vector<gpu::SplatChunkInfo> mChunks;
    std::vector<float> mPositions;
    std::vector<float> mOther;
    std::vector<float> mSH;
    zeb::render::cpu::Image mColor;
    std::vector<float> mRamps;
    std::vector<glm::vec4> mGradient;
};

}  // namespace nimbrel::cpu
