#include "Nimbrel/CPU/ExportData.h"

#include <algorithm>
#include <cmath>

#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {
namespace {

float NaturalLogarithm(float value) { return std::log2(value) * 0.693147182F; }

/// Constant SH coefficient of a colour channel: the inverse of colour = coefficient * 0.282 + 0.5.
float ConstantTerm(const HalfRange& range, float texel) {
    return ((range.mLow - 0.5F) + texel * (range.mHigh - range.mLow)) * 3.54490757F;
}

/// The fifteen coefficients of one channel into four consecutive members.
void StoreChannel(const glm::vec3* sh, int channel, glm::vec4& first, glm::vec4& second, glm::vec4& third,
                  glm::vec3& last) {
    for (int i = 0; i < 4; ++i) {
        first[i] = sh[i][channel];
        second[i] = sh[4 + i][channel];
        third[i] = sh[8 + i][channel];
    }
    for (int i = 0; i < 3; ++i) last[i] = sh[12 + i][channel];
}

}  // namespace

gpu::ExportSplatData ExportSplat(const SplatBlocks& blocks, std::uint32_t index) {
    const Splat splat = DecodeSplat(blocks, index);
    const gpu::SplatChunkInfo chunk = LoadChunk(blocks, index);
    const glm::vec4 texel = LoadColorTexel(blocks, index);
    gpu::ExportSplatData record{};
    record.pos = splat.mPosition;
    record.dc0 = {ConstantTerm(HalfRange(chunk.colR), texel.x), ConstantTerm(HalfRange(chunk.colG), texel.y),
                  ConstantTerm(HalfRange(chunk.colB), texel.z)};
    StoreChannel(splat.mSH, 0, record.shR14, record.shR58, record.shR9C, record.shRDF);
    StoreChannel(splat.mSH, 1, record.shG14, record.shG58, record.shG9C, record.shGDF);
    StoreChannel(splat.mSH, 2, record.shB14, record.shB58, record.shB9C, record.shBDF);
    const float o = splat.mOpacity;
    record.opacity = NaturalLogarithm(o / zeb::render::cpu::Max(0.5F - (o - 0.5F), 9.99999997e-07F));
    record.scale = {NaturalLogarithm(splat.mScale.x), NaturalLogarithm(splat.mScale.y),
                    NaturalLogarithm(splat.mScale.z)};
    record.rot = {splat.mRotation.w, splat.mRotation.x, splat.mRotation.y, splat.mRotation.z};
    return record;
}

void ExportData(const SplatBlocks& blocks, const gpu::ExportDataConstants& constants, std::uint32_t begin,
                std::uint32_t end, std::span<gpu::ExportSplatData> records) {
    const std::uint32_t last = std::min(end, constants._ExportDataSplatCount);
    for (std::uint32_t i = begin; i < last && i < records.size(); ++i) records[i] = ExportSplat(blocks, i);
}

}  // namespace nimbrel::cpu
